// The meshes of scene files. Elements are named by their positions.
#include "host/objects/scene_mesh_text.h"

#include "host/objects/scene_codes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kzhost {

namespace {

std::int32_t typeNamed(CSceneWords& in) {
    const std::string_view name = in.word();
    for (const MeshPolygonType& each : kzPolygonTypes())
        if (name == each.name) return each.type;
    in.fail("there is no type of polygons \"" + std::string(name) + "\"");
}

const MeshMapType& mapTypeNamed(CSceneWords& in) {
    const std::string_view name = in.word();
    for (const MeshMapType& each : kzMapTypes())
        if (name == each.name) return each;
    in.fail("there is no type of maps \"" + std::string(name) + "\"");
}

// An edit may leave the value of a corner that the polygon does not have any more.
bool hasCorner(const CMeshData& mesh, const MeshMapData::Place& place) {
    if (place.second == nullptr) return true;
    const auto index = mesh.polygons.indexOf(place.second);
    if (index < 0) return false;
    const auto& corners = (mesh.polygons.begin() + index)->points;
    return std::ranges::find(corners, place.first) != corners.end();
}

void writeMap(const CMeshData& mesh, const MeshMapData& map, CSceneLines& out) {
    const MeshMapType* type = kzFindMapType(map.type);
    out.line("map")
        .word(type != nullptr ? type->name : "custom")
        .text(map.name)
        .integer(map.dimension)
        .integer(map.flags);
    using Place = std::pair<std::int32_t, std::int32_t>;  // the values of points come first
    std::vector<std::pair<Place, const std::vector<float>*>> values;
    values.reserve(map.values.size());
    for (const auto& [place, value] : map.values) {
        if (!hasCorner(mesh, place)) continue;
        const std::int32_t polygon = place.second != nullptr ? mesh.polygons.indexOf(place.second) : -1;
        values.emplace_back(Place(polygon, mesh.points.indexOf(place.first)), &value);
    }
    std::sort(values.begin(), values.end());
    for (const auto& [place, value] : values) {
        if (place.first < 0) out.line("at").integer(place.second);
        else out.line("corner").integer(place.first).integer(place.second);
        for (const float each : *value) out.number(each);
    }
}

// Edges follow from the polygons; only what they have of their own is written.
void writeEdges(CMeshData& mesh, CSceneLines& out) {
    if (!mesh.hasEdgeValues()) return;
    for (const MeshEdge& edge : mesh.edges())
        if (edge.crease != 0 || edge.marks != 0)
            out.line("edge")
                .integer(mesh.points.indexOf(edge.start))
                .integer(mesh.points.indexOf(edge.end))
                .number(edge.crease)
                .integer(edge.marks);
}

}  // namespace

void kzWriteMesh(CMeshData& mesh, CSceneLines& out) {
    out.line("mesh");
    for (const MeshPoint& point : mesh.points) {
        out.line("point").number(point.position.v[0]).number(point.position.v[1]).number(point.position.v[2]);
        if (point.marks != 0) out.integer(point.marks);
    }
    for (const MeshPolygon& polygon : mesh.polygons) {
        out.line("polygon").word(kzPolygonType(polygon.type).name).integer(polygon.marks);
        for (KzElementId corner : polygon.points) out.integer(mesh.points.indexOf(corner));
        for (const auto& [code, text] : polygon.tags)
            out.line("ptag").text(kzCodeText(static_cast<std::uint32_t>(code))).text(text);
    }
    writeEdges(mesh, out);
    for (const MeshMapData& map : mesh.maps) writeMap(mesh, map, out);
}

bool CMeshReader::take(CSceneWords& in) {
    const std::string_view keyword = in.keyword();
    if (keyword == "point") point(in);
    else if (keyword == "polygon") polygon(in);
    else if (keyword == "ptag") polygonTag(in);
    else if (keyword == "edge") edge(in);
    else if (keyword == "map") map(in);
    else if (keyword == "at") mapValue(in, false);
    else if (keyword == "corner") mapValue(in, true);
    else return false;
    return true;
}

CMeshData CMeshReader::finish() {
    for (const OpenEdge& each : m_edges) {
        MeshEdge* edge = m_mesh.edgeBetween(each.start, each.end);
        if (edge == nullptr) CSceneWords::failAt(each.line, 1, "no polygon has an edge between these points");
        edge->crease = each.crease;
        edge->marks = each.marks;
    }
    return std::exchange(m_mesh, {});
}

KzElementId CMeshReader::pointAt(CSceneWords& in) const {
    if (m_points.empty()) in.fail("the mesh has no points yet");
    return m_points[static_cast<std::size_t>(in.integer(0, static_cast<std::int64_t>(m_points.size()) - 1))];
}

void CMeshReader::point(CSceneWords& in) {
    KzVector3 position{};
    for (double& each : position.v) each = in.number();
    MeshPoint& added = m_mesh.addPoint(position);
    if (in.hasMore()) added.marks = in.int32();
    m_points.push_back(added.id);
}

void CMeshReader::polygon(CSceneWords& in) {
    const std::int32_t type = typeNamed(in), marks = in.int32();
    std::vector<KzElementId> corners;
    while (in.hasMore()) corners.push_back(pointAt(in));
    if (!kzCanHaveCorners(type, corners.size()))
        in.fail(fmt::format("a {} cannot have {} corners", kzPolygonType(type).name, corners.size()));
    MeshPolygon& added = m_mesh.addPolygon(type, std::move(corners));
    added.marks = marks;
    m_polygons.push_back(added.id);
}

void CMeshReader::polygonTag(CSceneWords& in) {
    if (m_polygons.empty()) in.fail("a polygon comes first");
    const auto code = static_cast<std::int32_t>(kzReadCode(in));
    m_mesh.polygons.at(m_polygons.back()).tags[code] = in.text();
}

// Edges are found once the mesh is whole: each polygon that comes would have them computed anew.
void CMeshReader::edge(CSceneWords& in) {
    KzElementId start = pointAt(in), end = pointAt(in);
    const double crease = in.number();
    if (!(crease >= 0 && crease <= 1)) in.fail("a crease is a number from 0 to 1");
    m_edges.push_back({start, end, crease, in.int32(), in.lineNumber()});
}

void CMeshReader::map(CSceneWords& in) {
    const MeshMapType& type = mapTypeNamed(in);
    const std::string name = in.text();
    const auto dimension = static_cast<std::uint32_t>(in.integer(1, 0xFFFF));
    const std::uint32_t flags = in.uint32();
    if (type.dimension != 0 && type.dimension != dimension)
        in.fail(fmt::format("the values of a {} map have {} numbers", type.name, type.dimension));
    if (m_mesh.findMap(type.type, name) != nullptr) in.fail("the mesh has a map of that name already");
    m_map = &m_mesh.addMap(type.type, name, dimension, flags);
}

void CMeshReader::mapValue(CSceneWords& in, bool isCorner) {
    if (m_map == nullptr) in.fail("a map comes first");
    KzElementId polygon = nullptr;
    if (isCorner) {
        if (m_polygons.empty()) in.fail("the mesh has no polygons");
        polygon = m_polygons[static_cast<std::size_t>(in.integer(0, static_cast<std::int64_t>(m_polygons.size()) - 1))];
    }
    KzElementId point = pointAt(in);
    if (isCorner) {
        const auto& corners = m_mesh.polygons.at(polygon).points;
        if (std::find(corners.begin(), corners.end(), point) == corners.end())
            in.fail("the point is no corner of that polygon");
    }
    std::vector<float> values(m_map->dimension);
    for (float& each : values) each = static_cast<float>(in.number());
    m_map->values.insert_or_assign(MeshMapData::Place(point, polygon), std::move(values));
}

}  // namespace kzhost
