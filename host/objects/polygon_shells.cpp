// Extruding, insetting and bevelling.
#include "host/objects/polygon_shells.h"

#include "host/objects/mesh_pieces.h"

#include "kz/mesh_edit.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

using Ends = std::pair<KzElementId, KzElementId>;

// Inwards from both edges at a corner, so that either moves by 1.
KzVector3 miter(const KzVector3& before, const KzVector3& at, const KzVector3& after, const KzVector3& normal) {
    const KzVector3 a = kzUnit(kzCross(normal, at - before)), b = kzUnit(kzCross(normal, after - at));
    const double both = 1 + kzDot(a, b);
    return both > 1e-6 ? (a + b) * (1 / both) : a;
}

// Polygons that move together.
class CShell {
public:
    CShell(CMeshData& data, std::vector<KzElementId> polygons, const ShellMove& move)
        : m_data(data), m_polygons(std::move(polygons)), m_move(move) {}

    void grow() {
        findBorders();
        measure();
        for (const auto& [point, way] : m_ways) addLayers(point, way);
        for (const auto& [ends, polygon] : m_borders) addWalls(ends, polygon);
        for (KzElementId id : m_polygons) raise(id);
        m_data.changed(KZmMESHEDIT_GEOMETRY | KZfMESHEDIT_TAGS);
    }

private:
    bool has(std::uint32_t flag) const { return (m_move.flags & flag) != 0; }
    const KzVector3& at(KzElementId point) { return m_data.points.at(point).position; }

    void findBorders() {
        std::map<Ends, KzElementId> all;
        for (KzElementId id : m_polygons) {
            const auto& corners = m_data.polygons.at(id).points;
            for (std::size_t i = 0; i < corners.size(); ++i) all[{corners[i], corners[(i + 1) % corners.size()]}] = id;
        }
        for (const auto& [ends, polygon] : all)
            if (!all.contains({ends.second, ends.first})) m_borders.emplace_back(ends, polygon);
    }
    // Where each point goes in all.
    void measure() {
        std::unordered_map<KzElementId, KzVector3> normals;
        for (KzElementId id : m_polygons) {
            const MeshPolygon& polygon = m_data.polygons.at(id);
            for (KzElementId point : polygon.points) normals[point] = normals[point] + kzUnit(m_data.normalOf(polygon));
        }
        for (const auto& [point, normal] : normals) m_ways[point] = kzUnit(normal) * m_move.shift + m_move.offset;
        std::unordered_map<KzElementId, KzElementId> next, before;
        for (const auto& [ends, polygon] : m_borders) next[ends.first] = ends.second, before[ends.second] = ends.first;
        for (const auto& [ends, polygon] : m_borders) {
            m_isBorder.insert(ends.first);
            if (m_move.inset != 0 && before.contains(ends.first))
                m_ways[ends.first] = m_ways[ends.first] + miter(at(before[ends.first]), at(ends.first), at(ends.second),
                                                                kzUnit(normals[ends.first])) *
                                                              m_move.inset;
        }
    }
    // A point inside the shell moves itself, unless the original polygons stay.
    void addLayers(KzElementId point, const KzVector3& way) {
        auto& layers = m_layers[point];
        const KzVector3 from = at(point);
        if (!m_isBorder.contains(point) && !has(KZfPOLYEDIT_KEEP)) {
            m_data.points.at(point).position = from + way;
            layers.assign(static_cast<std::size_t>(m_move.segments) + 1, point);
            return;
        }
        layers.push_back(point);
        for (std::int32_t i = 1; i <= m_move.segments; ++i) {
            layers.push_back(m_data.points.add({.position = from + way * (double(i) / m_move.segments)}).id);
            m_data.noteCopy(layers.back(), point);
        }
    }
    void addWalls(const Ends& ends, KzElementId beside) {
        const auto &first = m_layers[ends.first], &second = m_layers[ends.second];
        const MeshPolygon origin = m_data.polygons.at(beside);
        std::vector<std::vector<double>> weights(4, std::vector<double>(origin.points.size()));
        for (std::size_t i = 0; i < origin.points.size(); ++i) {
            weights[0][i] = weights[3][i] = origin.points[i] == ends.first;
            weights[1][i] = weights[2][i] = origin.points[i] == ends.second;
        }
        for (std::size_t i = 0; i + 1 < first.size(); ++i) {
            MeshPolygon wall = origin;
            wall.points = {first[i], second[i], second[i + 1], first[i + 1]};
            wall.marks = has(KZfPOLYEDIT_SELECT) ? KZfMARK_SELECT : 0;
            KzElementId id = m_data.polygons.add(std::move(wall)).id;
            if (has(KZfPOLYEDIT_MAPS)) kzMixValues(m_data, m_data, beside, id, weights);
        }
    }
    // The polygon itself goes to the last layer, so the next call continues with it.
    void raise(KzElementId id) {
        if (has(KZfPOLYEDIT_KEEP)) {
            MeshPolygon kept = m_data.polygons.at(id);
            kept.marks = 0;
            m_data.polygons.add(std::move(kept));
        }
        MeshPolygon& polygon = m_data.polygons.at(id);
        for (KzElementId& corner : polygon.points) {
            KzElementId moved = m_layers.at(corner).back();
            for (MeshMapData& map : m_data.maps) {
                if (auto own = map.values.extract({corner, id}); own && moved != corner)
                    map.values[{moved, id}] = std::move(own.mapped());
                else if (own) map.values.insert(std::move(own));
                if (const auto value = map.values.find({corner, nullptr}); value != map.values.end())
                    map.values.try_emplace({moved, nullptr}, value->second);
            }
            corner = moved;
        }
        if (has(KZfPOLYEDIT_SELECT)) polygon.marks |= KZfMARK_SELECT;
    }

    CMeshData& m_data;
    const std::vector<KzElementId> m_polygons;
    const ShellMove& m_move;
    std::vector<std::pair<Ends, KzElementId>> m_borders;  // with the polygon at each
    std::unordered_set<KzElementId> m_isBorder;
    std::unordered_map<KzElementId, KzVector3> m_ways;
    std::unordered_map<KzElementId, std::vector<KzElementId>> m_layers;
};

// Edges that become strips. At each end of an edge that stays, polygons meet at a point that slides along it.
class CEdgeBevel {
public:
    CEdgeBevel(CMeshData& data, double width, std::int32_t segments, std::int32_t shape)
        : m_data(data), m_width(width), m_segments(shape == KZiEDGEBEVEL_SHARP ? std::max(segments, 2) : segments),
          m_shape(shape) {}

    void run(std::int32_t mark) {
        for (const MeshEdge& edge : m_data.edges())
            if (kzMatchesMarks(edge.marks, mark) && edge.polygons.size() == 2) m_edges.push_back(edge);
        for (const MeshEdge& edge : m_edges) {
            m_isBevelled.insert(ordered(edge.start, edge.end));
            m_ends.insert({edge.start, edge.end});
        }
        for (const MeshPolygon& polygon : m_data.polygons)
            for (std::size_t i = 0; i < polygon.points.size(); ++i) findSlides(polygon, i);
        std::vector<std::pair<KzElementId, std::vector<KzElementId>>> outlines;
        for (KzElementId id : m_data.polygons.ids()) outlines.emplace_back(id, outlineOf(m_data.polygons.at(id)));
        const std::vector<MeshEdge> edges = m_edges;
        for (const MeshEdge& edge : edges) addStrip(edge);
        for (auto& [id, outline] : outlines) m_data.polygons.at(id).points = std::move(outline);
        for (const auto& [place, corner] : m_corners) moveValues(place.first, place.second, corner);
        m_data.changed(KZmMESHEDIT_GEOMETRY);
        closeCorners();
        kzDropBare(m_data, {m_ends.begin(), m_ends.end()});
    }

private:
    static Ends ordered(KzElementId a, KzElementId b) { return std::less<>()(b, a) ? Ends(b, a) : Ends(a, b); }
    bool isBevelled(KzElementId a, KzElementId b) const { return m_isBevelled.contains(ordered(a, b)); }
    KzVector3 at(KzElementId point) { return m_data.points.at(point).position; }
    // The new corner of a polygon has what the polygon said of the former one, and else what the former point had.
    void moveValues(KzElementId polygon, KzElementId former, KzElementId corner) {
        for (MeshMapData& map : m_data.maps) {
            if (const auto whole = map.values.find({former, nullptr}); whole != map.values.end())
                map.values.try_emplace({corner, nullptr}, std::vector<float>(whole->second));
            if (auto own = map.values.extract({former, polygon}))
                map.values[{corner, polygon}] = std::move(own.mapped());
        }
    }
    // How far the sides of the strip are from the edge, for the strip to have the width.
    double distanceFor(KzElementId a, KzElementId b) {
        const MeshEdge& edge = *m_data.edgeBetween(a, b);
        const KzVector3 first = kzUnit(m_data.normalOf(m_data.polygons.at(edge.polygons[0])));
        const KzVector3 second = kzUnit(m_data.normalOf(m_data.polygons.at(edge.polygons[1])));
        const double half = (std::numbers::pi - std::acos(std::clamp(kzDot(first, second), -1.0, 1.0))) / 2;
        return m_width / (2 * std::max(std::sin(half), 1e-3));
    }
    KzElementId add(const KzVector3& position) {
        KzElementId id = m_data.points.add({.position = position}).id;
        m_made.insert(id);
        return id;
    }
    struct Corner {
        KzElementId before, point, after;
        bool isIn, isOut;  // the edges to and from the point are bevelled
    };
    Corner cornerOf(const MeshPolygon& polygon, std::size_t index) const {
        const auto& all = polygon.points;
        Corner corner{all[(index + all.size() - 1) % all.size()], all[index], all[(index + 1) % all.size()], false,
                      false};
        corner.isIn = isBevelled(corner.before, corner.point);
        corner.isOut = isBevelled(corner.point, corner.after);
        return corner;
    }
    // A corner with one bevelled edge slides along the other edge.
    void findSlides(const MeshPolygon& polygon, std::size_t index) {
        const Corner corner = cornerOf(polygon, index);
        if (corner.isIn == corner.isOut) return;
        KzElementId along = corner.isIn ? corner.after : corner.before,
                    other = corner.isIn ? corner.before : corner.after;
        if (m_slides.contains({corner.point, along})) return;
        const KzVector3 way = kzUnit(at(along) - at(corner.point)), edge = kzUnit(at(other) - at(corner.point));
        const double sine = std::max(kzLength(kzCross(way, edge)), 1e-3);
        const double most = kzLength(at(along) - at(corner.point)) * 0.499;
        m_slides[{corner.point, along}] =
            add(at(corner.point) + way * std::min(distanceFor(corner.point, other) / sine, most));
    }
    std::vector<KzElementId> outlineOf(const MeshPolygon& polygon) {
        std::vector<KzElementId> outline;
        for (std::size_t i = 0; i < polygon.points.size(); ++i) {
            const Corner corner = cornerOf(polygon, i);
            const auto slide = [&](KzElementId along) {
                const auto entry = m_slides.find({corner.point, along});
                return entry != m_slides.end() ? entry->second : nullptr;
            };
            if (corner.isIn && corner.isOut) {
                const KzVector3 normal = kzUnit(m_data.normalOf(polygon));
                const double distance =
                    (distanceFor(corner.before, corner.point) + distanceFor(corner.point, corner.after)) / 2;
                KzElementId inner = add(
                    at(corner.point) + miter(at(corner.before), at(corner.point), at(corner.after), normal) * distance);
                m_corners[{polygon.id, corner.point}] = inner;
                outline.push_back(inner);
            } else if (corner.isIn || corner.isOut) {
                outline.push_back(m_corners[{polygon.id, corner.point}] =
                                      slide(corner.isIn ? corner.after : corner.before));
            } else {
                KzElementId first = slide(corner.before), second = slide(corner.after);
                if (first != nullptr) outline.push_back(first);
                if (first == nullptr || second == nullptr) outline.push_back(corner.point);
                if (second != nullptr) outline.push_back(second);
            }
        }
        return outline;
    }
    // The points across the strip at one end of the edge, between the two polygons.
    std::vector<KzElementId> across(KzElementId end, KzElementId first, KzElementId second) {
        std::vector<KzElementId> points{m_corners.at({first, end})};
        const KzVector3 from = at(points.front()), to = at(m_corners.at({second, end})), corner = at(end);
        for (std::int32_t i = 1; i < m_segments; ++i) {
            const double part = double(i) / m_segments;
            KzVector3 place = from + (to - from) * part;
            if (m_shape == KZiEDGEBEVEL_SHARP)
                place = part < 0.5 ? from + (corner - from) * (2 * part) : corner + (to - corner) * (2 * part - 1);
            if (m_shape == KZiEDGEBEVEL_ROUND)  // touches both sides where it begins and ends
                place = (from * ((1 - part) * (1 - part)) + corner * (std::numbers::sqrt2 * part * (1 - part)) +
                         to * (part * part)) *
                        (1 / ((1 - part) * (1 - part) + std::numbers::sqrt2 * part * (1 - part) + part * part));
            points.push_back(add(place));
        }
        points.push_back(m_corners.at({second, end}));
        return points;
    }
    void addStrip(const MeshEdge& edge) {
        const MeshPolygon origin = m_data.polygons.at(edge.polygons[0]);
        const bool isForward = kzNextCorner(origin, edge.start) == edge.end;
        KzElementId start = isForward ? edge.start : edge.end, end = isForward ? edge.end : edge.start;
        const auto left = across(start, edge.polygons[0], edge.polygons[1]);
        const auto right = across(end, edge.polygons[0], edge.polygons[1]);
        for (std::size_t i = 0; i + 1 < left.size(); ++i) {
            MeshPolygon strip = origin;
            strip.points = {right[i], left[i], left[i + 1], right[i + 1]};
            m_data.polygons.add(std::move(strip));
        }
    }
    void closeCorners() {
        for (auto& loop : kzOpenLoops(m_data))
            if (std::ranges::all_of(
                    loop, [&](KzElementId point) { return m_made.contains(point) || m_ends.contains(point); }))
                m_data.addPolygon(KZi_POLYTYPE_FACE, std::move(loop));
    }

    CMeshData& m_data;
    const double m_width;
    const std::int32_t m_segments, m_shape;
    std::vector<MeshEdge> m_edges;
    std::set<Ends> m_isBevelled;
    std::unordered_set<KzElementId> m_ends, m_made;
    std::map<Ends, KzElementId> m_slides;   // by the point and the other end of the edge
    std::map<Ends, KzElementId> m_corners;  // by the polygon and its former corner
};

}  // namespace

KzElementId kzNextCorner(const MeshPolygon& polygon, KzElementId point) {
    const auto place = std::ranges::find(polygon.points, point);
    return place + 1 == polygon.points.end() ? polygon.points.front() : *(place + 1);
}

std::vector<std::vector<KzElementId>> kzOpenLoops(CMeshData& data, const OpenEdgeTest& isWanted) {
    std::multimap<KzElementId, KzElementId> next;
    for (const MeshEdge& edge : data.edges()) {
        if (edge.polygons.size() != 1) continue;
        const MeshPolygon& polygon = data.polygons.at(edge.polygons.front());
        if (!kzPolygonType(polygon.type).isClosed || (isWanted && !isWanted(edge, polygon))) continue;
        const bool isForward = kzNextCorner(polygon, edge.start) == edge.end;
        next.emplace(isForward ? edge.end : edge.start, isForward ? edge.start : edge.end);
    }
    std::vector<std::vector<KzElementId>> loops;
    while (!next.empty()) {
        std::vector<KzElementId> loop{next.begin()->first};
        for (auto step = next.begin(); step != next.end(); step = next.find(loop.back())) {
            KzElementId point = step->second;
            next.erase(step);
            if (point == loop.front()) break;
            loop.push_back(point);
        }
        if (loop.size() > 2) loops.push_back(std::move(loop));
    }
    return loops;
}

void kzDropBare(CMeshData& data, const std::vector<KzElementId>& points) {
    const std::unordered_set<KzElementId> asked(points.begin(), points.end());
    data.removePoints(
        [&](const MeshPoint& point) { return asked.contains(point.id) && data.cornersAt(point.id).empty(); });
}

void kzGrowShells(CMeshData& data, std::vector<KzElementId> polygons, const ShellMove& move) {
    if ((move.flags & KZfPOLYEDIT_GROUP) != 0) return CShell(data, std::move(polygons), move).grow();
    for (KzElementId id : polygons) CShell(data, {id}, move).grow();
}

void kzBevelEdges(CMeshData& data, std::int32_t edgeMark, double width, std::int32_t segments, std::int32_t shape) {
    CEdgeBevel(data, width, segments, shape).run(edgeMark);
}

}  // namespace kzhost
