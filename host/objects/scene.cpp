// Scenes: their items by type, name and identifier.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/state/text.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// All actions share the values of the scene. Throws NOTFOUND for an unknown action.
std::string actionName(const char* action) {
    const std::string name(kzTextOf(action));
    static const std::vector<std::string> actions = {KZs_ACTIONLAYER_EDIT, KZs_ACTIONLAYER_ANIM, KZs_ACTIONLAYER_SETUP,
                                                     KZs_ACTIONLAYER_STATIC};
    if (name.empty() || std::find(actions.begin(), actions.end(), name) != actions.end()) return name;
    throw kzBecause(KZe_NOTFOUND, "Scene.Channels", [&] { return kzThereIsNo("action", name, actions); });
}

KzResult handOver(IKzUnknown* object, IKzUnknown** out) {
    *out = object;
    return object != nullptr ? KZe_OK : KZe_FAILED;
}

}  // namespace

CHostRef<CScene> CScene::open(std::string name) {
    auto scene = CHostRef<CScene>::make(std::move(name));
    scene->add(*kzFindItemType(KZiITYPE_ROOT));
    scene->m_isModified = false;
    return scene;
}

CScene::~CScene() { close(); }

void CScene::close() {
    for (const auto& item : m_items) item->leave();
    m_items.clear();
    m_roots.clear();
}

CHostRef<CItem> CScene::add(const ItemType& type) {
    auto item = CHostRef<CItem>::make(*this, type, std::string(type.name) + std::to_string(m_nextIdent++));
    m_items.push_back(item);
    if (type.number != KZiITYPE_ROOT) m_roots.push_back(item.object());
    touch();
    return item;
}

std::string CScene::uniqueName(const CItem& item) const {
    const std::string base = item.baseName();
    std::uint32_t same = 0;
    for (const auto& other : m_items) {
        if (other->baseName() == base) ++same;
        if (other.object() == &item) break;
    }
    return same > 1 ? base + " (" + std::to_string(same) + ")" : base;
}

KzResult CScene::scene_Filename(const char** path) {
    *path = m_filename.empty() ? nullptr : m_filename.c_str();
    return KZe_OK;
}

KzResult CScene::scene_SetFilename(const char* path) {
    m_filename = kzTextOf(path);
    return KZe_OK;
}

KzResult CScene::scene_Name(const char** name) {
    *name = m_name.c_str();
    return KZe_OK;
}

KzResult CScene::scene_Root(IKzUnknown** item) {
    return m_items.empty() ? KZe_NOTAVAILABLE : m_items.front().give(item);
}

KzResult CScene::scene_SetModified(std::int32_t modified) {
    m_isModified = modified != 0;
    return KZe_OK;
}

KzResult CScene::scene_ItemAdd(std::int32_t type, IKzUnknown** item) {
    const ItemType* row = kzFindItemType(type);
    if (m_items.empty()) return KZe_NOTAVAILABLE;
    if (row == nullptr || type == KZiITYPE_ANY || type == KZiITYPE_ROOT) return KZe_INVALIDARG;
    return add(*row).give(item);
}

// Removes the item with all its descendants.
KzResult CScene::scene_ItemRemove(IKzUnknown* item) {
    const auto top = kzOwn<CItem>(item);
    if (!top->isIn(*this) || top->item_Type() == KZiITYPE_ROOT) return KZe_INVALIDARG;
    std::vector<CItem*> subtree{top.object()};
    for (std::size_t i = 0; i < subtree.size(); ++i)
        for (CItem* child : subtree[i]->children()) subtree.push_back(child);
    std::erase(top->parent() != nullptr ? top->parent()->children() : m_roots, top.object());
    for (CItem* each : subtree) each->leave();
    std::erase_if(m_items, [this](const auto& each) { return !each->isIn(*this); });
    touch();
    return KZe_OK;
}

std::uint32_t CScene::scene_ItemCount(std::int32_t type) {
    return static_cast<std::uint32_t>(
        std::count_if(m_items.begin(), m_items.end(), [type](const auto& item) { return item->item_TestType(type); }));
}

KzResult CScene::scene_ItemByIndex(std::int32_t type, std::uint32_t index, IKzUnknown** item) {
    for (const auto& each : m_items)
        if (each->item_TestType(type) && index-- == 0) return each.give(item);
    return KZe_OUTOFBOUNDS;
}

KzResult CScene::scene_ItemLookup(const char* name, IKzUnknown** item) {
    for (const auto& each : m_items)
        if (kzTextOf(name) == uniqueName(*each)) return each.give(item);
    return kzBecause(KZe_NOTFOUND, "Scene.ItemLookup", [&] {
        return kzThereIsNo("item", kzTextOf(name), m_items, [this](const auto& each) { return uniqueName(*each); });
    });
}

KzResult CScene::scene_ItemByIdent(const char* ident, IKzUnknown** item) {
    for (const auto& each : m_items)
        if (kzTextOf(ident) == each->ident()) return each.give(item);
    return kzBecause(KZe_NOTFOUND, "Scene.ItemByIdent", [&] {
        return kzThereIsNo("item", kzTextOf(ident), m_items, [](const auto& each) { return each->ident(); });
    });
}

KzResult CScene::scene_Channels(const char* action, double time, IKzUnknown** read) {
    return handOver(kzMakeChannelRead(self(), actionName(action), time), read);
}

KzResult CScene::scene_WriteChannels(const char* action, double time, IKzUnknown** write) {
    return handOver(kzMakeChannelWrite(self(), actionName(action), time), write);
}

}  // namespace kzhost
