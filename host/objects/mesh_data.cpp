// The data of a mesh.
#include "host/objects/mesh_data.h"

namespace kzhost {

namespace {

// A count beyond any sensible polygon is a mistake, and the buffer would hardly be that long.
constexpr std::uint32_t mostCorners = 0xFFFF;

constexpr MeshPolygonType polygonTypes[] = {
    {KZi_POLYTYPE_FACE, "face", true, KZf_MESHMERGE_POLY_FACES},
    {KZi_POLYTYPE_SUBDIV, "subdiv", true, KZf_MESHMERGE_POLY_SUBDIV},
    {KZi_POLYTYPE_PSUB, "psubdiv", true, KZf_MESHMERGE_POLY_SUBDIV},
    {KZi_POLYTYPE_POLYLINE, "polyline", false, KZf_MESHMERGE_POLY_CURVES},
    {KZi_POLYTYPE_CURVE, "curve", false, KZf_MESHMERGE_POLY_CURVES},
    {KZi_POLYTYPE_BEZIER, "bezier", false, KZf_MESHMERGE_POLY_CURVES},
    {KZi_POLYTYPE_SPLINE, "spline", false, KZf_MESHMERGE_POLY_CURVES},
    {KZi_POLYTYPE_PATCH, "patch", true, KZf_MESHMERGE_POLY_FACES},
    {KZi_POLYTYPE_TEXT, "text", false, KZf_MESHMERGE_POLY_CURVES},
    {KZi_POLYTYPE_SUBCURVE, "subcurve", false, KZf_MESHMERGE_POLY_CURVES},
};

constexpr MeshMapType mapTypes[] = {
    {KZi_MAPTYPE_WEIGHT, "weight", 1, KZfMESHMAP_POINT | KZfMESHMAP_CORNER},
    {KZi_MAPTYPE_TEXTURE, "texture", 2, KZfMESHMAP_POINT | KZfMESHMAP_CORNER},
    {KZi_MAPTYPE_SUBDIV, "subdiv", 1, KZfMESHMAP_POINT},
    {KZi_MAPTYPE_MORPH, "morph", 3, KZfMESHMAP_POINT | KZfMESHMAP_RELATIVE},
    {KZi_MAPTYPE_SPOT, "spot", 3, KZfMESHMAP_POINT},
    {KZi_MAPTYPE_RGB, "rgb", 3, KZfMESHMAP_POINT | KZfMESHMAP_CORNER},
    {KZi_MAPTYPE_RGBA, "rgba", 4, KZfMESHMAP_POINT | KZfMESHMAP_CORNER},
    {KZi_MAPTYPE_NORMAL, "normal", 3, KZfMESHMAP_POINT | KZfMESHMAP_CORNER | KZfMESHMAP_UNIT},
    {KZi_MAPTYPE_TANGENT, "tangent", 6, KZfMESHMAP_POINT | KZfMESHMAP_CORNER | KZfMESHMAP_UNIT},
    {KZi_MAPTYPE_PARTICLE, "particle", 1, KZfMESHMAP_POINT},
    {KZi_MAPTYPE_VELOCITY, "velocity", 3, KZfMESHMAP_POINT},
    {KZi_MAPTYPE_RADIUS, "radius", 1, KZfMESHMAP_POINT},
    {KZi_MAPTYPE_CUSTOM, "custom", 0, KZfMESHMAP_POINT | KZfMESHMAP_CORNER},
};

MeshMapData::Place endsOf(KzElementId start, KzElementId end) {
    return std::less<>()(end, start) ? std::pair(end, start) : std::pair(start, end);
}

}  // namespace

std::span<const MeshPolygonType> kzPolygonTypes() noexcept { return polygonTypes; }

const MeshPolygonType& kzPolygonType(std::int32_t type) {
    for (const MeshPolygonType& row : polygonTypes)
        if (row.type == type) return row;
    throw KZe_INVALIDARG;
}

std::span<const MeshMapType> kzMapTypes() noexcept { return mapTypes; }

const MeshMapType* kzFindMapType(std::int32_t type) noexcept {
    for (const MeshMapType& row : mapTypes)
        if (row.type == type) return &row;
    return nullptr;
}

const std::vector<float>* MeshMapData::find(KzElementId point, KzElementId polygon) const {
    auto entry = values.find({point, polygon});
    if (entry == values.end() && polygon != nullptr) entry = values.find({point, nullptr});
    return entry != values.end() ? &entry->second : nullptr;
}

std::span<const MeshCorner> CMeshData::cornersAt(KzElementId point) {
    edges();
    const auto entry = m_corners.find(point);
    return entry != m_corners.end() ? std::span<const MeshCorner>(entry->second) : std::span<const MeshCorner>();
}

std::span<const KzElementId> CMeshData::edgesAt(KzElementId point) {
    edges();
    const auto entry = m_edgesAt.find(point);
    return entry != m_edgesAt.end() ? std::span<const KzElementId>(entry->second) : std::span<const KzElementId>();
}

MeshEdge* CMeshData::edgeBetween(KzElementId start, KzElementId end) {
    CElementTable<MeshEdge>& all = edges();
    const auto entry = m_edgeByEnds.find(endsOf(start, end));
    return entry != m_edgeByEnds.end() ? all.find(entry->second) : nullptr;
}

void CMeshData::joinEdge(KzElementId start, KzElementId end, KzElementId polygon, CElementTable<MeshEdge>& edges,
                         std::map<MeshMapData::Place, KzElementId>& byEnds) {
    const auto [entry, isNew] = byEnds.try_emplace(endsOf(start, end), nullptr);
    if (isNew) {
        const auto former = m_edgeByEnds.find(entry->first);
        MeshEdge edge{.start = start, .end = end, .polygons = {}, .crease = 0, .marks = 0, .id = kzNewElementId()};
        if (const MeshEdge* old = former != m_edgeByEnds.end() ? m_edges.find(former->second) : nullptr) {
            edge.id = old->id;
            edge.marks = old->marks;
            edge.crease = old->crease;
        }
        entry->second = edges.keep(std::move(edge)).id;
    }
    edges.at(entry->second).polygons.push_back(polygon);
}

// An edge that existed before keeps its id and its values.
CElementTable<MeshEdge>& CMeshData::connect() {
    CElementTable<MeshEdge> edges;
    std::map<MeshMapData::Place, KzElementId> byEnds;
    m_corners.clear();
    for (const MeshPolygon& polygon : polygons) {
        const std::size_t count = polygon.points.size();
        for (std::size_t i = 0; i < count; ++i) {
            m_corners[polygon.points[i]].push_back({polygon.id, static_cast<std::int32_t>(i)});
            const bool goesOn = i + 1 < count || (kzPolygonType(polygon.type).isClosed && count > 2);
            if (goesOn) joinEdge(polygon.points[i], polygon.points[(i + 1) % count], polygon.id, edges, byEnds);
        }
    }
    m_edgesAt.clear();
    for (const MeshEdge& edge : edges)
        for (const KzElementId end : {edge.start, edge.end}) m_edgesAt[end].push_back(edge.id);
    m_edges = std::move(edges);
    m_edgeByEnds = std::move(byEnds);
    m_isCurrent = true;
    return m_edges;
}

void CMeshData::checkCorners(std::int32_t type, const std::vector<KzElementId>& corners) const {
    if (!kzCanHaveCorners(type, corners.size())) throw KZe_INVALIDARG;
    for (KzElementId point : corners)
        if (!points.has(point)) throw KZe_NOTFOUND;
}

MeshPoint& CMeshData::addPoint(const KzVector3& position) {
    MeshPoint& point = points.add({.position = position});
    changed(KZfMESHEDIT_POINTS);
    return point;
}

MeshPolygon& CMeshData::addPolygon(std::int32_t type, std::vector<KzElementId> corners) {
    checkCorners(type, corners);
    MeshPolygon polygon;
    polygon.type = type;
    polygon.points = std::move(corners);
    MeshPolygon& result = polygons.add(std::move(polygon));
    changed(KZfMESHEDIT_POLYGONS | KZfMESHEDIT_VERTICES);
    return result;
}

MeshMapData* CMeshData::findMap(std::int32_t type, std::string_view name) {
    const auto match = std::find_if(maps.begin(), maps.end(),
                                    [&](const MeshMapData& map) { return map.type == type && map.name == name; });
    return match != maps.end() ? &*match : nullptr;
}

MeshMapData& CMeshData::addMap(std::int32_t type, const std::string& name, std::uint32_t dimension,
                               std::uint32_t flags) {
    if (findMap(type, name) != nullptr) throw KZe_ALREADYEXISTS;
    MeshMapData map;
    map.type = type;
    map.name = name;
    map.dimension = dimension;
    map.flags = flags;
    changed(KZfMESHEDIT_MAPS);
    return maps.add(std::move(map));
}

void CMeshData::clear() {
    polygons.clear();
    points.clear();
    maps.clear();
    m_sources.clear();
    changed(KZmMESHEDIT_GEOMETRY | KZfMESHEDIT_MAPS);
}

// Summing over a fan of triangles handles non-planar and concave polygons.
KzVector3 CMeshData::normalOf(const MeshPolygon& polygon) {
    KzVector3 sum{};
    const KzVector3 origin = points.at(polygon.points.front()).position;
    for (std::size_t i = 1; i + 1 < polygon.points.size(); ++i)
        sum = sum + kzCross(points.at(polygon.points[i]).position - origin,
                            points.at(polygon.points[i + 1]).position - origin);
    return kzPolygonType(polygon.type).isClosed ? sum : KzVector3{};
}

KzVector3 CMeshData::centerOf(const MeshPolygon& polygon) {
    KzVector3 sum{};
    for (KzElementId point : polygon.points) sum = sum + points.at(point).position;
    return sum * (1.0 / static_cast<double>(polygon.points.size()));
}

// Drops the values of removed corners and points.
void CMeshData::dropLostValues() {
    const auto isLost = [&](const auto& entry) {
        const auto& [point, polygon] = entry.first;
        return !points.has(point) || (polygon != nullptr && !polygons.has(polygon));
    };
    for (MeshMapData& map : maps) std::erase_if(map.values, isLost);
}

void CMeshData::assign(const CMeshData& other) {
    const auto serials = m_serials;
    *this = other;
    m_serials = serials;
    for (std::uint32_t& each : m_serials) ++each;
}

// Marks come and go with the selection, and make no step of the history.
void CMeshData::changed(std::uint32_t changes) {
    if ((changes & ~static_cast<std::uint32_t>(KZfMESHEDIT_MARKS)) != 0) watch().changed();
    for (std::size_t bit = 0; bit < m_serials.size(); ++bit)
        if ((changes >> bit & 1U) != 0) ++m_serials[bit];
    if ((changes & KZmMESHEDIT_TOPOLOGY) != 0) m_isCurrent = false;
    identity.pending |= changes;
}

void CMeshEdit::end(MeshIdentity& identity) {
    if (--identity.openEdits > 0) return;
    const std::uint32_t changes = std::exchange(identity.pending, 0);
    if (changes != 0 && identity.tell) identity.tell(changes);
}

std::uint32_t CMeshData::serial(std::uint32_t changes) const {
    std::uint32_t sum = 0;
    for (std::size_t bit = 0; bit < m_serials.size(); ++bit)
        if ((changes >> bit & 1U) != 0) sum += m_serials[bit];
    return sum;
}

bool kzCanHaveCorners(std::int32_t type, std::size_t count) {
    return count >= (kzPolygonType(type).isClosed ? 3U : 2U) && count <= mostCorners;
}

std::vector<KzElementId> kzCorners(std::uint32_t count, const KzElementId* points) {
    if (count == 0 || count > mostCorners || points == nullptr) throw KZe_INVALIDARG;
    return {points, points + count};
}

}  // namespace kzhost
