// Divides polygons into quadrangles, and rounds the surface.
#include "host/objects/polygon_shells.h"

#include "host/objects/mesh_pieces.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

// Divides each polygon into one quadrangle for each corner.
class CSubdivision {
public:
    CSubdivision(CMeshData& data, std::vector<KzElementId> polygons, bool isSmooth)
        : m_data(data), m_polygons(std::move(polygons)), m_chosen(m_polygons.begin(), m_polygons.end()),
          m_isSmooth(isSmooth) {}

    void run() {
        for (KzElementId id : m_polygons) m_middles[id] = add(m_data.centerOf(m_data.polygons.at(id)));
        for (const MeshEdge& edge : m_data.edges())
            if (std::ranges::any_of(edge.polygons, [&](KzElementId id) { return m_chosen.contains(id); }))
                m_halves.emplace(edge.id, add(placeOf(edge)));
        std::vector<std::pair<KzElementId, KzVector3>> moved;
        if (m_isSmooth)
            for (const MeshPoint& point : m_data.points)
                if (auto place = placeOf(point)) moved.emplace_back(point.id, *place);
        for (KzElementId id : m_data.polygons.ids()) divide(id);
        for (const auto& [point, place] : moved) m_data.points.at(point).position = place;
        m_data.removePolygons([&](const MeshPolygon& polygon) { return m_chosen.contains(polygon.id); });
        m_data.changed(KZmMESHEDIT_GEOMETRY);
    }

private:
    KzVector3 at(KzElementId point) { return m_data.points.at(point).position; }
    KzElementId add(const KzVector3& position) { return m_data.points.add({.position = position}).id; }
    bool isInner(const MeshEdge& edge) const {
        return edge.polygons.size() == 2 && m_chosen.contains(edge.polygons[0]) && m_chosen.contains(edge.polygons[1]);
    }
    KzVector3 placeOf(const MeshEdge& edge) {
        const KzVector3 middle = (at(edge.start) + at(edge.end)) * 0.5;
        if (!m_isSmooth || !isInner(edge)) return middle;
        return middle * 0.5 + (at(m_middles[edge.polygons[0]]) + at(m_middles[edge.polygons[1]])) * 0.25;
    }
    // Where a point of the cage goes; nothing for one that stays.
    std::optional<KzVector3> placeOf(const MeshPoint& point) {
        const auto corners = m_data.cornersAt(point.id);
        KzVector3 faces{}, edges{}, border{};
        int inner = 0, outer = 0;
        for (const MeshCorner& corner : corners) {
            if (!m_chosen.contains(corner.polygon)) return {};
            faces = faces + at(m_middles.at(corner.polygon));
        }
        for (KzElementId id : m_data.edgesAt(point.id)) {
            const MeshEdge& edge = m_data.edges().at(id);
            const KzVector3 middle = (at(edge.start) + at(edge.end)) * 0.5;
            if (isInner(edge)) edges = edges + middle, ++inner;
            else border = border + middle, ++outer;
        }
        if (corners.empty()) return {};
        if (outer == 2) return border * 0.25 + point.position * 0.5;
        const double count = inner;
        if (outer > 0 || count < 3) return {};
        return (faces * (1 / count) + edges * (2 / count) + point.position * (count - 3)) * (1 / count);
    }
    KzElementId halfOf(KzElementId a, KzElementId b) {
        const auto entry = m_halves.find(m_data.edgeBetween(a, b)->id);
        return entry != m_halves.end() ? entry->second : nullptr;
    }
    // A neighbour that is not divided takes over the points on its edges.
    void divide(KzElementId id) {
        const std::vector<KzElementId> corners = m_data.polygons.at(id).points;
        const std::size_t count = corners.size();
        if (!m_chosen.contains(id)) {
            const bool isClosed = kzPolygonType(m_data.polygons.at(id).type).isClosed;
            std::vector<KzElementId> outline;
            for (std::size_t i = 0; i < count; ++i) {
                outline.push_back(corners[i]);
                if (!isClosed && i + 1 == count) break;
                if (KzElementId half = halfOf(corners[i], corners[(i + 1) % count])) outline.push_back(half);
            }
            m_data.polygons.at(id).points = std::move(outline);
            return;
        }
        const MeshPolygon origin = m_data.polygons.at(id);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t next = (i + 1) % count, before = (i + count - 1) % count;
            MeshPolygon part = origin;
            part.points = {corners[i], halfOf(corners[i], corners[next]), m_middles[id],
                           halfOf(corners[before], corners[i])};
            KzElementId added = m_data.polygons.add(std::move(part)).id;
            m_data.noteCopy(added, id);
            std::vector<std::vector<double>> weights(4, std::vector<double>(count));
            weights[0][i] = 1;
            weights[1][i] = weights[1][next] = weights[3][i] = weights[3][before] = 0.5;
            weights[2].assign(count, 1.0 / static_cast<double>(count));
            kzMixValues(m_data, m_data, id, added, weights);
        }
    }

    CMeshData& m_data;
    const std::vector<KzElementId> m_polygons;
    const std::unordered_set<KzElementId> m_chosen;
    const bool m_isSmooth;
    std::unordered_map<KzElementId, KzElementId> m_middles, m_halves;  // of polygons and of edges
};

}  // namespace

void kzSubdivide(CMeshData& data, std::vector<KzElementId> polygons, bool isSmooth) {
    CSubdivision(data, std::move(polygons), isSmooth).run();
}

}  // namespace kzhost
