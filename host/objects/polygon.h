// Polygons of a mesh.
#pragma once

#include "host/objects/mesh_cursor.h"
#include "host/objects/polygon_shape.h"

#include <vector>

namespace kzhost {

class CPolygon final : public CHosted<"polygon", CPolygon, CKzIfc_Polygon>, public CMeshCursor<CPolygon, MeshPolygon> {
public:
    static CElementTable<MeshPolygon>& table(CMeshData& data) { return data.polygons; }
    KZ_CURSOR_OPERATIONS(polygon)
    KZ_MARKED_ELEMENT_OPERATIONS(polygon)

    void polygon_Leave() override { leave(); }
    KzResult polygon_Next() override { return next(); }
    std::int32_t polygon_Type() override { return isAt() ? here().type : 0; }
    KzResult polygon_SetType(std::int32_t type) override;
    std::uint32_t polygon_VertexCount() override;
    KzResult polygon_VertexByIndex(std::uint32_t index, KzElementId* point) override;
    std::int32_t polygon_VertexIndex(KzElementId point) override;
    KzResult polygon_SetVertexPoint(std::int32_t vertex, KzElementId point) override;
    KzResult polygon_SetVertices(std::uint32_t count, KzElementId* points, std::int32_t reverse) override;
    KzResult polygon_InsertVertex(std::int32_t vertex, KzElementId point) override;
    KzResult polygon_RemoveVertex(std::int32_t vertex) override;
    std::uint32_t polygon_EdgeCount() override;
    KzResult polygon_EdgeByIndex(std::uint32_t index, KzElementId* edge) override;
    KzElementId polygon_Neighbor(std::int32_t edge) override;
    KzResult polygon_Normal(KzVector3* normal) override;
    KzResult polygon_Center(KzVector3* center) override;
    KzResult polygon_Bounds(KzBounds* box) override;
    KzResult polygon_EnumerateConnected(KzElementId start, std::uint32_t flags, IKzUnknown* visitor) override;
    KzResult polygon_VertexNormal(std::int32_t vertex, KzElementId map, KzFVector3* normal) override;
    bool polygon_IsPlanar(double tolerance) override;
    KzResult polygon_Closest(const KzVector3* position, double* distance, KzFVector3* weights,
                             std::uint32_t* triangle) override;
    KzResult polygon_Intersect(const KzVector3* origin, const KzVector3* direction, double* distance,
                               KzVector3* normal) override;
    double polygon_Area() override { return isAt() ? data().areaOf(here()) : 0; }
    bool polygon_IsClosed() override { return isAt() && kzPolygonType(here().type).isClosed; }
    std::uint32_t polygon_TriangleCount() override;
    KzResult polygon_TriangleByIndex(std::uint32_t index, std::uint32_t* a, std::uint32_t* b,
                                     std::uint32_t* c) override;
    KzResult polygon_Tag(std::int32_t type, const char** tag) override;
    KzResult polygon_SetTag(std::int32_t type, const char* tag) override;
    KzResult polygon_MapValue(std::int32_t vertex, KzElementId map, float* values) override;
    KzResult polygon_SetMapValue(std::int32_t vertex, KzElementId map, float* values) override;
    KzResult polygon_ClearMapValue(std::int32_t vertex, KzElementId map) override;
    std::uint32_t polygon_MapDimension(KzElementId map) override { return mapDimension(map); }
    KzResult polygon_Add(std::int32_t type, std::uint32_t count, KzElementId* points, std::int32_t reverse,
                         KzElementId* polygon) override;
    KzResult polygon_AddLike(KzElementId source, std::uint32_t count, KzElementId* points,
                             KzElementId* polygon) override;
    KzResult polygon_Flip() override;
    KzResult polygon_Remove() override;

private:
    KzElementId corner(std::int64_t vertex) const;  // throws OUTOFBOUNDS
    KzResult setCorners(std::vector<KzElementId> corners);
    std::vector<Triangle> triangles();  // none for a curve
    // Calls the work with the positions of each triangle's corners and its index.
    template <class Work> void eachTriangle(const Work& work);
    bool goesOn(const MeshPolygon& from, const MeshEdge& edge, const MeshPolygon& to, std::uint32_t flags);
};

}  // namespace kzhost
