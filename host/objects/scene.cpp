// The objects of documents: their items by type, name and identifier.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/document/animation.h"
#include "host/objects/item_packages.h"
#include "host/state/text.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// What the document calls the action; empty for null. Throws NOTFOUND for an unknown one.
std::string actionOf(const CDocument& document, const char* action) {
    std::string name(kzTextOf(action));
    if (name.empty()) return name;
    const CReading reading(document.workspace());
    if (auto found = kzFindAction(document, name)) return *found;
    throw kzBecause(KZe_NOTFOUND, "Scene.Channels", [&] {
        std::vector<std::string> names(kzSceneActions.begin(), kzSceneActions.end());
        for (const Item* item : kzActionItems(document)) names.push_back(item->name);
        return kzThereIsNo("action", name, names);
    });
}

KzResult handOver(IKzUnknown* object, IKzUnknown** out) {
    *out = object;
    return object != nullptr ? KZe_OK : KZe_FAILED;
}

// The names of a document's items, for an error. There may be very many.
template <class Text> std::vector<std::string> someNames(const CDocument& document, Text Item::*name) {
    std::vector<std::string> names;
    document.each(KZiITYPE_ANY, [&](const Item& item) { names.push_back(item.*name); });
    return names;
}

// Does not keep the object: an open document is kept by the list of open scenes.
struct SceneObject final : AttachedObject {
    explicit SceneObject(CScene& scene) : scene(scene) {}
    KzResult give(IKzUnknown** out) const override { return scene.self().give(out); }
    CScene& scene;
};

}  // namespace

CHostRef<CScene> kzOpenScene(CWorkspace& workspace, std::string name) {
    auto scene = CHostRef<CScene>::make(workspace.open(std::move(name)));
    scene->document().object = std::make_unique<SceneObject>(*scene);
    return scene;
}

CHostRef<CScene> kzObjectOf(CDocument& document) { return static_cast<SceneObject&>(*document.object).scene.self(); }

// Without memory, its meshes tell nobody of its end, and the document stays, as the selection may still know it.
CScene::~CScene() {
    try {
        close();
    } catch (const std::bad_alloc&) {
        alignas(std::shared_ptr<CDocument>) std::byte kept[sizeof(std::shared_ptr<CDocument>)];
        ::new (kept) std::shared_ptr<CDocument>(m_document);  // never destroyed
        try {
            m_document->workspace().close(*m_document);
        } catch (const std::bad_alloc&) {
            return;
        }
    }
}

// Listeners hear of the end without the lock, and so do those of its meshes.
void CScene::close() {
    CWorkspace& workspace = m_document->workspace();
    if (const auto& keeper = workspace.itemKeeper()) keeper->closing(*m_document);
    std::vector<std::shared_ptr<ItemAttachment>> meshes;
    {
        const CReading reading(workspace);
        m_document->each(KZiITYPE_ANY, [&](const Item& item) {
            if (item.geometry != nullptr) meshes.push_back(item.geometry);
        });
    }
    workspace.close(*m_document);
}

CDocument& CScene::open() const {
    if (!m_document->isOpen()) throw KZe_NOTAVAILABLE;
    return *m_document;
}

KzResult CScene::scene_Filename(const char** path) {
    const CReading reading(m_document->workspace());
    *path = m_document->filename().empty() ? nullptr : kzLend(m_document->filename());
    return KZe_OK;
}

KzResult CScene::scene_SetFilename(const char* path) {
    CEdit edit(m_document->workspace());
    edit.setFilename(open(), kzString(path));
    edit.commit();
    return KZe_OK;
}

// A scene with a file is called as that is, without its folder and extension.
KzResult CScene::scene_Name(const char** name) {
    const CReading reading(m_document->workspace());
    const std::string& path = m_document->filename();
    *name = kzLend(path.empty() ? m_document->name() : std::filesystem::path(path).stem().string());
    return KZe_OK;
}

KzResult CScene::scene_Root(IKzUnknown** item) {
    const CReading reading(m_document->workspace());
    return kzGiveItem(open().root(), item);
}

bool CScene::scene_IsModified() {
    const CReading reading(m_document->workspace());
    return m_document->isModified();
}

KzResult CScene::scene_SetModified(std::int32_t modified) {
    m_document->workspace().setModified(open(), modified != 0);
    return KZe_OK;
}

KzResult CScene::scene_ItemAdd(std::int32_t type, IKzUnknown** item) {
    const ItemType* row = kzFindItemType(type);
    if (row == nullptr || type == KZiITYPE_ANY || type == KZiITYPE_ROOT) return KZe_INVALIDARG;
    const CItemPackages* packages = kzItemPackages(m_document->workspace());
    const auto guests = packages != nullptr ? packages->types().automatic(*row) : std::vector<PackageRef>();
    return kzAddItem(
        m_document->workspace(),
        [&](CEdit& edit) -> Item& {
            Item& added = edit.add(open(), *row);
            for (const PackageRef& guest : guests) {
                const auto isTaken = [&](const auto& channel) { return added.findChannel(channel.name) >= 0; };
                if (std::ranges::none_of(guest->channels, isTaken))
                    edit.addPackage(added, guest->name, guest->channels);
            }
            return added;
        },
        item);
}

// Listeners hear of the item and of those below it while these are still whole. One that changes the tree meanwhile
// changes what goes.
KzResult CScene::scene_ItemRemove(IKzUnknown* item) {
    const auto top = kzOwn<CItem>(item);
    DocumentEvents removing;
    {
        const auto reading = top->readIn(*m_document);
        if (top->type().number == KZiITYPE_ROOT) return KZe_INVALIDARG;
        removing = kzRemoving(*reading);
    }
    CItemPackages* packages = kzItemPackages(m_document->workspace());
    auto others = packages != nullptr ? packages->madeInside(*top) : std::vector<CHostRef<CItem>>();
    for (auto& each : kzWithCompanions(m_document->workspace(), {top}, KZiCOLLECT_DELETE))
        if (each.object() != top.object()) others.push_back(std::move(each));
    for (const auto& each : others) {
        const CReading reading(m_document->workspace());
        if (!each->item_IsValid() || each->type().number == KZiITYPE_ROOT) continue;
        std::ranges::move(kzRemoving(*each->readIn(*m_document)), std::back_inserter(removing));
    }
    for (const DocumentEvent& event : removing) m_document->workspace().tell(event);
    CEdit edit(m_document->workspace());
    edit.remove(*top->read());
    for (const auto& each : others)
        if (const auto item = each->readKept(); item->isPresent && each->type().number != KZiITYPE_ROOT)
            edit.remove(*item);
    edit.commit();
    return KZe_OK;
}

std::uint32_t CScene::scene_ItemCount(std::int32_t type) {
    const CReading reading(m_document->workspace());
    return static_cast<std::uint32_t>(m_document->count(type));
}

KzResult CScene::scene_ItemByIndex(std::int32_t type, std::uint32_t index, IKzUnknown** item) {
    const CReading reading(m_document->workspace());
    Item* found = m_document->at(type, index);
    return found != nullptr ? kzGiveItem(found, item) : KZe_OUTOFBOUNDS;
}

KzResult CScene::scene_ItemLookup(const char* name, IKzUnknown** item) {
    const CReading reading(m_document->workspace());
    if (Item* found = m_document->byName(kzTextOf(name))) return kzGiveItem(found, item);
    return kzBecause(KZe_NOTFOUND, "Scene.ItemLookup",
                     [&] { return kzThereIsNo("item", kzTextOf(name), someNames(*m_document, &Item::uniqueName)); });
}

KzResult CScene::scene_ItemByIdent(const char* ident, IKzUnknown** item) {
    const CReading reading(m_document->workspace());
    if (Item* found = m_document->byIdent(kzTextOf(ident))) return kzGiveItem(found, item);
    return kzBecause(KZe_NOTFOUND, "Scene.ItemByIdent",
                     [&] { return kzThereIsNo("item", kzTextOf(ident), someNames(*m_document, &Item::ident)); });
}

KzResult CScene::scene_GraphLookup(const char* name, IKzUnknown** graph) {
    const GraphInfo* info = kzFindGraph(kzTextOf(name));
    if (info != nullptr) return handOver(kzMakeSceneGraph(self(), *info), graph);
    return kzBecause(KZe_NOTFOUND, "Scene.GraphLookup", [&] {
        return kzThereIsNo("graph", kzTextOf(name), kzGraphs(), [](const GraphInfo& each) { return each.name; });
    });
}

KzResult CScene::scene_GraphByIndex(std::uint32_t index, IKzUnknown** graph) {
    return index < kzGraphs().size() ? handOver(kzMakeSceneGraph(self(), kzGraphs()[index]), graph) : KZe_OUTOFBOUNDS;
}

KzResult CScene::scene_Assets(IKzUnknown** assets) {
    open();
    return handOver(kzMakeSceneAssets(self()), assets);
}

KzResult CScene::scene_Channels(const char* action, double time, IKzUnknown** read) {
    return handOver(kzMakeChannelRead(self(), actionOf(*m_document, action), time), read);
}

KzResult CScene::scene_WriteChannels(const char* action, double time, IKzUnknown** write) {
    return handOver(kzMakeChannelWrite(self(), actionOf(*m_document, action), time), write);
}

KzResult CScene::scene_Contents(IKzUnknown** contents) {
    return handOver(kzMakeSceneContents(m_document->workspace().shared_from_this()), contents);
}

}  // namespace kzhost
