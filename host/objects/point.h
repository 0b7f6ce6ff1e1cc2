// Points of a mesh.
#pragma once

#include "host/objects/mesh_cursor.h"

#include <span>

namespace kzhost {

class CPoint final : public CHosted<"point", CPoint, CKzIfc_Point>, public CMeshCursor<CPoint, MeshPoint> {
public:
    static CElementTable<MeshPoint>& table(CMeshData& data) { return data.points; }
    KZ_CURSOR_OPERATIONS(point)
    KZ_MARKED_ELEMENT_OPERATIONS(point)

    KzResult point_MoveToVertex(KzElementId polygon, std::int32_t vertex) override;
    void point_Leave() override { leave(); }
    KzResult point_Next() override { return next(); }
    KzResult point_Position(KzFVector3* position) override;
    KzResult point_SetPosition(const KzVector3* position) override;
    KzResult point_Move(const KzVector3* offset) override;
    KzResult point_Normal(KzVector3* normal) override;
    std::uint32_t point_PolygonCount() override;
    KzResult point_PolygonByIndex(std::uint32_t index, KzElementId* polygon, std::int32_t* vertex) override;
    std::uint32_t point_EdgeCount() override { return static_cast<std::uint32_t>(edgesHere().size()); }
    KzResult point_EdgeByIndex(std::uint32_t index, KzElementId* edge) override;
    std::uint32_t point_NeighborCount() override { return point_EdgeCount(); }
    KzResult point_NeighborByIndex(std::uint32_t index, KzElementId* point) override;
    bool point_IsBoundary() override;
    bool point_IsOnCurve() override;
    KzResult point_NormalOf(KzElementId polygon, KzElementId map, KzVector3* normal) override;
    KzResult point_MapValue(KzElementId map, float* values) override;
    KzResult point_SetMapValue(KzElementId map, float* values) override;
    KzResult point_ClearMapValue(KzElementId map) override;
    std::uint32_t point_MapDimension(KzElementId map) override { return mapDimension(map); }
    KzResult point_Add(const KzVector3* position, KzElementId* point) override;
    KzResult point_Copy(KzElementId source, KzElementId* point) override;
    KzResult point_Remove() override;

private:
    std::span<const KzElementId> edgesHere();
    const MeshEdge& edgeHere(std::uint32_t index);
};

}  // namespace kzhost
