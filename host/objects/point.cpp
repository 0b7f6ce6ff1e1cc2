// Points of a mesh.
#include "host/objects/point.h"

#include "host/objects/mesh_edits.h"
#include "host/objects/mesh_map.h"

#include <algorithm>
#include <span>
#include <vector>

namespace kzhost {

KzResult CPoint::point_MoveToVertex(KzElementId polygon, std::int32_t vertex) {
    const auto& corners = data().polygons.at(polygon).points;
    if (vertex < 0 || static_cast<std::size_t>(vertex) >= corners.size()) return KZe_OUTOFBOUNDS;
    return moveTo(corners[static_cast<std::size_t>(vertex)]);
}

KzResult CPoint::point_Position(KzFVector3* position) {
    *position = kzNarrow(here().position);
    return KZe_OK;
}

KzResult CPoint::point_SetPosition(const KzVector3* position) {
    const CMeshEdit edit(data());
    here().position = kzNotNull(position);
    data().changed(KZfMESHEDIT_POSITION);
    return KZe_OK;
}

KzResult CPoint::point_Move(const KzVector3* offset) {
    const CMeshEdit edit(data());
    here().position = here().position + kzNotNull(offset);
    data().changed(KZfMESHEDIT_POSITION);
    return KZe_OK;
}

// Unit normals are added, so that large polygons count no more than small ones.
KzResult CPoint::point_Normal(KzVector3* normal) {
    KzVector3 sum{};
    for (const MeshCorner& corner : data().cornersAt(here().id))
        sum = sum + kzUnit(data().normalOf(data().polygons.at(corner.polygon)));
    if (kzLength(sum) == 0) return KZe_NOTFOUND;
    *normal = kzUnit(sum);
    return KZe_OK;
}

std::uint32_t CPoint::point_PolygonCount() {
    return isAt() ? static_cast<std::uint32_t>(data().cornersAt(here().id).size()) : 0;
}

KzResult CPoint::point_PolygonByIndex(std::uint32_t index, KzElementId* polygon, std::int32_t* vertex) {
    const auto corners = data().cornersAt(here().id);
    if (index >= corners.size()) return KZe_OUTOFBOUNDS;
    *polygon = corners[index].polygon;
    *vertex = corners[index].vertex;
    return KZe_OK;
}

std::span<const KzElementId> CPoint::edgesHere() {
    return isAt() ? data().edgesAt(id()) : std::span<const KzElementId>();
}

const MeshEdge& CPoint::edgeHere(std::uint32_t index) {
    const auto edges = data().edgesAt(here().id);
    if (index >= edges.size()) throw KZe_OUTOFBOUNDS;
    return data().edges().at(edges[index]);
}

KzResult CPoint::point_EdgeByIndex(std::uint32_t index, KzElementId* edge) {
    *edge = edgeHere(index).id;
    return KZe_OK;
}

KzResult CPoint::point_NeighborByIndex(std::uint32_t index, KzElementId* point) {
    const MeshEdge& edge = edgeHere(index);
    *point = edge.start == id() ? edge.end : edge.start;
    return KZe_OK;
}

bool CPoint::point_IsBoundary() {
    const auto edges = edgesHere();
    return std::any_of(edges.begin(), edges.end(),
                       [&](KzElementId edge) { return data().edges().at(edge).polygons.size() == 1; });
}

bool CPoint::point_IsOnCurve() {
    if (!isAt()) return false;
    const auto corners = data().cornersAt(id());
    return std::any_of(corners.begin(), corners.end(), [&](const MeshCorner& corner) {
        return !kzPolygonType(data().polygons.at(corner.polygon).type).isClosed;
    });
}

KzResult CPoint::point_NormalOf(KzElementId polygon, KzElementId map, KzVector3* normal) {
    const auto& corners = data().polygons.at(polygon).points;
    if (std::find(corners.begin(), corners.end(), here().id) == corners.end()) return KZe_NOTFOUND;
    *normal = kzCornerNormal(data(), here().id, polygon, map);
    return KZe_OK;
}

KzResult CPoint::point_MapValue(KzElementId map, float* values) {
    return kzReadMapValue(data(), map, {here().id, nullptr}, values);
}

KzResult CPoint::point_SetMapValue(KzElementId map, float* values) {
    return kzWriteMapValue(data(), map, {here().id, nullptr}, values);
}

KzResult CPoint::point_ClearMapValue(KzElementId map) { return kzClearMapValue(data(), map, {here().id, nullptr}); }

KzResult CPoint::point_Add(const KzVector3* position, KzElementId* point) {
    const CMeshEdit edit(data());
    *point = data().addPoint(kzNotNull(position)).id;
    return moveTo(*point);
}

KzResult CPoint::point_Copy(KzElementId source, KzElementId* point) {
    const CMeshEdit edit(data());
    const KzElementId copy = data().points.add(MeshPoint(data().points.at(source))).id;
    data().noteCopy(copy, source);
    for (MeshMapData& map : data().maps)
        if (const auto value = map.values.find({source, nullptr}); value != map.values.end())
            map.values[{copy, nullptr}] = std::vector<float>(value->second);
    data().changed(KZfMESHEDIT_POINTS);
    *point = copy;
    return moveTo(copy);
}

KzResult CPoint::point_Remove() {
    const CMeshEdit edit(data());
    data().removePoints([id = here().id](const MeshPoint& point) { return point.id == id; });
    return KZe_OK;
}

}  // namespace kzhost
