// Operations that change a whole mesh.
#include "host/objects/mesh_edits.h"

#include "host/objects/mesh_merge.h"
#include "host/objects/point_grid.h"
#include "host/objects/polygon_shape.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Has the polygons use the points that others were merged into, and drops corners that repeat the one before.
void replaceCorners(CMeshData& data, const std::unordered_map<KzElementId, KzElementId>& merged) {
    std::unordered_set<KzElementId> collapsed;
    for (MeshPolygon& polygon : data.polygons) {
        auto& corners = polygon.points;
        bool isChanged = false;
        for (KzElementId& corner : corners)
            if (const auto entry = merged.find(corner); entry != merged.end()) corner = entry->second, isChanged = true;
        if (!isChanged) continue;
        corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
        if (kzPolygonType(polygon.type).isClosed && corners.size() > 1 && corners.front() == corners.back())
            corners.pop_back();
        if (!kzCanHaveCorners(polygon.type, corners.size())) collapsed.insert(polygon.id);
    }
    data.polygons.removeIf([&](const MeshPolygon& polygon) { return collapsed.contains(polygon.id); });
}

// A corner keeps its own value when its point is merged into another.
void replaceValues(CMeshData& data, const std::unordered_map<KzElementId, KzElementId>& merged) {
    for (MeshMapData& map : data.maps) {
        std::vector<std::pair<MeshMapData::Place, std::vector<float>>> moved;
        for (const auto& [place, value] : map.values) {
            const auto entry = merged.find(place.first);
            if (entry != merged.end() && place.second != nullptr)
                moved.push_back({{entry->second, place.second}, value});
        }
        for (auto& [place, value] : moved) map.values.try_emplace(place, std::move(value));
    }
}

class CMirror {
public:
    CMirror(CMeshData& data, const KzVector3& position, const KzVector3& normal, bool welds)
        : m_data(data), m_position(position), m_normal(kzUnit(normal)), m_welds(welds) {}

    void run(std::int32_t mark) {
        for (const KzElementId id : m_data.polygons.ids())
            if (kzMatchesMarks(m_data.polygons.at(id).marks, mark)) mirror(MeshPolygon(m_data.polygons.at(id)));
        for (MeshMapData& map : m_data.maps) mirrorValues(map);
        m_data.changed(KZmMESHEDIT_GEOMETRY);
    }

private:
    static constexpr double onPlane = 1e-6;

    KzElementId mirrored(KzElementId point) {
        const auto [entry, isNew] = m_points.try_emplace(point, point);
        if (!isNew) return entry->second;
        MeshPoint copy = m_data.points.at(point);
        const double distance = kzDot(copy.position - m_position, m_normal);
        if (m_welds && std::abs(distance) < onPlane) return point;
        copy.position = copy.position - m_normal * (2 * distance);
        entry->second = m_data.points.add(copy).id;
        m_data.noteCopy(entry->second, point);
        return entry->second;
    }
    void mirror(MeshPolygon&& polygon) {
        for (KzElementId& corner : polygon.points) corner = mirrored(corner);
        std::reverse(polygon.points.begin() + 1, polygon.points.end());
        const KzElementId source = polygon.id;
        m_polygons[source] = m_data.polygons.add(std::move(polygon)).id;
        m_data.noteCopy(m_polygons[source], source);
    }
    void mirrorValues(MeshMapData& map) {
        KzMatrix4 matrix = kzIdentity();
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                matrix.m[row][column] -= 2 * m_normal.v[row] * m_normal.v[column];
        std::vector<std::pair<MeshMapData::Place, std::vector<float>>> added;
        for (const auto& [place, value] : map.values) {
            const auto point = m_points.find(place.first);
            const auto polygon = m_polygons.find(place.second);
            const bool isCorner = place.second != nullptr;
            if (point == m_points.end() || (isCorner && polygon == m_polygons.end())) continue;
            if (!isCorner && point->second == point->first) continue;
            added.push_back({{point->second, isCorner ? polygon->second : nullptr}, value});
            if (map.type == KZi_MAPTYPE_NORMAL) kzTurnNormal(added.back().second, matrix);
        }
        for (auto& [place, value] : added) map.values[place] = std::move(value);
    }

    CMeshData& m_data;
    KzVector3 m_position, m_normal;
    bool m_welds;
    std::unordered_map<KzElementId, KzElementId> m_points, m_polygons;
};

}  // namespace

std::vector<KzVector3> kzCornersOf(CMeshData& data, const MeshPolygon& polygon) {
    std::vector<KzVector3> corners;
    corners.reserve(polygon.points.size());
    for (const KzElementId point : polygon.points) corners.push_back(data.points.at(point).position);
    return corners;
}

std::uint32_t kzWeld(CMeshData& data, double distance, std::int32_t mark) {
    CPointGrid grid(distance);
    std::unordered_map<KzElementId, KzElementId> merged;
    for (const MeshPoint& point : data.points) {
        if (!kzMatchesMarks(point.marks, mark)) continue;
        if (const KzElementId first = grid.find(point.position)) merged[point.id] = first;
        else grid.add(point.position, point.id);
    }
    if (merged.empty()) return 0;
    replaceCorners(data, merged);
    replaceValues(data, merged);
    data.removePoints([&](const MeshPoint& point) { return merged.contains(point.id); });
    return static_cast<std::uint32_t>(merged.size());
}

void kzMirror(CMeshData& data, const KzVector3& position, const KzVector3& normal, std::int32_t mark, bool welds) {
    CMirror(data, position, normal, welds).run(mark);
}

// Each triangle takes over what its polygon had; the values of corners are looked up by the polygon's id.
void kzTriangulateMesh(CMeshData& data, std::int32_t mark, std::int32_t method) {
    std::unordered_map<KzElementId, std::vector<KzElementId>> parts;
    for (const KzElementId id : data.polygons.ids()) {
        const MeshPolygon polygon = data.polygons.at(id);
        if (polygon.points.size() < 4 || !kzPolygonType(polygon.type).isClosed || !kzMatchesMarks(polygon.marks, mark))
            continue;
        for (const Triangle& triangle : kzTriangulate(kzCornersOf(data, polygon), method)) {
            MeshPolygon part = polygon;
            part.points = {polygon.points[triangle[0]], polygon.points[triangle[1]], polygon.points[triangle[2]]};
            parts[id].push_back(data.polygons.add(std::move(part)).id);
            data.noteCopy(parts[id].back(), id);
        }
    }
    for (MeshMapData& map : data.maps) {
        auto values = map.values;
        for (const auto& [place, value] : values) {
            const auto entry = parts.find(place.second);
            if (entry == parts.end()) continue;
            for (const KzElementId part : entry->second) {
                const auto& corners = data.polygons.at(part).points;
                if (std::find(corners.begin(), corners.end(), place.first) != corners.end())
                    map.values[{place.first, part}] = value;
            }
        }
    }
    data.removePolygons([&](const MeshPolygon& polygon) { return parts.contains(polygon.id); });
}

KzVector3 kzCornerNormal(CMeshData& data, KzElementId point, KzElementId polygon, KzElementId map) {
    if (map != nullptr) {
        const MeshMapData& normals = data.maps.at(map);
        if (normals.type != KZi_MAPTYPE_NORMAL) throw KZe_INVALIDARG;
        if (const auto* value = normals.find(point, polygon)) return {{(*value)[0], (*value)[1], (*value)[2]}};
    }
    const auto groupOf = [&](KzElementId id) {
        const auto& tags = data.polygons.at(id).tags;
        const auto tag = tags.find(KZi_PTAG_SMOOTHGROUP);
        return tag != tags.end() ? tag->second : std::string();
    };
    const std::string group = groupOf(polygon);
    KzVector3 sum{};
    for (const MeshCorner& corner : data.cornersAt(point))
        if (groupOf(corner.polygon) == group) sum = sum + kzUnit(data.normalOf(data.polygons.at(corner.polygon)));
    if (kzLength(sum) == 0) throw KZe_NOTFOUND;
    return kzUnit(sum);
}

}  // namespace kzhost
