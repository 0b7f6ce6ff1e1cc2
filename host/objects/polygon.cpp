// Polygons of a mesh.
#include "host/objects/polygon.h"

#include "host/objects/mesh_map.h"
#include "host/state/text.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kzhost {

KzElementId CPolygon::corner(std::int64_t vertex) const {
    const auto& corners = here().points;
    if (vertex < 0 || vertex >= static_cast<std::int64_t>(corners.size())) throw KZe_OUTOFBOUNDS;
    return corners[static_cast<std::size_t>(vertex)];
}

KzResult CPolygon::setCorners(std::vector<KzElementId> corners) {
    data().checkCorners(here().type, corners);
    here().points = std::move(corners);
    data().changed(KZfMESHEDIT_VERTICES);
    return KZe_OK;
}

KzResult CPolygon::polygon_SetType(std::int32_t type) {
    data().checkCorners(type, here().points);
    here().type = type;
    data().changed(KZfMESHEDIT_POLYGONS);
    return KZe_OK;
}

std::uint32_t CPolygon::polygon_VertexCount() { return isAt() ? static_cast<std::uint32_t>(here().points.size()) : 0; }

KzResult CPolygon::polygon_VertexByIndex(std::uint32_t index, KzElementId* point) {
    *point = corner(index);
    return KZe_OK;
}

std::int32_t CPolygon::polygon_VertexIndex(KzElementId point) {
    if (!isAt()) return -1;
    const auto& corners = here().points;
    const auto corner = std::find(corners.begin(), corners.end(), point);
    return corner != corners.end() ? static_cast<std::int32_t>(corner - corners.begin()) : -1;
}

KzResult CPolygon::polygon_SetVertexPoint(std::int32_t vertex, KzElementId point) {
    corner(vertex);
    auto corners = here().points;
    corners[static_cast<std::size_t>(vertex)] = point;
    return setCorners(std::move(corners));
}

KzResult CPolygon::polygon_SetVertices(std::uint32_t count, KzElementId* points, std::int32_t reverse) {
    auto corners = kzCorners(count, points);
    if (reverse != 0) std::reverse(corners.begin(), corners.end());
    return setCorners(std::move(corners));
}

// Inserts before that vertex; a number equal to the count appends.
KzResult CPolygon::polygon_InsertVertex(std::int32_t vertex, KzElementId point) {
    auto corners = here().points;
    if (vertex < 0 || static_cast<std::size_t>(vertex) > corners.size()) return KZe_OUTOFBOUNDS;
    corners.insert(corners.begin() + vertex, point);
    return setCorners(std::move(corners));
}

KzResult CPolygon::polygon_RemoveVertex(std::int32_t vertex) {
    corner(vertex);
    auto corners = here().points;
    corners.erase(corners.begin() + vertex);
    return setCorners(std::move(corners));
}

std::uint32_t CPolygon::polygon_EdgeCount() {
    return isAt() ? polygon_VertexCount() - (polygon_IsClosed() ? 0 : 1) : 0;
}

KzResult CPolygon::polygon_EdgeByIndex(std::uint32_t index, KzElementId* edge) {
    const auto& corners = here().points;
    if (index >= polygon_EdgeCount()) return KZe_OUTOFBOUNDS;
    const MeshEdge* between = data().edgeBetween(corners[index], corners[(index + 1) % corners.size()]);
    *edge = between != nullptr ? between->id : nullptr;
    return KZe_OK;
}

KzElementId CPolygon::polygon_Neighbor(std::int32_t edge) {
    KzElementId id = nullptr;
    if (edge < 0 || kzFailed(polygon_EdgeByIndex(static_cast<std::uint32_t>(edge), &id))) return nullptr;
    for (KzElementId polygon : data().edges().at(id).polygons)
        if (polygon != here().id) return polygon;
    return nullptr;
}

KzResult CPolygon::polygon_Normal(KzVector3* normal) {
    const KzVector3 sum = data().normalOf(here());
    if (kzLength(sum) == 0) return KZe_NOTFOUND;
    *normal = kzUnit(sum);
    return KZe_OK;
}

KzResult CPolygon::polygon_Center(KzVector3* center) {
    *center = data().centerOf(here());
    return KZe_OK;
}

KzResult CPolygon::polygon_Bounds(KzBounds* box) {
    const KzVector3 first = data().points.at(corner(0)).position;
    *box = {first, first};
    for (KzElementId point : here().points) kzExtend(*box, data().points.at(point).position);
    return KZe_OK;
}

std::uint32_t CPolygon::polygon_TriangleCount() { return polygon_IsClosed() ? polygon_VertexCount() - 2 : 0; }

KzResult CPolygon::polygon_TriangleByIndex(std::uint32_t index, std::uint32_t* a, std::uint32_t* b, std::uint32_t* c) {
    here();
    if (index >= polygon_TriangleCount()) return KZe_OUTOFBOUNDS;
    *a = 0;
    *b = index + 1;
    *c = index + 2;
    return KZe_OK;
}

KzResult CPolygon::polygon_Tag(std::int32_t type, const char** tag) {
    const auto& tags = here().tags;
    const auto entry = tags.find(type);
    *tag = entry != tags.end() ? entry->second.c_str() : nullptr;
    return KZe_OK;
}

KzResult CPolygon::polygon_SetTag(std::int32_t type, const char* tag) {
    if (tag == nullptr) here().tags.erase(type);
    else here().tags[type] = tag;
    data().changed(KZfMESHEDIT_TAGS);
    return KZe_OK;
}

KzResult CPolygon::polygon_MapValue(std::int32_t vertex, KzElementId map, float* values) {
    return kzReadMapValue(data(), map, {corner(vertex), here().id}, values);
}

KzResult CPolygon::polygon_SetMapValue(std::int32_t vertex, KzElementId map, float* values) {
    return kzWriteMapValue(data(), map, {corner(vertex), here().id}, values);
}

KzResult CPolygon::polygon_ClearMapValue(std::int32_t vertex, KzElementId map) {
    return kzClearMapValue(data(), map, {corner(vertex), here().id});
}

KzResult CPolygon::polygon_Add(std::int32_t type, std::uint32_t count, KzElementId* points, std::int32_t reverse,
                               KzElementId* polygon) {
    auto corners = kzCorners(count, points);
    if (reverse != 0) std::reverse(corners.begin(), corners.end());
    *polygon = data().addPolygon(type, std::move(corners)).id;
    return moveTo(*polygon);
}

KzResult CPolygon::polygon_AddLike(KzElementId source, std::uint32_t count, KzElementId* points, KzElementId* polygon) {
    const std::int32_t type = data().polygons.at(source).type;
    const KzElementId copy = data().addPolygon(type, kzCorners(count, points)).id;
    data().polygons.at(copy).tags = data().polygons.at(source).tags;
    *polygon = copy;
    return moveTo(copy);
}

KzResult CPolygon::polygon_Flip() {
    auto corners = here().points;
    std::reverse(corners.begin() + 1, corners.end());
    return setCorners(std::move(corners));
}

KzResult CPolygon::polygon_Remove() {
    data().removePolygons([id = here().id](const MeshPolygon& polygon) { return polygon.id == id; });
    return KZe_OK;
}

}  // namespace kzhost
