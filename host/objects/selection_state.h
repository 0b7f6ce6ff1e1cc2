// Selections that were put aside.
#pragma once

#include "host/document/workspace.h"
#include "host/objects/arguments.h"

#include "kz/selection.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace kzhost {

class CSelectionState final : public CHosted<"selection state", CSelectionState, CKzIfc_SelectionState> {
public:
    // Puts the present selections of these types aside. The lock must be held.
    CSelectionState(std::shared_ptr<CWorkspace> workspace, const std::vector<std::int32_t>& types);

    std::uint32_t selectionstate_Count(std::int32_t type) override;
    KzResult selectionstate_ByIndex(std::int32_t type, std::uint32_t index, void** packet) override;
    bool selectionstate_Test(std::int32_t type, void* packet) override;
    KzResult selectionstate_Restore() override;
    KzResult selectionstate_Merge(IKzUnknown* other) override;

private:
    const PacketList* find(std::int32_t type) const;

    const std::shared_ptr<CWorkspace> m_workspace;
    std::map<std::int32_t, PacketList> m_lists;
};

}  // namespace kzhost
