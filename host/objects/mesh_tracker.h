// Follows a mesh: what has changed of it since a reset.
#pragma once

#include "host/objects/mesh.h"

#include "kz/mesh_tracker.h"

#include <unordered_map>
#include <vector>

namespace kzhost {

// Keeps a copy of the elements as they were at the reset and compares when it is asked, so that edits cost nothing more.
class CMeshTracker final : public CHosted<"mesh tracker", CMeshTracker, CKzIfc_MeshTracker>,
                           public CHostSelf<CMeshTracker> {
public:
    KzResult meshtracker_Start(IKzUnknown* mesh, std::uint32_t changes) override;
    void meshtracker_Stop() override;
    bool meshtracker_IsTracking() override { return static_cast<bool>(m_mesh); }
    KzResult meshtracker_Reset() override;
    std::uint32_t meshtracker_Changes() override;
    KzResult meshtracker_ChangedPoints(std::uint32_t changes, IKzUnknown* visitor) override;
    KzResult meshtracker_ChangedPolygons(std::uint32_t changes, IKzUnknown* visitor) override;
    std::uint32_t meshtracker_AddedCount(std::int32_t elements) override;
    std::uint32_t meshtracker_RemovedCount(std::int32_t elements) override;
    KzResult meshtracker_RemovedByIndex(std::int32_t elements, std::uint32_t index, KzElementId* element) override;
    KzElementId meshtracker_Current() override { return m_current; }
    KzResult meshtracker_OldPosition(KzElementId point, KzVector3* position) override;
    KzElementId meshtracker_Source(KzElementId element) override { return now().sourceOf(element); }

private:
    CMeshData& now() { return m_mesh ? m_mesh->data : m_last; }
    KzResult visit(const std::vector<KzElementId>& elements, IKzUnknown* visitor);
    // The elements of that kind which only the first of the two has; throws INVALIDARG for other kinds.
    static std::vector<KzElementId> onlyIn(CMeshData& one, CMeshData& other, std::int32_t elements);

    CHostRef<CMesh> m_mesh;
    CMeshData m_old, m_last;  // at the reset, and when tracking was stopped
    std::uint32_t m_kinds = 0;
    KzElementId m_current = nullptr;
};

}  // namespace kzhost
