// Pieces of polygons.
#include "host/objects/mesh_pieces.h"

#include "host/core/reasons.h"
#include "host/objects/mesh_edits.h"
#include "host/objects/polygon_shape.h"

#include "kz/mesh.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

std::vector<KzVector3> positionsOf(const Piece& piece) {
    std::vector<KzVector3> positions;
    for (const PieceCorner& corner : piece.corners) positions.push_back(corner.position);
    return positions;
}

// A corner of a piece, with its side of a plane.
struct SidedCorner {
    PieceCorner corner;
    int side;
};

bool isBefore(const KzVector3& a, const KzVector3& b) {
    return std::lexicographical_compare(a.v, a.v + 3, b.v, b.v + 3);
}

// The edge of the polygon on which both corners are; null if there is none.
std::pair<KzElementId, KzElementId> edgeOf(const PieceCorner& a, const PieceCorner& b) {
    using Edge = std::pair<KzElementId, KzElementId>;
    if (a.point != nullptr && b.point != nullptr)
        return std::less<>()(b.point, a.point) ? Edge(b.point, a.point) : Edge(a.point, b.point);
    const Edge& edge = a.point == nullptr ? a.edge : b.edge;
    const auto isOn = [&](const PieceCorner& corner) {
        return corner.point != nullptr ? corner.point == edge.first || corner.point == edge.second
                                       : corner.edge == edge;
    };
    return edge.first != nullptr && isOn(a) && isOn(b) ? edge : Edge();
}

// Both polygons at an edge compute the same place.
PieceCorner crossing(const PieceCorner& first, const PieceCorner& second, const CutPlane& plane) {
    const bool isTurned = isBefore(second.position, first.position);
    const PieceCorner& a = isTurned ? second : first;
    const PieceCorner& b = isTurned ? first : second;
    const double along = plane.distance(a.position) / (plane.distance(a.position) - plane.distance(b.position));
    PieceCorner made{a.position + (b.position - a.position) * along, nullptr, edgeOf(a, b), a.weights};
    for (std::size_t i = 0; i < made.weights.size(); ++i)
        made.weights[i] = a.weights[i] * (1 - along) + b.weights[i] * along;
    return made;
}

std::vector<SidedCorner> withCrossings(const Piece& piece, const CutPlane& plane, double tolerance) {
    const auto sideOf = [&](const PieceCorner& corner) {
        const double distance = plane.distance(corner.position);
        return distance > tolerance ? 1 : distance < -tolerance ? -1 : 0;
    };
    std::vector<SidedCorner> all;
    for (std::size_t i = 0; i < piece.corners.size(); ++i) {
        const PieceCorner& here = piece.corners[i];
        const PieceCorner& next = piece.corners[(i + 1) % piece.corners.size()];
        all.push_back({here, sideOf(here)});
        if (all.back().side * sideOf(next) < 0) all.push_back({crossing(here, next, plane), 0});
    }
    return all;
}

// The corners in the plane at which the outline goes from one side to the other.
std::vector<std::size_t> turnsOf(const std::vector<SidedCorner>& all) {
    std::vector<std::size_t> turns;
    const auto first = std::ranges::find_if(all, [](const auto& each) { return each.side != 0; });
    const auto start = static_cast<std::size_t>(first - all.begin());
    int side = all[start].side;
    constexpr auto none = static_cast<std::size_t>(-1);
    std::size_t inPlane = none;
    for (std::size_t i = 1; i <= all.size(); ++i) {
        const std::size_t at = (start + i) % all.size();
        if (all[at].side == 0) {
            if (inPlane == none) inPlane = at;
            continue;
        }
        if (all[at].side != side && inPlane != none) turns.push_back(inPlane);
        side = all[at].side;
        inPlane = none;
    }
    return turns;
}

// Cuts the outline from the one corner to the other, in whichever part has both.
void cutBetween(std::vector<std::vector<std::size_t>>& parts, std::size_t first, std::size_t second) {
    for (std::vector<std::size_t>& part : parts) {
        auto a = std::ranges::find(part, first), b = std::ranges::find(part, second);
        if (a == part.end() || b == part.end()) continue;
        if (b < a) std::swap(a, b);
        std::vector<std::size_t> other(a, b + 1);
        if (other.size() < 3 || part.size() - other.size() + 2 < 3) return;
        part.erase(a + 1, b);
        parts.push_back(std::move(other));
        return;
    }
}

}  // namespace

KzVector3 Piece::normal() const { return kzOutlineNormal(positionsOf(*this)); }

KzVector3 Piece::inside() const {
    const auto positions = positionsOf(*this);
    KzVector3 best{};
    double most = -1;
    for (const Triangle& triangle : kzTriangulate(positions, KZiTRIANGULATE_QUALITY)) {
        const KzVector3 &a = positions[triangle[0]], &b = positions[triangle[1]], &c = positions[triangle[2]];
        const double area = kzLength(kzCross(b - a, c - a));
        if (area > most) most = area, best = (a + b + c) * (1.0 / 3);
    }
    return best;
}

KzBounds Piece::box() const {
    KzBounds box{corners.front().position, corners.front().position};
    for (const PieceCorner& corner : corners) kzExtend(box, corner.position);
    return box;
}

Piece kzWholePiece(CMeshData& data, const MeshPolygon& polygon) {
    Piece piece{polygon.id, {}};
    for (std::size_t i = 0; i < polygon.points.size(); ++i) {
        std::vector<double> weights(polygon.points.size());
        weights[i] = 1;
        piece.corners.push_back(
            {data.points.at(polygon.points[i]).position, polygon.points[i], {}, std::move(weights)});
    }
    return piece;
}

std::vector<Piece> kzConvexPieces(CMeshData& data, const MeshPolygon& polygon, double tolerance) {
    const Piece whole = kzWholePiece(data, polygon);
    const auto positions = positionsOf(whole);
    if (positions.size() == 3 || (kzIsConvex(positions) && kzOffPlane(positions) <= tolerance)) return {whole};
    std::vector<Piece> pieces;
    for (const Triangle& triangle : kzTriangulate(positions, KZiTRIANGULATE_QUALITY))
        pieces.push_back(
            {polygon.id, {whole.corners[triangle[0]], whole.corners[triangle[1]], whole.corners[triangle[2]]}});
    return pieces;
}

bool kzSplitPiece(const Piece& piece, const CutPlane& plane, double tolerance, std::vector<Piece>& front,
                  std::vector<Piece>& back) {
    const auto all = withCrossings(piece, plane, tolerance);
    const auto isOn = [&](int side) {
        return std::ranges::any_of(all, [&](const SidedCorner& each) { return each.side == side; });
    };
    if (!isOn(1) || !isOn(-1)) {
        (isOn(-1) ? back : front).push_back(piece);
        return false;
    }
    auto turns = turnsOf(all);
    const KzVector3 along = kzCross(plane.normal, piece.normal());
    std::ranges::sort(turns, {}, [&](std::size_t at) { return kzDot(all[at].corner.position, along); });
    std::vector<std::vector<std::size_t>> parts(1);
    for (std::size_t i = 0; i < all.size(); ++i) parts.front().push_back(i);
    for (std::size_t i = 0; i + 1 < turns.size(); i += 2) cutBetween(parts, turns[i], turns[i + 1]);
    for (const auto& part : parts) {
        Piece made{piece.polygon, {}};
        int side = 0;
        for (const std::size_t at : part) {
            made.corners.push_back(all[at].corner);
            if (side == 0) side = all[at].side;
        }
        (side < 0 ? back : front).push_back(std::move(made));
    }
    return true;
}

double kzCutTolerance(CMeshData& data) {
    double size = 0;
    for (const MeshPoint& point : data.points)
        for (const double each : point.position.v) {
            if (!std::isfinite(each))
                throw kzBecause(KZe_INVALIDARG, "Mesh", [] { return "a point of the mesh is at no finite place"; });
            size = std::max(size, std::abs(each));
        }
    return std::max(size * 1e-9, 1e-12);
}

CPieceMesh::CPieceMesh(CMeshData& data, double tolerance)
    : m_data(data), m_tolerance(tolerance), m_grids{CPointGrid(tolerance * 4), CPointGrid(tolerance * 4)} {
    for (const MeshPoint& point : data.points) m_grids[0].add(point.position, point.id);
}

KzElementId CPieceMesh::pointAt(const PieceCorner& corner, int side) {
    const bool isOwn = corner.point != nullptr && m_data.points.has(corner.point);
    auto* shared =
        corner.edge.first != nullptr && m_data.points.has(corner.edge.first) ? &m_onEdges[side][corner.edge] : nullptr;
    if (isOwn) {
        if (const auto copy = m_copies.find(corner.point); copy != m_copies.end()) return copy->second;
    } else if (shared != nullptr) {
        for (KzElementId known : *shared)
            if (kzLength(m_data.points.at(known).position - corner.position) <= m_tolerance * 4) return known;
    } else if (KzElementId known = m_grids[side].find(corner.position)) {
        return known;
    }
    KzElementId made = m_data.addPoint(corner.position).id;
    m_grids[side].add(corner.position, made);
    if (isOwn) m_copies[corner.point] = made;
    if (shared != nullptr) shared->push_back(made);
    m_newPoints.push_back(made);
    return made;
}

KzElementId CPieceMesh::add(const Piece& piece, CMeshData& source, bool isFlipped, int side) {
    MeshPolygon polygon = source.polygons.at(piece.polygon);
    polygon.points.clear();
    Piece kept{piece.polygon, {}};
    for (const PieceCorner& corner : piece.corners) {
        KzElementId point = side == 0 && corner.point != nullptr && m_data.points.has(corner.point)
                                ? corner.point
                                : pointAt(corner, side);
        if (std::ranges::find(polygon.points, point) != polygon.points.end()) continue;
        polygon.points.push_back(point);
        kept.corners.push_back(corner);
    }
    if (!kzCanHaveCorners(polygon.type, polygon.points.size())) return nullptr;
    if (isFlipped) {
        std::ranges::reverse(polygon.points);
        std::ranges::reverse(kept.corners);
    }
    MeshPolygon& added = m_data.polygons.add(std::move(polygon));
    m_data.noteCopy(added.id, piece.polygon);
    std::vector<std::vector<double>> weights;
    for (const PieceCorner& corner : kept.corners) weights.push_back(corner.weights);
    KzElementId id = added.id;
    m_added.insert(id);
    kzMixValues(m_data, source, piece.polygon, id, weights, isFlipped);
    return id;
}

// Values of corners stay with corners. A new point between points with values gets a mixed one.
void kzMixValues(CMeshData& data, CMeshData& source, KzElementId originId, KzElementId addedId,
                 const std::vector<std::vector<double>>& weights, bool isFlipped) {
    const MeshPolygon& origin = source.polygons.at(originId);
    const MeshPolygon& added = data.polygons.at(addedId);
    for (MeshMapData& map : data.maps) {
        const MeshMapData* from = &source == &data ? &map : source.findMap(map.type, map.name);
        if (from == nullptr || from->dimension != map.dimension) continue;
        for (std::size_t i = 0; i < weights.size(); ++i) {
            std::vector<float> mixed(map.dimension);
            bool isWhole = true, isCorner = false;
            for (std::size_t j = 0; isWhole && j < origin.points.size(); ++j) {
                const double weight = weights[i][j];
                if (weight == 0) continue;
                const auto* value = from->find(origin.points[j], origin.id);
                isWhole = value != nullptr;
                isCorner |= from->values.contains({origin.points[j], origin.id});
                for (std::size_t k = 0; isWhole && k < mixed.size(); ++k)
                    mixed[k] += static_cast<float>(weight * (*value)[k]);
            }
            if (!isWhole) continue;
            if (isFlipped && map.type == KZi_MAPTYPE_NORMAL)
                for (float& each : mixed) each = -each;
            map.values.try_emplace({added.points[i], isCorner ? added.id : nullptr}, std::move(mixed));
        }
    }
}

void CPieceMesh::closeGaps() {
    if (m_added.empty()) return;
    const std::unordered_set<KzElementId> newPoints(m_newPoints.begin(), m_newPoints.end());
    std::unordered_set<KzElementId> newEnds;
    std::vector<std::pair<KzElementId, KzElementId>> open;
    std::unordered_set<KzElementId> ends;
    for (const MeshEdge& edge : m_data.edges())
        if (edge.polygons.size() == 1) {
            open.emplace_back(edge.start, edge.end);
            ends.insert({edge.start, edge.end});
        }
    for (KzElementId point : ends)
        if (newPoints.contains(point)) newEnds.insert(point);
    for (const auto& [start, end] : open) {
        const KzVector3 from = m_data.points.at(start).position, way = m_data.points.at(end).position - from;
        const double length = kzLength(way);
        std::vector<std::pair<double, KzElementId>> between;
        // What was there before and only touches stays apart.
        const bool isNew = m_added.contains(m_data.edgeBetween(start, end)->polygons.front());
        for (KzElementId point : isNew ? ends : newEnds) {
            if (point == start || point == end) continue;
            const KzVector3 offset = m_data.points.at(point).position - from;
            const double along = kzDot(offset, way) / (length * length);
            const bool isInside = along * length > m_tolerance && (1 - along) * length > m_tolerance;
            if (isInside && kzLength(offset - way * along) <= m_tolerance * 8) between.emplace_back(along, point);
        }
        if (between.empty()) continue;
        std::ranges::sort(between);
        const MeshEdge* edge = m_data.edgeBetween(start, end);
        MeshPolygon& polygon = m_data.polygons.at(edge->polygons.front());
        auto& corners = polygon.points;
        std::vector<KzElementId> points;
        for (const auto& [along, point] : between)
            if (std::ranges::find(corners, point) == corners.end()) points.push_back(point);
        const auto place = std::ranges::find(corners, start);
        const auto next = place + 1 == corners.end() ? corners.begin() : place + 1;
        if (*next == end) corners.insert(place + 1, points.begin(), points.end());
        else corners.insert(place, points.rbegin(), points.rend());
    }
    m_data.changed(KZfMESHEDIT_VERTICES);
}

}  // namespace kzhost
