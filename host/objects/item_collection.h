// Sets of items as objects.
#pragma once

#include "host/document/ordered_set.h"
#include "host/objects/item.h"

namespace kzhost {

class CItemCollection final : public CHosted<"item collection", CItemCollection, CKzIfc_ItemCollection>,
                              public CHostSelf<CItemCollection> {
public:
    explicit CItemCollection(std::shared_ptr<CWorkspace> workspace) : m_workspace(std::move(workspace)) {}

    void itemcollection_Clear() override;
    KzResult itemcollection_Add(IKzUnknown* item) override;
    KzResult itemcollection_AddChildren(IKzUnknown* item, std::int32_t recursive) override;
    KzResult itemcollection_AddByType(IKzUnknown* scene, std::int32_t type) override;
    KzResult itemcollection_AddCollection(IKzUnknown* other) override;
    KzResult itemcollection_AddSelection(IKzUnknown* scene, std::int32_t type) override;
    KzResult itemcollection_AddGraph(IKzUnknown* item, const char* graph, std::int32_t forward) override;
    KzResult itemcollection_Remove(IKzUnknown* item) override;
    KzResult itemcollection_RemoveByType(std::int32_t type) override;
    KzResult itemcollection_Intersect(IKzUnknown* other) override;
    bool itemcollection_Test(IKzUnknown* item) override;
    std::uint32_t itemcollection_Count() override;
    std::uint32_t itemcollection_CountByType(std::int32_t type) override;
    KzResult itemcollection_ByIndex(std::uint32_t index, IKzUnknown** item) override;
    KzResult itemcollection_Duplicate(IKzUnknown* target, std::uint32_t flags, IKzUnknown** copies) override;

    // The lock must be held.
    void add(Item& item) { m_items.add(kzObjectOf(item)); }
    // Those that are still in a scene, in the order of adding. The lock must be held.
    std::vector<Item*> items() const;

private:
    const std::shared_ptr<CWorkspace> m_workspace;
    COrderedSet<CHostRef<CItem>> m_items;
};

// The selected items of the type, in the order of selection. The lock must be held.
std::vector<Item*> kzSelectedItems(const CWorkspace& workspace, std::int32_t type);

}  // namespace kzhost
