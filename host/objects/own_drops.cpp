// What the host itself does with what is dropped: items, channels, files, presets, colours and texts.
#include "host/objects/drops.h"

#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/core/values.h"
#include "host/document/transform_values.h"
#include "host/objects/layer_drops.h"
#include "host/objects/presets.h"
#include "host/objects/scene_files.h"
#include "host/state/text.h"

#include "kz/color.h"
#include "kz/destination.h"
#include "kz/group.h"
#include "kz/material.h"
#include "kz/mesh_element.h"
#include "kz/mesh_operation.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"
#include "kz/shader.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kzhost {

namespace {

std::vector<CHostRef<CItem>> itemsOf(IKzUnknown* source) {
    std::vector<CHostRef<CItem>> items;
    const CKzUser_ItemCollection collection(source);
    for (std::uint32_t i = 0, count = collection.Count(); i < count; ++i) {
        CKzLoc_Unknown item;
        if (kzFailed(collection.ByIndex(i, item.out()))) break;
        if (auto own = CHostRef<CItem>::of(item.raw())) items.push_back(std::move(own));
    }
    return items;
}

std::vector<std::string> textsOf(IKzUnknown* source) {
    std::vector<std::string> texts;
    const CKzUser_ValueArray array(source);
    for (std::uint32_t i = 0, count = array.Count(); i < count; ++i) {
        CKzLoc_Unknown value;
        if (kzFailed(array.GetValue(i, value.out()))) break;
        texts.push_back(kzValueText(value.raw()));
    }
    return texts;
}

// Where in the tree a destination puts items.
struct TreePlace {
    CHostRef<CItem> parent;  // empty for the root
    std::int32_t position = -1;
    std::optional<KzVector3> location;  // in the world
};

template <class Destination> std::optional<TreePlace> placeBy(IKzUnknown* object, auto parentOf, auto positionOf) {
    const Destination destination(object);
    if (!destination) return {};
    TreePlace place;
    CKzLoc_Unknown parent;
    if (kzSucceeded(parentOf(destination, parent.out()))) place.parent = CHostRef<CItem>::of(parent.raw());
    place.position = positionOf(destination);
    if constexpr (requires(KzVector3 * at) { destination.Location(at); })
        if (KzVector3 at{}; kzSucceeded(destination.Location(&at))) place.location = at;
    return place;
}

std::optional<TreePlace> treePlaceOf(IKzUnknown* destination) {
    const auto last = [](const auto&) { return -1; };
    const auto index = [](const auto& at) { return at.Index(); };
    if (auto place = placeBy<CKzUser_LocatorDest>(
            destination, [](const auto& at, IKzUnknown** item) { return at.Item(item); }, last))
        return place;
    if (auto place = placeBy<CKzUser_ClipDest>(
            destination, [](const auto& at, IKzUnknown** item) { return at.Folder(item); }, index))
        return place;
    if (auto place = placeBy<CKzUser_ShaderDest>(
            destination, [](const auto& at, IKzUnknown** item) { return at.Parent(item); }, index))
        return place;
    return placeBy<CKzUser_SceneItemPreDest>(
        destination, [](const auto& at, IKzUnknown** item) { return at.Parent(item); },
        [](const auto& at) { return at.Position(); });
}

// Puts a locator at a place in the world. Others have no place.
void putAt(const CHostRef<CItem>& item, const KzVector3& location) {
    std::int32_t channel = -1;
    CHostRef<CItem> parent;
    {
        const auto reading = item->read();
        channel = reading->findChannel(KZsICHAN_XFRMPOSITION_POS_X);
        if (channel < 0) return;
        if (reading->parent != nullptr) parent = kzObjectOf(*reading->parent);
    }
    const auto inverse = kzInverse(parent ? kzWorldMatrix(*parent, 0) : kzIdentity());  // modules may compute it
    if (!inverse) throw kzBecause(KZe_FAILED, "Drop", [] { return "the parent's place has no inverse"; });
    const KzVector3 position = kzPlace(location, *inverse);
    CKzLoc_Unknown scene, writer;
    kzDemand(item->item_Scene(scene.out()));
    kzDemand(CKzUser_Scene(scene.raw()).WriteChannels(nullptr, 0, writer.out()));
    kzDemand(CKzUser_ChannelWrite(writer.raw()).Vector(item.raw(), channel, &position));
}

// Whether the item leaves a place before that position, so that those behind it move up.
bool isBefore(const CItem& item, const TreePlace& place, std::int32_t position) {
    const auto reading = item.read();
    const Item* parent = place.parent ? &*place.parent->read() : nullptr;
    if (parent != nullptr && parent == reading->document.root()) parent = nullptr;
    return reading->parent == parent &&
           static_cast<std::int32_t>(reading->document.siblingsOf(*reading).positionOf(*reading)) < position;
}

void put(const std::vector<CHostRef<CItem>>& items, const TreePlace& place) {
    std::int32_t position = place.position;
    for (const auto& item : items) {
        if (place.parent && place.parent.object() == item.object()) continue;
        if (position > 0 && isBefore(*item, place, position)) --position;
        kzDemand(item->item_SetParent(place.parent ? place.parent.raw() : nullptr, position));
        if (position >= 0) ++position;
        if (place.location) putAt(item, *place.location);
    }
}

void putCopies(IKzUnknown* source, const TreePlace& place, std::uint32_t flags) {
    const CKzUser_ItemCollection items(source);
    CKzLoc_Unknown scene, copies;
    const auto originals = itemsOf(source);
    if (originals.empty()) return;
    kzDemand(place.parent ? place.parent->item_Scene(scene.out()) : originals.front()->item_Scene(scene.out()));
    kzDemand(items.Duplicate(scene.raw(), flags, copies.out()));
    auto all = itemsOf(copies.raw());
    all.resize(std::min(all.size(), originals.size()));  // those below the copies come after them
    put(all, place);
}

void addToGroup(IKzUnknown* groupItem, const std::vector<CHostRef<CItem>>& items) {
    const CKzUser_GroupItem group(groupItem);
    if (!group) throw kzBecause(KZe_NOTSUPPORTED, "Drop", [] { return "only groups have members"; });
    for (const auto& item : items)
        if (const KzResult code = group.AddItem(item.raw()); kzFailed(code) && code != KZe_ALREADYEXISTS) throw code;
}

void addOperations(const CKzUser_MeshOpDest& list, IKzUnknown* mesh, const std::vector<CHostRef<CItem>>& items) {
    CKzLoc_Unknown scene, graph;
    kzDemand(CKzUser_Item(mesh).Scene(scene.out()));
    kzDemand(CKzUser_Scene(scene.raw()).GraphLookup(KZsGRAPH_MESHOPS, graph.out()));
    const CKzUser_ItemGraph operations(graph.raw());
    std::int32_t index = list.Index();
    if (index >= 0 && list.Where() == KZiDROPWHERE_BELOW) ++index;
    for (const auto& item : items) {
        if (!operations.TestLink(mesh, item.raw())) kzDemand(operations.AddLink(mesh, item.raw()));
        if (index >= 0) kzDemand(operations.SetLink(mesh, index++, item.raw(), 0));
    }
}

void assignMaterial(const CKzUser_MeshDest& destination, IKzUnknown* meshItem, const CHostRef<CItem>& material) {
    const auto mesh = kzOwn<CItem>(meshItem)->mesh();
    const char* name = nullptr;
    kzDemand(material->item_UniqueName(&name));
    const std::string tag = kzString(name);
    KzElementId only = nullptr;
    const bool isOne = kzSucceeded(destination.Polygon(&only));
    const CMeshEdit edit(mesh->data);
    for (MeshPolygon& polygon : mesh->data.polygons)
        if (!isOne || polygon.id == only) polygon.tags[KZi_PTAG_SURFACE] = tag;
    mesh->data.changed(KZfMESHEDIT_TAGS);
}

bool areAll(const std::vector<CHostRef<CItem>>& items, const char* type) {
    const std::int32_t number = kzFindItemType(type)->number;
    return !items.empty() && std::ranges::all_of(items, [&](const auto& item) { return item->item_TestType(number); });
}

struct ChannelPlace {
    CHostRef<CItem> item;
    std::int32_t channel = -1;
};

std::optional<ChannelPlace> channelPlaceOf(IKzUnknown* object) {
    const CKzUser_ChannelDest destination(object);
    CKzLoc_Unknown item;
    ChannelPlace place;
    if (!destination || destination.Where() != KZiDROPWHERE_ON ||
        kzFailed(destination.Channel(item.out(), &place.channel)))
        return {};
    place.item = kzOwn<CItem>(item.raw());
    return place;
}

CKzUser_ChannelWrite& writerOf(const CHostRef<CItem>& item, CKzUser_ChannelWrite& writer) {
    CKzLoc_Unknown scene, object;
    kzDemand(item->item_Scene(scene.out()));
    kzDemand(CKzUser_Scene(scene.raw()).WriteChannels(nullptr, 0, object.out()));
    writer.set(object.raw());
    return writer;
}

DropWays itemWays(IKzUnknown* source, IKzUnknown* destination) {
    DropWays ways;
    const auto items = itemsOf(source);
    if (items.empty()) return ways;
    if (auto place = treePlaceOf(destination)) {
        source->AddRef();
        const auto kept = std::make_shared<CKzLoc_Unknown>();
        kept->hold(source);
        ways.push_back({KZi_DROPACTION_MOVE, "Move Here", [=] { put(items, *place); }});
        ways.push_back(
            {KZi_DROPACTION_COPY, "Copy Here", [=] { putCopies(kept->raw(), *place, KZfITEMCOPY_CHILDREN); }});
        ways.push_back({KZi_DROPACTION_LINK, "Place Instances Here",
                        [=] { putCopies(kept->raw(), *place, KZfITEMCOPY_INSTANCE); }});
    }
    const auto object = std::make_shared<CKzLoc_Unknown>();
    if (const CKzUser_GroupDest at(destination); at && kzSucceeded(at.Group(object->out())))
        ways.push_back({KZi_DROPACTION_LINK, "Add to Group", [=] { addToGroup(object->raw(), items); }});
    if (const CKzUser_GroupMemberItemDest at(destination); at && kzSucceeded(at.Group(object->out())))
        ways.push_back({KZi_DROPACTION_LINK, "Add to Group", [=] { addToGroup(object->raw(), items); }});
    const auto meshOps = std::make_shared<CKzUser_MeshOpDest>(destination);
    if (*meshOps && areAll(items, KZsITYPE_MESHOP) && kzSucceeded(meshOps->Mesh(object->out())))
        ways.push_back({KZi_DROPACTION_LINK, "Add Operations", [=] { addOperations(*meshOps, object->raw(), items); }});
    const auto mesh = std::make_shared<CKzUser_MeshDest>(destination);
    if (*mesh && areAll(items, KZsITYPE_MATERIAL) && kzSucceeded(mesh->Item(object->out())))
        ways.push_back(
            {KZi_DROPACTION_APPLY, "Assign Material", [=] { assignMaterial(*mesh, object->raw(), items.back()); }});
    else if (*mesh) {
        TreePlace place;
        KzVector3 at{}, normal{};
        if (kzSucceeded(mesh->Location(&at, &normal))) {
            place.location = at;
            ways.push_back({KZi_DROPACTION_MOVE, "Place on Mesh", [=] {
                                for (const auto& item : items) putAt(item, *place.location);
                            }});
        }
    }
    if (const auto place = channelPlaceOf(destination))
        if (kzChannelAt(*place->item->read(), place->channel).kind == ChannelKind::itemReference)
            ways.push_back(
                {KZi_DROPACTION_APPLY, "Refer to Item", [=] {
                     CKzUser_ChannelWrite write;
                     kzDemand(
                         writerOf(place->item, write).ItemRef(place->item.raw(), place->channel, items.back().raw()));
                 }});
    return ways;
}

// The channels that a source names, by identifiers and names in turn.
std::vector<ChannelPlace> channelsOf(IKzUnknown* source, const OpenScenes& scenes) {
    std::vector<ChannelPlace> channels;
    const auto texts = textsOf(source);
    const CReading reading(*scenes.workspace);
    const CHostRef<CScene> scene = scenes.current();
    for (std::size_t i = 0; scene && i + 1 < texts.size(); i += 2) {
        Item* item = scene->document().byIdent(texts[i]);
        if (item == nullptr) continue;
        const std::int32_t channel = item->findChannel(texts[i + 1]);
        if (channel >= 0) channels.push_back({kzObjectOf(*item), channel});
    }
    return channels;
}

void linkChannels(const ChannelPlace& from, const ChannelPlace& to) {
    CKzLoc_Unknown scene, graph;
    kzDemand(to.item->item_Scene(scene.out()));
    kzDemand(CKzUser_Scene(scene.raw()).GraphLookup(KZsGRAPH_CHANLINKS, graph.out()));
    kzDemand(CKzUser_ChannelGraph(graph.raw()).AddLink(from.item.raw(), from.channel, to.item.raw(), to.channel));
}

void copyChannel(const ChannelPlace& from, const ChannelPlace& to) {
    CKzLoc_Unknown scene, reader;
    kzDemand(from.item->item_Scene(scene.out()));
    kzDemand(CKzUser_Scene(scene.raw()).Channels(nullptr, 0, reader.out()));
    const char* text = nullptr;
    kzDemand(CKzUser_ChannelRead(reader.raw()).String(from.item.raw(), from.channel, &text));
    const std::string value = kzString(text);
    CKzUser_ChannelWrite write;
    kzDemand(writerOf(to.item, write).String(to.item.raw(), to.channel, value.c_str()));
}

DropWays channelWays(const OpenScenes& scenes, IKzUnknown* source, IKzUnknown* destination) {
    DropWays ways;
    const auto channels = channelsOf(source, scenes);
    if (channels.empty()) return ways;
    if (const auto place = channelPlaceOf(destination)) {
        ways.push_back({KZi_DROPACTION_LINK, "Drive by Channel", [=] { linkChannels(channels.front(), *place); }});
        ways.push_back({KZi_DROPACTION_COPY, "Copy Value", [=] { copyChannel(channels.front(), *place); }});
    }
    CKzLoc_Unknown group;
    if (const CKzUser_GroupMemberChanDest at(destination); at && kzSucceeded(at.Group(group.out()))) {
        const auto members = std::make_shared<CKzUser_GroupItem>(group.raw());
        ways.push_back({KZi_DROPACTION_LINK, "Add to Group", [=] {
                            for (const ChannelPlace& each : channels) {
                                const KzResult code = members->AddChannel(each.item.raw(), each.channel);
                                if (kzFailed(code) && code != KZe_ALREADYEXISTS) throw code;
                            }
                        }});
    }
    return ways;
}

// What the files bring comes below the item.
void loadFiles(const CSceneFiles& files, CScene& scene, const std::vector<std::string>& paths, const TreePlace& place) {
    for (const std::string& path : paths) {
        const auto added = kzImported(files, scene, path);
        if (place.parent || place.position >= 0) put(added, {place.parent, place.position, {}});
    }
}

DropWays fileWays(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CSceneFiles>& files,
                  IKzUnknown* source, IKzUnknown* destination) {
    const auto paths = textsOf(source);
    const auto place = treePlaceOf(destination);
    CHostRef<CScene> scene;
    {
        const CReading reading(*scenes->workspace);
        scene = scenes->current();
    }
    if (paths.empty() || !scene) return {};
    if (!place) return kzLayerFileWays(files, scene, paths, destination);
    return {{KZi_DROPACTION_LOAD, "Load", [=] { loadFiles(*files, *scene, paths, *place); }}};
}

// An item can take a preset of a type that has never heard of places.
IKzUnknown* presetDestination(const CPresets& presets, const std::string& path, IKzUnknown* destination,
                              CKzLoc_Unknown& item) {
    const CKzUser_SceneItemPreDest place(destination);
    if (!place || presets.accepts(destination, path)) return destination;
    return kzSucceeded(place.Item(item.out())) ? item.raw() : destination;
}

DropWays presetWays(const std::shared_ptr<CPresets>& presets, IKzUnknown* source, IKzUnknown* destination) {
    const auto paths = textsOf(source);
    if (paths.empty() || destination == nullptr) return {};
    destination->AddRef();
    const auto kept = std::make_shared<CKzLoc_Unknown>();
    kept->hold(destination);
    return {{KZi_DROPACTION_APPLY, "Apply Preset", [=] {
                 for (const std::string& path : paths) {
                     CKzLoc_Unknown item;
                     if (CKzUser_ShaderPreDest(kept->raw())) {
                         kzApplyToLayers(*presets, path, kept->raw());
                         continue;
                     }
                     presets->apply(path, presetDestination(*presets, path, kept->raw(), item));
                 }
             }}};
}

DropWays colorWays(IKzUnknown* source, IKzUnknown* destination) {
    const auto place = std::make_shared<CKzUser_ColorPreDest>(destination);
    const KzValueType* type = kzFindType(KZsTYPE_COLOR);
    if (!CKzUser_Value(source) || !*place) return {};
    const auto cell = kzParseCell(*type, kzValueText(source));
    const auto* color = cell ? std::get_if<KzColor>(&*cell) : nullptr;
    if (color == nullptr) return {};
    KzFVector3 rgb{};
    for (std::size_t i = 0; i < 3; ++i) rgb.v[i] = static_cast<float>((*color)[i]);
    if (const KzResult code = place->TestColor(&rgb); kzFailed(code) && code != KZe_NOTIMPL) return {};
    const auto set = [=](std::uint32_t flags) { return [=] { kzDemand(place->SetColor(&rgb, flags)); }; };
    DropWays ways{{KZi_DROPACTION_APPLY, "Set Color", set(KZfCOLORPREDEST_REPLACE)},
                  {KZi_DROPACTION_CUSTOM, "Set Key", set(KZfCOLORPREDEST_KEYFRAME)}};
    if (KzFVector3 now{}; kzSucceeded(place->Color(&now)))
        ways.push_back({KZi_DROPACTION_CUSTOM + 1, "Set Hue", set(KZfCOLORPREDEST_KEEPVALUE)});
    return ways;
}

// A text becomes the name of a new item, or of the one that it is dropped on.
DropWays textWays(IKzUnknown* source, IKzUnknown* destination) {
    if (!CKzUser_Value(source)) return {};
    const std::string name = kzValueText(source);
    const auto object = std::make_shared<CKzLoc_Unknown>();
    const CKzUser_ItemTypeDest type(destination);
    if (type && kzSucceeded(type.Scene(object->out())))
        return {{KZi_DROPACTION_COPY, "Create Item", [=, number = type.Type()] {
                     CKzLoc_Unknown item;
                     kzDemand(CKzUser_Scene(object->raw()).ItemAdd(number, item.out()));
                     kzDemand(CKzUser_Item(item.raw()).SetName(name.c_str()));
                 }}};
    const CKzUser_SceneItemPreDest place(destination);
    if (place && kzSucceeded(place.Item(object->out())))
        return {{KZi_DROPACTION_APPLY, "Rename", [=] { kzDemand(CKzUser_Item(object->raw()).SetName(name.c_str())); }}};
    return {};
}

}  // namespace

std::vector<OwnDrops> kzOwnDrops(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CPresets>& presets,
                                 const std::shared_ptr<CSceneFiles>& files) {
    return {
        {KZsDROPSOURCE_ITEMS, itemWays},
        {KZsDROPSOURCE_CHANNELS,
         [scenes](IKzUnknown* source, IKzUnknown* to) { return channelWays(*scenes, source, to); }},
        {KZsDROPSOURCE_FILES, [=](IKzUnknown* source, IKzUnknown* to) { return fileWays(scenes, files, source, to); }},
        {KZsDROPSOURCE_PRESET, [=](IKzUnknown* source, IKzUnknown* to) { return presetWays(presets, source, to); }},
        {KZsDROPSOURCE_COLOR, colorWays},
        {KZsDROPSOURCE_TEXT, textWays},
    };
}

}  // namespace kzhost
