// Edges of a mesh.
#pragma once

#include "host/objects/mesh_cursor.h"

namespace kzhost {

class CEdge final : public CHosted<"edge", CEdge, CKzIfc_Edge>, public CMeshCursor<CEdge, MeshEdge> {
public:
    static CElementTable<MeshEdge>& table(CMeshData& data) { return data.edges(); }
    KZ_CURSOR_OPERATIONS(edge)
    KZ_MARKED_ELEMENT_OPERATIONS(edge)

    KzResult edge_MoveToEnds(KzElementId start, KzElementId end) override;
    KzResult edge_Ends(KzElementId* start, KzElementId* end) override;
    KzElementId edge_OtherEnd(KzElementId point) override;
    double edge_Length() override;
    std::uint32_t edge_PolygonCount() override;
    KzResult edge_PolygonByIndex(std::uint32_t index, KzElementId* polygon) override;
    bool edge_IsBoundary() override { return edge_PolygonCount() == 1; }
    bool edge_IsManifold() override { return isAt() && edge_PolygonCount() <= 2; }
    KzResult edge_Angle(double* angle) override;
    KzResult edge_NextInLoop(KzElementId from, KzElementId* edge) override;
    KzResult edge_NextInRing(KzElementId polygon, KzElementId* edge) override;
    double edge_Crease() override { return isAt() ? here().crease : 0; }
    KzResult edge_SetCrease(double crease) override;
};

}  // namespace kzhost
