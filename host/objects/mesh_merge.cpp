// Merges one mesh into another.
#include "host/objects/mesh_merge.h"

#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/state/readable_number.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CMerge {
public:
    CMerge(CMeshData& target, const CMeshData& source, const KzMatrix4& matrix, std::uint32_t flags)
        : m_target(target), m_source(source), m_matrix(matrix), m_flags(flags) {}

    void run() {
        for (const MeshPoint& point : m_source.points)
            if (!has(KZfMESHMERGE_POINT_MARKED) || (point.marks & select) != 0) addPoint(point);
        m_target.changed(KZfMESHEDIT_POINTS);
        for (const MeshPolygon& polygon : m_source.polygons)
            if (takes(polygon)) addPolygon(polygon);
        if (has(KZfMESHMERGE_POINT_MAPS | KZfMESHMERGE_POINT_NEWMAPS | KZf_MESHMERGE_POLY_MAPS))
            for (const MeshMapData& map : m_source.maps) addMap(map);
    }

private:
    static constexpr auto select = static_cast<std::int32_t>(KZfMARK_SELECT);

    bool has(std::uint32_t flag) const { return (m_flags & flag) != 0; }
    void addPoint(const MeshPoint& point);
    bool takes(const MeshPolygon& polygon) const;
    void addPolygon(const MeshPolygon& polygon);
    void addMap(const MeshMapData& map);
    void addValues(const MeshMapData& from, MeshMapData& to);

    CMeshData& m_target;
    const CMeshData& m_source;
    const KzMatrix4& m_matrix;
    std::uint32_t m_flags;
    std::unordered_map<KzElementId, KzElementId> m_points, m_polygons;  // from the source's to the target's
};

void CMerge::addPoint(const MeshPoint& point) {
    const KzVector3 position = kzPlace(point.position, m_matrix);
    if (has(KZfMESHMERGE_POINT_WELD)) {
        const auto there = std::find_if(m_target.points.begin(), m_target.points.end(), [&](const MeshPoint& other) {
            return std::equal(other.position.v, other.position.v + 3, position.v);
        });
        if (there != m_target.points.end()) {
            m_points[point.id] = there->id;
            return;
        }
    }
    MeshPoint copy{.position = position, .marks = point.marks};
    if (has(KZfMESHMERGE_POINT_SELECT)) copy.marks |= select;
    m_points[point.id] = m_target.points.add(copy).id;
}

// Without a flag for any type, all types are merged.
bool CMerge::takes(const MeshPolygon& polygon) const {
    if (has(KZf_MESHMERGE_POLY_MARKED) && (polygon.marks & select) == 0) return false;
    if (has(KZm_MESHMERGE_POLY_TYPES) && !has(kzPolygonType(polygon.type).mergeFlag)) return false;
    return std::all_of(polygon.points.begin(), polygon.points.end(),
                       [&](KzElementId point) { return m_points.contains(point); });
}

void CMerge::addPolygon(const MeshPolygon& polygon) {
    std::vector<KzElementId> corners;
    for (KzElementId point : polygon.points) corners.push_back(m_points.at(point));
    // A mirroring matrix would turn polygons inside out.
    if (has(KZf_MESHMERGE_POLY_FLIP) != (kzTurnDeterminant(m_matrix) < 0)) std::reverse(corners.begin(), corners.end());
    MeshPolygon& copy = m_target.addPolygon(polygon.type, std::move(corners));
    copy.marks = polygon.marks;
    if (has(KZf_MESHMERGE_POLY_SELECT)) copy.marks |= select;
    for (const auto& [type, tag] : polygon.tags) {
        const bool isKept = (type == KZi_PTAG_SURFACE && has(KZf_MESHMERGE_POLY_MATERIAL)) ||
                            (type == KZi_PTAG_PIECE && has(KZf_MESHMERGE_POLY_PART)) ||
                            (type == KZi_PTAG_SET && has(KZf_MESHMERGE_POLY_SETS));
        if (isKept) copy.tags[type] = tag;
    }
    m_polygons[polygon.id] = copy.id;
}

void CMerge::addMap(const MeshMapData& map) {
    MeshMapData* to = m_target.findMap(map.type, map.name);
    if (to == nullptr && !has(KZfMESHMERGE_POINT_NEWMAPS)) return;
    if (to == nullptr) to = &m_target.addMap(map.type, map.name, map.dimension, map.flags);
    else if (to->dimension != map.dimension) return;
    addValues(map, *to);
    m_target.changed(KZfMESHEDIT_MAPVALUES);
}

void CMerge::addValues(const MeshMapData& from, MeshMapData& to) {
    for (const auto& [place, value] : from.values) {
        const auto point = m_points.find(place.first);
        const auto polygon = m_polygons.find(place.second);
        const bool isCorner = place.second != nullptr;
        if (point == m_points.end() || (isCorner && (!has(KZf_MESHMERGE_POLY_MAPS) || polygon == m_polygons.end())))
            continue;
        if (!isCorner && !has(KZfMESHMERGE_POINT_MAPS | KZfMESHMERGE_POINT_NEWMAPS)) continue;
        auto& target = to.values[{point->second, isCorner ? polygon->second : nullptr}] = value;
        if (from.type == KZi_MAPTYPE_NORMAL) kzTurnNormal(target, m_matrix);
    }
}

}  // namespace

// Transforms by the cofactor matrix, so that normals stay perpendicular under non-uniform scales.
void kzTurnNormal(std::vector<float>& values, const KzMatrix4& matrix) {
    if (values.size() < 3) return;
    const auto row = [&](int i) { return KzVector3{{matrix.m[i][0], matrix.m[i][1], matrix.m[i][2]}}; };
    const KzVector3 across =
        kzCross(row(1), row(2)) * values[0] + kzCross(row(2), row(0)) * values[1] + kzCross(row(0), row(1)) * values[2];
    const KzFVector3 turned = kzNarrow(kzUnit(across) * (kzTurnDeterminant(matrix) < 0 ? -1 : 1));
    std::copy_n(turned.v, 3, values.begin());
}

const KzMatrix4& kzFiniteMatrix(const char* place, const KzMatrix4* matrix) {
    for (const auto& row : kzNotNull(matrix).m)
        for (const double number : row)
            if (!std::isfinite(number))
                throw kzBecause(KZe_INVALIDARG, place,
                                [&] { return fmt::format("the matrix has {} in it", kzReadable(number)); });
    return *matrix;
}

void kzMergeMesh(CMeshData& target, const CMeshData& source, const KzMatrix4& matrix, std::uint32_t flags) {
    constexpr std::uint32_t points = KZfMESHMERGE_POINT_MAPS | KZfMESHMERGE_POINT_NEWMAPS | KZfMESHMERGE_POINT_WELD |
                                     KZfMESHMERGE_POINT_MARKED | KZfMESHMERGE_POINT_SELECT;
    if (const std::uint32_t unknown = flags & ~(points | KZm_MESHMERGE_POLY_ALL); unknown != 0)
        throw kzBecause(KZe_INVALIDARG, "Mesh.Merge",
                        [&] { return fmt::format("there is no flag 0x{:X} for merges", unknown); });
    CMerge(target, source, matrix, flags).run();
}

}  // namespace kzhost
