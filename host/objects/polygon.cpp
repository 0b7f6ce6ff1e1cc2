// Polygons of a mesh.
#include "host/objects/polygon.h"

#include "host/objects/mesh_edits.h"
#include "host/objects/mesh_map.h"
#include "host/state/text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Whether a texture map has other values on one side of the edge than on the other.
bool hasSeam(CMeshData& data, const MeshEdge& edge, const MeshPolygon& from, const MeshPolygon& to) {
    for (const MeshMapData& map : data.maps) {
        if (map.type != KZi_MAPTYPE_TEXTURE) continue;
        for (const KzElementId point : {edge.start, edge.end}) {
            const auto* one = map.find(point, from.id);
            const auto* other = map.find(point, to.id);
            if ((one == nullptr) != (other == nullptr) || (one != nullptr && *one != *other)) return true;
        }
    }
    return false;
}

}  // namespace

KzElementId CPolygon::corner(std::int64_t vertex) const {
    const auto& corners = here().points;
    if (vertex < 0 || vertex >= static_cast<std::int64_t>(corners.size())) throw KZe_OUTOFBOUNDS;
    return corners[static_cast<std::size_t>(vertex)];
}

KzResult CPolygon::setCorners(std::vector<KzElementId> corners) {
    const CMeshEdit edit(data());
    data().checkCorners(here().type, corners);
    here().points = std::move(corners);
    data().changed(KZfMESHEDIT_VERTICES);
    return KZe_OK;
}

KzResult CPolygon::polygon_SetType(std::int32_t type) {
    const CMeshEdit edit(data());
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

std::vector<Triangle> CPolygon::triangles() {
    if (!polygon_IsClosed()) return {};
    return kzTriangulate(kzCornersOf(data(), here()), KZiTRIANGULATE_FAN);
}

template <class Work> void CPolygon::eachTriangle(const Work& work) {
    const auto corners = kzCornersOf(data(), here());
    std::uint32_t index = 0;
    for (const auto& [a, b, c] : triangles()) work(std::array{corners[a], corners[b], corners[c]}, index++);
}

bool CPolygon::polygon_IsPlanar(double tolerance) {
    return isAt() && kzOffPlane(kzCornersOf(data(), here())) <= tolerance;
}

KzResult CPolygon::polygon_VertexNormal(std::int32_t vertex, KzElementId map, KzFVector3* normal) {
    *normal = kzNarrow(kzCornerNormal(data(), corner(vertex), here().id, map));
    return KZe_OK;
}

KzResult CPolygon::polygon_Closest(const KzVector3* position, double* distance, KzFVector3* weights,
                                   std::uint32_t* triangle) {
    const KzVector3& from = kzNotNull(position);
    std::optional<TrianglePlace> nearest;
    eachTriangle([&](const auto& corners, std::uint32_t index) {
        const TrianglePlace place = kzNearest(from, corners);
        if (nearest && nearest->distance <= place.distance) return;
        nearest = place;
        *triangle = index;
    });
    if (!nearest) return KZe_NOTFOUND;
    *distance = nearest->distance;
    for (int at = 0; at < 3; ++at) weights->v[at] = static_cast<float>(nearest->weights[static_cast<std::size_t>(at)]);
    return KZe_OK;
}

KzResult CPolygon::polygon_Intersect(const KzVector3* origin, const KzVector3* direction, double* distance,
                                     KzVector3* normal) {
    std::optional<TrianglePlace> first;
    eachTriangle([&](const auto& corners, std::uint32_t /*index*/) {
        const auto place = kzMeet(kzNotNull(origin), kzNotNull(direction), corners);
        if (place && (!first || place->distance < first->distance)) first = place;
    });
    if (!first) return KZe_NOTFOUND;
    *distance = first->distance;
    *normal = kzUnit(data().normalOf(here()));
    return KZe_OK;
}

bool CPolygon::goesOn(const MeshPolygon& from, const MeshEdge& edge, const MeshPolygon& to, std::uint32_t flags) {
    const auto material = [](const MeshPolygon& polygon) {
        const auto tag = polygon.tags.find(KZi_PTAG_SURFACE);
        return tag != polygon.tags.end() ? tag->second : std::string();
    };
    const auto stopsAt = [flags](std::uint32_t flag) { return (flags & flag) != 0; };
    if (stopsAt(KZfPOLYWALK_TYPE) && from.type != to.type) return false;
    if (stopsAt(KZfPOLYWALK_TAG) && material(from) != material(to)) return false;
    if (stopsAt(KZfPOLYWALK_HIDDEN) && (to.marks & KZfMARK_HIDE) != 0) return false;
    if (stopsAt(KZfPOLYWALK_CREASE) && edge.crease > 0) return false;
    return !stopsAt(KZfPOLYWALK_SEAM) || !hasSeam(data(), edge, from, to);
}

KzResult CPolygon::polygon_EnumerateConnected(KzElementId start, std::uint32_t flags, IKzUnknown* visitor) {
    kzNotNull(visitor);
    std::vector<KzElementId> queue{data().polygons.at(start).id};
    std::unordered_set<KzElementId> reached{start};
    for (std::size_t at = 0; at < queue.size(); ++at) {
        const MeshPolygon polygon = data().polygons.at(queue[at]);
        const std::size_t count = polygon.points.size();
        for (std::size_t side = 0; side < count; ++side) {
            const MeshEdge* edge = data().edgeBetween(polygon.points[side], polygon.points[(side + 1) % count]);
            if (edge == nullptr) continue;
            for (const KzElementId next : edge->polygons)
                if (!reached.contains(next) && goesOn(polygon, *edge, data().polygons.at(next), flags)) {
                    reached.insert(next);
                    queue.push_back(next);
                }
        }
    }
    return visit(visitor, [&](const MeshPolygon& polygon) { return reached.contains(polygon.id); });
}

std::uint32_t CPolygon::polygon_TriangleCount() { return polygon_IsClosed() ? polygon_VertexCount() - 2 : 0; }

KzResult CPolygon::polygon_TriangleByIndex(std::uint32_t index, std::uint32_t* a, std::uint32_t* b, std::uint32_t* c) {
    here();
    const auto all = triangles();
    if (index >= all.size()) return KZe_OUTOFBOUNDS;
    std::tie(*a, *b, *c) = std::tuple_cat(all[index]);
    return KZe_OK;
}

KzResult CPolygon::polygon_Tag(std::int32_t type, const char** tag) {
    const auto& tags = here().tags;
    const auto entry = tags.find(type);
    *tag = entry != tags.end() ? entry->second.c_str() : nullptr;
    return KZe_OK;
}

KzResult CPolygon::polygon_SetTag(std::int32_t type, const char* tag) {
    const CMeshEdit edit(data());
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
    const CMeshEdit edit(data());
    auto corners = kzCorners(count, points);
    if (reverse != 0) std::reverse(corners.begin(), corners.end());
    *polygon = data().addPolygon(type, std::move(corners)).id;
    return moveTo(*polygon);
}

KzResult CPolygon::polygon_AddLike(KzElementId source, std::uint32_t count, KzElementId* points, KzElementId* polygon) {
    const CMeshEdit edit(data());
    const std::int32_t type = data().polygons.at(source).type;
    const KzElementId copy = data().addPolygon(type, kzCorners(count, points)).id;
    data().polygons.at(copy).tags = data().polygons.at(source).tags;
    data().noteCopy(copy, source);
    *polygon = copy;
    return moveTo(copy);
}

KzResult CPolygon::polygon_Flip() {
    auto corners = here().points;
    std::reverse(corners.begin() + 1, corners.end());
    return setCorners(std::move(corners));
}

KzResult CPolygon::polygon_Remove() {
    const CMeshEdit edit(data());
    data().removePolygons([id = here().id](const MeshPolygon& polygon) { return polygon.id == id; });
    return KZe_OK;
}

}  // namespace kzhost
