// Files and presets that are dropped on layers: those of a material, and those of a scene's meshes.
#include "host/objects/layer_drops.h"

#include "host/core/message.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/item_collection.h"
#include "host/objects/mesh_merge.h"
#include "host/objects/presets.h"
#include "host/objects/scene_files.h"
#include "host/state/text.h"

#include "kz/profile.h"
#include "kz/shader.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace kzhost {

namespace {

// Asks the place whether it takes the preset. Throws what it says.
void test(const CKzUser_ShaderPreDest& place, const std::string& path, std::int32_t action) {
    const auto message = CHostRef<CMessage>::make();
    const KzResult code = place.TestPreset(path.c_str(), message.raw());
    if (kzRefuses(code)) throw kzBecause(code, "Drop", [&] { return "the layers do not take " + path; });
    kzDemandGiven(place.SetAction(action));
}

CHostRef<CItem> groupOf(const CKzUser_ShaderPreDest& place) {
    CKzLoc_Unknown group;
    if (const KzResult code = place.Item(group.out()); kzFailed(code)) throw code;
    return kzOwn<CItem>(group.raw());
}

void remove(CScene& scene, const CHostRef<CItem>& item) {
    if (item->item_IsValid()) kzDemandGiven(scene.scene_ItemRemove(item.raw()));
}

std::vector<CHostRef<CItem>> childrenOf(const CItem& item) {
    std::vector<CHostRef<CItem>> children;
    item.read()->children.each([&](Item& child) { children.push_back(kzObjectOf(child)); });
    return children;
}

// Whether the layer has the effect. One that has none at all goes with every effect.
bool hasEffect(const CHostRef<CItem>& layer, const std::string& effect) {
    const auto item = layer->read();
    const ChannelInfo* channel = item->channel("effect");
    if (channel == nullptr || effect.empty()) return true;
    const auto* text = std::get_if<std::string>(&item->valueOf(*channel));
    return text == nullptr || *text == effect;
}

void loadLayers(const CSceneFiles& files, const CKzUser_ShaderPreDest& place, const std::string& path,
                std::int32_t action) {
    test(place, path, action);
    auto parent = groupOf(place);
    CKzLoc_Unknown owner, named;
    kzDemandGiven(parent->item_Scene(owner.out()));
    const auto scene = kzOwn<CScene>(owner.raw());
    const char* text = nullptr;
    const std::string effect = kzSucceeded(place.Effect(&text)) ? kzString(text) : std::string();
    std::int32_t index = action == KZiSHADERPRE_PREPEND ? 0 : -1;
    if (std::int32_t at = -1; action == KZiSHADERPRE_APPEND && kzSucceeded(place.Place(named.out(), &at))) {
        index = at;
        if (auto own = CHostRef<CItem>::of(named.raw())) parent = std::move(own);
    }
    const auto former = action == KZiSHADERPRE_REPLACE ? childrenOf(*parent) : std::vector<CHostRef<CItem>>();
    auto layers = kzImported(files, *scene, path);
    for (const auto& layer : layers)
        if (!hasEffect(layer, effect)) remove(*scene, layer);
    std::erase_if(layers, [](const auto& layer) { return !layer->item_IsValid(); });
    if (layers.empty())
        throw kzBecause(KZe_NOTSUPPORTED, "Drop",
                        [&] { return fmt::format("{} has no layer with the effect \"{}\"", path, effect); });
    for (const auto& each : former) remove(*scene, each);
    for (const auto& layer : layers) {
        if (const KzResult code = layer->item_SetParent(parent.raw(), index); kzFailed(code)) throw code;
        if (index >= 0) ++index;
    }
    kzDemandGiven(place.Applied(layers.front().raw()));
}

// The mesh items at and below these, with their places in the world.
std::vector<CHostRef<CItem>> meshesOf(const std::vector<CHostRef<CItem>>& roots) {
    std::vector<CHostRef<CItem>> open = roots, meshes;
    const std::int32_t type = kzFindItemType(KZsITYPE_MESH)->number;
    for (std::size_t i = 0; i < open.size(); ++i) {
        for (auto& child : childrenOf(*open[i])) open.push_back(std::move(child));
        if (open[i]->item_TestType(type)) meshes.push_back(open[i]);
    }
    return meshes;
}

KzMatrix4 movedBy(const KzVector3& position) {
    KzMatrix4 matrix = kzIdentity();
    for (int i = 0; i < 3; ++i) matrix.m[3][i] = position.v[i];
    return matrix;
}

void showInstances(CScene& scene, const std::vector<CHostRef<CItem>>& meshes, const CHostRef<CItem>& layer) {
    const auto all = CHostRef<CItemCollection>::make(layer->workspace().shared_from_this());
    for (const auto& mesh : meshes) all->itemcollection_Add(mesh.raw());
    CKzLoc_Unknown copies, copy;
    kzDemandGiven(all->itemcollection_Duplicate(scene.rawSelf(), KZfITEMCOPY_INSTANCE, copies.out()));
    const CKzUser_ItemCollection instances(copies.raw());
    for (std::uint32_t i = 0; i < instances.Count(); ++i)
        if (kzSucceeded(instances.ByIndex(i, copy.out())))
            kzDemandGiven(kzOwn<CItem>(copy.raw())->item_SetParent(layer.raw(), -1));
}

void loadMeshes(const CSceneFiles& files, CScene& scene, const CKzUser_MeshLayerPreDest& place,
                const std::string& path) {
    CKzLoc_Unknown found;
    CHostRef<CItem> layer;
    if (kzSucceeded(place.Item(found.out()))) layer = kzOwn<CItem>(found.raw());
    const std::int32_t mode = layer ? place.Mode() : KZiMESHLAYERPRE_NEWLAYER;
    KzVector3 position{}, normal{};
    if (kzFailed(place.Position(&position, &normal))) position = {};
    const auto roots = kzImported(files, scene, path);
    const auto meshes = meshesOf(roots);
    if (meshes.empty()) throw kzBecause(KZe_NOTSUPPORTED, "Drop", [&] { return "there is no mesh in " + path; });
    if (mode == KZiMESHLAYERPRE_INSTANCE) return showInstances(scene, meshes, layer);
    if (mode == KZiMESHLAYERPRE_NEWLAYER) {
        CKzLoc_Unknown added;
        kzDemandGiven(scene.scene_ItemAdd(kzFindItemType(KZsITYPE_MESH)->number, added.out()));
        layer = kzOwn<CItem>(added.raw());
        kzDemandGiven(layer->item_SetName(std::filesystem::path(path).stem().string().c_str()));
    }
    const auto target = layer->mesh();
    if (mode == KZiMESHLAYERPRE_REPLACE) kzDemandGiven(target->mesh_Clear());
    for (const auto& mesh : meshes) {
        const KzMatrix4 matrix = kzWorldMatrix(*mesh, 0) * movedBy(position);
        kzDemandGiven(target->mesh_MergeWithTransform(mesh->mesh().raw(), &matrix, kzMergeEverything));
    }
    for (const auto& root : roots) remove(scene, root);
}

}  // namespace

std::vector<CHostRef<CItem>> kzImported(const CSceneFiles& files, CScene& scene, const std::string& path) {
    const auto rootsOf = [&] {
        std::vector<CHostRef<CItem>> roots;
        const CReading reading(scene.document().workspace());
        scene.document().roots().each([&](Item& item) { roots.push_back(kzObjectOf(item)); });
        return roots;
    };
    const auto before = rootsOf();
    files.import(path, scene, nullptr);
    auto added = rootsOf();
    std::erase_if(added, [&](const auto& item) {
        return std::ranges::any_of(before, [&](const auto& each) { return each.object() == item.object(); });
    });
    return added;
}

DropWays kzLayerFileWays(const std::shared_ptr<CSceneFiles>& files, const CHostRef<CScene>& scene,
                         const std::vector<std::string>& paths, IKzUnknown* destination) {
    const auto layers = std::make_shared<CKzUser_ShaderPreDest>(destination);
    const auto mesh = std::make_shared<CKzUser_MeshLayerPreDest>(destination);
    const auto load = [=](std::int32_t action) {
        return [=] {
            for (const std::string& path : paths) loadLayers(*files, *layers, path, action);
        };
    };
    if (*layers)
        return {{KZi_DROPACTION_LOAD, "Add on Top", load(KZiSHADERPRE_APPEND)},
                {KZi_DROPACTION_REPLACE, "Replace Layers", load(KZiSHADERPRE_REPLACE)},
                {KZi_DROPACTION_CUSTOM, "Add Below", load(KZiSHADERPRE_PREPEND)}};
    if (!*mesh) return {};
    return {{KZi_DROPACTION_LOAD, "Load into Layer", [=] {
                 for (const std::string& path : paths) loadMeshes(*files, *scene, *mesh, path);
             }}};
}

void kzApplyToLayers(const CPresets& presets, const std::string& path, IKzUnknown* destination) {
    const CKzUser_ShaderPreDest place(destination);
    test(place, path, KZiSHADERPRE_COPY);
    const auto group = groupOf(place);
    presets.apply(path, group.raw());
    kzDemandGiven(place.Applied(group.raw()));
}

}  // namespace kzhost
