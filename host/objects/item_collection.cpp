// Sets of items as objects.
#include "host/objects/item_collection.h"

#include "host/core/reasons.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include "kz/selection.h"

namespace kzhost {

std::vector<Item*> kzSelectedItems(const CWorkspace& workspace, std::int32_t type) {
    std::vector<Item*> items;
    workspace.selection().list(KZi_SELTYP_ITEM).each([&](const PacketRef& packet) {
        const ItemRef item = packet->item.lock();
        if (item != nullptr && item->isPresent && item->type.isA(type)) items.push_back(item.get());
    });
    return items;
}

std::vector<Item*> CItemCollection::items() const {
    std::vector<Item*> items;
    m_items.each([&](const CHostRef<CItem>& item) {
        if (item->item_IsValid()) items.push_back(&*item->read());
    });
    return items;
}

void CItemCollection::itemcollection_Clear() {
    COrderedSet<CHostRef<CItem>> dropped;
    const CReading reading(*m_workspace);
    dropped.swap(m_items);
}

KzResult CItemCollection::itemcollection_Add(IKzUnknown* item) {
    const auto own = kzOwn<CItem>(item);
    const auto present = own->read();
    m_items.add(own);
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_AddChildren(IKzUnknown* item, std::int32_t recursive) {
    const auto top = kzOwn<CItem>(item)->read();
    std::vector<Item*> open{&*top};
    for (std::size_t i = 0; i < open.size(); ++i)
        open[i]->children.each([&](Item& child) {
            add(child);
            if (recursive != 0) open.push_back(&child);
        });
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_AddByType(IKzUnknown* scene, std::int32_t type) {
    const auto own = kzOwn<CScene>(scene);
    const CReading reading(*m_workspace);
    own->document().each(type, [&](Item& item) { add(item); });
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_AddCollection(IKzUnknown* other) {
    const auto own = kzOwn<CItemCollection>(other);
    const CReading reading(*m_workspace);
    if (own.object() != this) own->m_items.each([&](const CHostRef<CItem>& item) { m_items.add(item); });
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_AddSelection(IKzUnknown* scene, std::int32_t type) {
    const auto own = kzOwn<CScene>(scene);
    const CReading reading(*m_workspace);
    for (Item* item : kzSelectedItems(*m_workspace, type))
        if (&item->document == &own->document()) add(*item);
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_AddGraph(IKzUnknown* item, const char* graph, std::int32_t forward) {
    const auto own = kzOwn<CItem>(item);
    const GraphInfo* info = kzFindGraph(kzTextOf(graph));
    if (info == nullptr)
        return kzBecause(KZe_NOTFOUND, "ItemCollection.AddGraph", [&] {
            return kzThereIsNo("graph", kzTextOf(graph), kzGraphs(), [](const GraphInfo& each) { return each.name; });
        });
    const auto start = own->read();
    for (Item* each : kzReach(*start, *info, forward != 0))
        if (each != &*start) add(*each);
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_Remove(IKzUnknown* item) {
    const auto own = kzOwn<CItem>(item);
    const CReading reading(*m_workspace);
    return m_items.remove(*own) ? KZe_OK : KZe_NOTFOUND;
}

KzResult CItemCollection::itemcollection_RemoveByType(std::int32_t type) {
    const CReading reading(*m_workspace);
    m_items.removeIf([&](const CHostRef<CItem>& item) { return item->type().isA(type); });
    return KZe_OK;
}

KzResult CItemCollection::itemcollection_Intersect(IKzUnknown* other) {
    const auto own = kzOwn<CItemCollection>(other);
    const CReading reading(*m_workspace);
    if (own.object() != this) m_items.removeIf([&](const CHostRef<CItem>& item) { return !own->m_items.has(*item); });
    return KZe_OK;
}

bool CItemCollection::itemcollection_Test(IKzUnknown* item) {
    const auto own = kzOwn<CItem>(item);
    const CReading reading(*m_workspace);
    return m_items.has(*own);
}

std::uint32_t CItemCollection::itemcollection_Count() {
    const CReading reading(*m_workspace);
    return static_cast<std::uint32_t>(m_items.size());
}

std::uint32_t CItemCollection::itemcollection_CountByType(std::int32_t type) {
    const CReading reading(*m_workspace);
    std::uint32_t count = 0;
    m_items.each([&](const CHostRef<CItem>& item) { count += item->type().isA(type) ? 1U : 0U; });
    return count;
}

KzResult CItemCollection::itemcollection_ByIndex(std::uint32_t index, IKzUnknown** item) {
    const CReading reading(*m_workspace);
    return index < m_items.size() ? m_items.at(index).give(item) : KZe_OUTOFBOUNDS;
}

}  // namespace kzhost
