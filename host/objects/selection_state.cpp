// Selections that were put aside.
#include "host/objects/selection_state.h"

#include "host/document/edit.h"

#include "kz/result.h"

namespace kzhost {

CSelectionState::CSelectionState(std::shared_ptr<CWorkspace> workspace, const std::vector<std::int32_t>& types)
    : m_workspace(std::move(workspace)) {
    for (const std::int32_t type : types) m_lists.emplace(type, m_workspace->selection().list(type));
}

const PacketList* CSelectionState::find(std::int32_t type) const {
    const auto entry = m_lists.find(type);
    return entry != m_lists.end() ? &entry->second : nullptr;
}

std::uint32_t CSelectionState::selectionstate_Count(std::int32_t type) {
    const CReading reading(*m_workspace);
    const PacketList* list = find(type);
    return list != nullptr ? static_cast<std::uint32_t>(list->size()) : 0;
}

KzResult CSelectionState::selectionstate_ByIndex(std::int32_t type, std::uint32_t index, void** packet) {
    const CReading reading(*m_workspace);
    const PacketList* list = find(type);
    if (list == nullptr || index >= list->size()) return KZe_OUTOFBOUNDS;
    *packet = list->at(index)->address;
    return KZe_OK;
}

bool CSelectionState::selectionstate_Test(std::int32_t type, void* packet) {
    const CReading reading(*m_workspace);
    const PacketList* list = find(type);
    const PacketRef found = m_workspace->selection().at(packet);
    return list != nullptr && found != nullptr && list->has(*found);
}

KzResult CSelectionState::selectionstate_Restore() {
    CEdit edit(*m_workspace);
    for (const auto& [type, list] : m_lists) {
        PacketList alive = list;
        alive.removeIf([](const PacketRef& packet) { return !packet->isAlive(); });
        m_workspace->selection().replace(type, std::move(alive), edit);
    }
    edit.commit();
    return KZe_OK;
}

KzResult CSelectionState::selectionstate_Merge(IKzUnknown* other) {
    const auto state = kzOwn<CSelectionState>(other);
    const CReading reading(*m_workspace);
    if (state.object() == this) return KZe_OK;
    for (const auto& [type, list] : state->m_lists)
        list.each([this, type = type](const PacketRef& packet) { m_lists[type].add(packet); });
    return KZe_OK;
}

}  // namespace kzhost
