// Edges of a mesh.
#pragma once

#include "host/objects/mesh_cursor.h"

namespace kzhost {

class CEdge final : public CHosted<"edge", CEdge, CKzIfc_Edge>, public CMeshCursor<CEdge, MeshEdge> {
public:
    static CElementTable<MeshEdge>& table(CMeshData& data) { return data.edges(); }
    using CMeshCursor::CMeshCursor;
    using CMeshCursor::table;

    KzResult edge_MoveTo(KzElementId edge) override { return moveTo(edge); }
    KzResult edge_MoveToIndex(std::uint32_t index) override { return moveToIndex(index); }
    KzResult edge_MoveToEnds(KzElementId start, KzElementId end) override;
    bool edge_IsAt() override { return isAt(); }
    KzElementId edge_Id() override { return id(); }
    std::uint32_t edge_Index() override { return index(); }
    KzResult edge_Mesh(IKzUnknown** mesh) override { return giveMesh(mesh); }
    KzResult edge_Enumerate(std::int32_t mark, IKzUnknown* visitor) override { return visitMarked(mark, visitor); }
    KzResult edge_Ends(KzElementId* start, KzElementId* end) override;
    KzElementId edge_OtherEnd(KzElementId point) override;
    double edge_Length() override;
    std::uint32_t edge_PolygonCount() override;
    KzResult edge_PolygonByIndex(std::uint32_t index, KzElementId* polygon) override;
    bool edge_IsBoundary() override { return edge_PolygonCount() == 1; }
    bool edge_IsManifold() override { return isAt() && edge_PolygonCount() <= 2; }
    KzResult edge_Angle(double* angle) override;
    double edge_Crease() override { return isAt() ? here().crease : 0; }
    KzResult edge_SetCrease(double crease) override;
    std::int32_t edge_Marks() override { return marks(); }
    KzResult edge_SetMarks(std::int32_t set, std::int32_t clear) override { return setMarks(set, clear); }
    bool edge_TestMarks(std::int32_t mark) override { return testMarks(mark); }
};

}  // namespace kzhost
