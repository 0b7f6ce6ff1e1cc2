// Cuts the polygons of a mesh along planes and lines.
#include "host/objects/mesh_tools.h"

#include "host/core/reasons.h"
#include "host/objects/mesh_pieces.h"
#include "host/objects/polygon_shape.h"
#include "host/objects/polygon_shells.h"

#include "kz/mesh_edit.h"
#include "kz/mesh_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr const char* place = "PolygonSlice";

CutPlane planeOf(const KzVector3& position, const KzVector3& normal) {
    const double length = kzLength(normal);
    if (!std::isfinite(length) || length == 0 || !std::isfinite(kzLength(position)))
        throw kzBecause(KZe_INVALIDARG, place,
                        [] { return "a plane has a finite position, and a normal that is longer than 0"; });
    return {position, normal * (1 / length)};
}

// Outlines of openings in one plane, each as a list of points against the direction of the polygons at it.
class COpenings {
public:
    COpenings(CMeshData& data, const CutPlane& plane, double tolerance)
        : m_data(data), m_plane(plane), m_tolerance(tolerance) {}

    // Closes those whose polygons are in front, or behind.
    void close(bool isFront, std::int32_t type) {
        std::vector<std::vector<KzElementId>> outer, holes;
        for (auto& loop : loops(isFront)) (turnOf(loop, isFront) > 0 ? outer : holes).push_back(std::move(loop));
        for (auto& hole : holes) {
            auto* around = ownerOf(hole, outer);
            if (around == nullptr) outer.push_back(std::move(hole));
            else join(*around, hole);
        }
        for (auto& loop : outer)
            if (kzCanHaveCorners(type, loop.size())) m_data.addPolygon(type, std::move(loop));
    }

private:
    bool isInPlane(KzElementId point) {
        return std::abs(m_plane.distance(m_data.points.at(point).position)) <= m_tolerance * 8;
    }
    bool isOnSide(const MeshPolygon& polygon, bool isFront) {
        double most = 0;
        for (KzElementId point : polygon.points) {
            const double distance = m_plane.distance(m_data.points.at(point).position);
            if (std::abs(distance) > std::abs(most)) most = distance;
        }
        return (most > 0) == isFront;
    }
    std::vector<std::vector<KzElementId>> loops(bool isFront) {
        return kzOpenLoops(m_data, [&](const MeshEdge& edge, const MeshPolygon& polygon) {
            return isInPlane(edge.start) && isInPlane(edge.end) && isOnSide(polygon, isFront);
        });
    }
    std::vector<KzVector3> positionsOf(const std::vector<KzElementId>& loop) {
        std::vector<KzVector3> positions;
        positions.reserve(loop.size());
        for (KzElementId point : loop) positions.push_back(m_data.points.at(point).position);
        return positions;
    }
    // Above 0 for an outline that faces away from its side.
    double turnOf(const std::vector<KzElementId>& loop, bool isFront) {
        return kzDot(kzOutlineNormal(positionsOf(loop)), m_plane.normal) * (isFront ? -1 : 1);
    }
    std::vector<KzElementId>* ownerOf(const std::vector<KzElementId>& hole,
                                      std::vector<std::vector<KzElementId>>& all) {
        const KzVector3 inside = m_data.points.at(hole.front()).position;
        std::vector<KzElementId>* best = nullptr;
        double least = 0;
        for (auto& loop : all) {
            const auto outline = positionsOf(loop);
            const double area = kzLength(kzOutlineNormal(outline));
            if ((best == nullptr || area < least) && contains(outline, inside)) best = &loop, least = area;
        }
        return best;
    }
    // Adds up the angles under which the edges of the outline are seen.
    bool contains(const std::vector<KzVector3>& outline, const KzVector3& position) const {
        double sum = 0;
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const KzVector3 a = outline[i] - position, b = outline[(i + 1) % outline.size()] - position;
            sum += std::atan2(kzDot(kzCross(a, b), m_plane.normal), kzDot(a, b));
        }
        return std::abs(sum) > 3;
    }
    // Leads the outline to the hole and back by the shortest way.
    void join(std::vector<KzElementId>& outline, const std::vector<KzElementId>& hole) {
        std::size_t from = 0, to = 0;
        double least = -1;
        for (std::size_t i = 0; i < outline.size(); ++i)
            for (std::size_t j = 0; j < hole.size(); ++j) {
                const double length =
                    kzLength(m_data.points.at(outline[i]).position - m_data.points.at(hole[j]).position);
                if (least < 0 || length < least) least = length, from = i, to = j;
            }
        std::vector<KzElementId> path;
        for (std::size_t i = 0; i <= hole.size(); ++i) path.push_back(hole[(to + i) % hole.size()]);
        path.push_back(outline[from]);
        outline.insert(outline.begin() + static_cast<std::ptrdiff_t>(from) + 1, path.begin(), path.end());
    }

    CMeshData& m_data;
    const CutPlane m_plane;
    const double m_tolerance;
};

// One cut along one plane.
class CCut {
public:
    // `takes` says which of the chosen polygons are cut at all; without it, all are.
    CCut(CMeshData& data, const CutPlane& plane, std::int32_t mark, std::int32_t mode)
        : m_data(data), m_plane(plane), m_mark(mark), m_mode(mode), m_tolerance(kzCutTolerance(data)) {}

    std::vector<KzElementId> run(const std::function<bool(const MeshPolygon&)>& takes) {
        CPieceMesh pieces(m_data, m_tolerance);
        const bool splits = m_mode == KZiPOLYSLICE_SPLIT || m_mode == KZiPOLYSLICE_CAP;
        std::int32_t type = KZi_POLYTYPE_FACE;
        std::unordered_set<KzElementId> gone;
        for (KzElementId id : m_data.polygons.ids()) {
            const MeshPolygon polygon = m_data.polygons.at(id);
            if (!kzPolygonType(polygon.type).isClosed || !kzMatchesMarks(polygon.marks, m_mark)) continue;
            if (takes && !takes(polygon)) continue;
            type = polygon.type;
            std::vector<Piece> front, back;
            const bool isCut = kzSplitPiece(kzWholePiece(m_data, polygon), m_plane, m_tolerance, front, back);
            const bool drops = m_mode == (back.empty() ? KZiPOLYSLICE_KEEPBACK : KZiPOLYSLICE_KEEPFRONT);
            if (!isCut && !drops && !(splits && front.empty() && isAtPlane(polygon))) continue;
            gone.insert(id);
            if (m_mode != KZiPOLYSLICE_KEEPBACK)
                for (const Piece& piece : front) pieces.add(piece, m_data);
            if (m_mode != KZiPOLYSLICE_KEEPFRONT)
                for (const Piece& piece : back) addBack(pieces, piece, splits);
        }
        removeAll(gone);
        pieces.closeGaps();
        if (m_mode == KZiPOLYSLICE_CAP)
            for (const bool isFront : {true, false}) COpenings(m_data, m_plane, m_tolerance).close(isFront, type);
        return pieces.newPoints();
    }

private:
    bool isAtPlane(const MeshPolygon& polygon) {
        return std::ranges::any_of(polygon.points, [&](KzElementId point) {
            return std::abs(m_plane.distance(m_data.points.at(point).position)) <= m_tolerance;
        });
    }
    // Only the points in the plane are not shared with the other side.
    void addBack(CPieceMesh& pieces, const Piece& piece, bool splits) {
        if (!splits) {
            pieces.add(piece, m_data);
            return;
        }
        Piece own = piece;
        for (PieceCorner& corner : own.corners)
            if (std::abs(m_plane.distance(corner.position)) <= m_tolerance)
                corner = {corner.position, pieces.pointAt(corner, 1), {}, corner.weights};
        pieces.add(own, m_data);
    }
    void removeAll(const std::unordered_set<KzElementId>& gone) {
        std::unordered_set<KzElementId> touched;
        for (KzElementId id : gone)
            for (KzElementId point : m_data.polygons.at(id).points) touched.insert(point);
        m_data.removePolygons([&](const MeshPolygon& polygon) { return gone.contains(polygon.id); });
        m_data.removePoints(
            [&](const MeshPoint& point) { return touched.contains(point.id) && m_data.cornersAt(point.id).empty(); });
    }

    CMeshData& m_data;
    const CutPlane m_plane;
    const std::int32_t m_mark, m_mode;
    const double m_tolerance;
};

class CPolygonSlice final : public CHosted<"polygon slice", CPolygonSlice, CKzIfc_PolygonSlice> {
public:
    explicit CPolygonSlice(CHostRef<CMesh> mesh) : m_mesh(std::move(mesh)) {}

    KzResult polygonslice_SetMark(std::int32_t mark) override {
        m_mark = mark;
        return KZe_OK;
    }
    KzResult polygonslice_SetMode(std::int32_t mode) override {
        if (mode < KZiPOLYSLICE_CUT || mode > KZiPOLYSLICE_CAP)
            return kzBecause(KZe_INVALIDARG, place, [&] { return fmt::format("there is no mode {}", mode); });
        m_mode = mode;
        return KZe_OK;
    }
    KzResult polygonslice_Plane(const KzVector3* position, const KzVector3* normal) override {
        return cut({planeOf(*position, *normal)});
    }
    KzResult polygonslice_Line(const KzVector3* start, const KzVector3* end, const KzVector3* view) override {
        return cut({planeOf(*start, kzCross(*end - *start, *view))});
    }
    KzResult polygonslice_Axis(std::int32_t axis, const KzVector3* position) override {
        if (axis < 0 || axis > 2)
            return kzBecause(KZe_INVALIDARG, place, [&] { return fmt::format("there is no axis {}", axis); });
        KzVector3 normal{};
        normal.v[axis] = 1;
        return cut({planeOf(*position, normal)});
    }
    KzResult polygonslice_Grid(const KzVector3* start, const KzVector3* step, std::uint32_t count) override {
        constexpr std::uint32_t mostSteps = 10000;
        if (count > mostSteps)
            return kzBecause(KZe_INVALIDARG, place,
                             [&] { return fmt::format("{} steps; there are at most {}", count, mostSteps); });
        std::vector<CutPlane> planes;
        for (std::uint32_t i = 0; i <= count; ++i) planes.push_back(planeOf(*start + *step * i, *step));
        return cut(planes);
    }
    KzResult polygonslice_Curve(IKzUnknown* curves, const KzVector3* direction) override;
    KzResult polygonslice_Single(KzElementId polygon, const KzVector3* position, const KzVector3* normal,
                                 std::uint32_t* count, float** positions) override;
    std::uint32_t polygonslice_NewPointCount() override { return static_cast<std::uint32_t>(m_points.size()); }
    KzResult polygonslice_NewPointByIndex(std::uint32_t index, KzElementId* point) override {
        return give(m_points, index, point);
    }
    KzResult polygonslice_NewEdgeByIndex(std::uint32_t index, KzElementId* edge) override {
        return give(m_edges, index, edge);
    }

private:
    static KzResult give(const std::vector<KzElementId>& all, std::uint32_t index, KzElementId* element) {
        if (index >= all.size()) return KZe_OUTOFBOUNDS;
        *element = all[index];
        return KZe_OK;
    }
    KzResult cut(const std::vector<CutPlane>& planes,
                 const std::function<bool(const MeshPolygon&, std::size_t)>& takes = {}) {
        CMeshData& data = m_mesh->data;
        const CMeshEdit edit(data);
        m_points.clear();
        for (std::size_t i = 0; i < planes.size(); ++i) {
            std::function<bool(const MeshPolygon&)> takesHere;
            if (takes) takesHere = [&, i](const MeshPolygon& polygon) { return takes(polygon, i); };
            const auto made = CCut(data, planes[i], m_mark, m_mode).run(takesHere);
            m_points.insert(m_points.end(), made.begin(), made.end());
        }
        noteEdges(planes);
        return KZe_OK;
    }
    // Those between new points that lie in one of the planes.
    void noteEdges(const std::vector<CutPlane>& planes) {
        CMeshData& data = m_mesh->data;
        const double tolerance = 8 * kzCutTolerance(data);
        std::erase_if(m_points, [&](KzElementId point) { return !data.points.has(point); });
        const std::unordered_set<KzElementId> made(m_points.begin(), m_points.end());
        m_edges.clear();
        for (const MeshEdge& edge : data.edges()) {
            if (!made.contains(edge.start) && !made.contains(edge.end)) continue;
            const KzVector3 &a = data.points.at(edge.start).position, &b = data.points.at(edge.end).position;
            if (std::ranges::any_of(planes, [&](const CutPlane& plane) {
                    return std::abs(plane.distance(a)) <= tolerance && std::abs(plane.distance(b)) <= tolerance;
                }))
                m_edges.push_back(edge.id);
        }
    }

    CHostRef<CMesh> m_mesh;
    std::int32_t m_mark = 0, m_mode = KZiPOLYSLICE_CUT;
    std::vector<KzElementId> m_points, m_edges;
    std::vector<float> m_single;
};

// Each line of a curve cuts the polygons that its strip meets.
KzResult CPolygonSlice::polygonslice_Curve(IKzUnknown* curves, const KzVector3* direction) {
    const auto source = kzOwn<CMesh>(curves);
    std::vector<CutPlane> planes;
    std::vector<std::pair<KzVector3, KzVector3>> lines;
    for (const MeshPolygon& curve : source->data.polygons) {
        if (kzPolygonType(curve.type).isClosed) continue;
        for (std::size_t i = 0; i + 1 < curve.points.size(); ++i) {
            const KzVector3 &a = source->data.points.at(curve.points[i]).position,
                            &b = source->data.points.at(curve.points[i + 1]).position;
            planes.push_back(planeOf(a, kzCross(b - a, *direction)));
            lines.emplace_back(a, b);
        }
    }
    if (planes.empty())
        return kzBecause(KZe_INVALIDARG, place, [] { return "the other mesh has no curves to cut along"; });
    return cut(planes, [&](const MeshPolygon& polygon, std::size_t at) {
        std::vector<Piece> front, back;
        CMeshData& data = m_mesh->data;
        const double tolerance = kzCutTolerance(data);
        if (!kzSplitPiece(kzWholePiece(data, polygon), planes[at], tolerance, front, back)) return false;
        const KzVector3 across = kzCross(*direction, planes[at].normal);
        const auto& [from, to] = lines[at];
        const double length = kzDot(to - from, across);
        double least = 2, most = -1;
        // An outline that crosses itself may have all its pieces on one side.
        for (const auto* side : {&front, &back})
            for (const Piece& piece : *side)
                for (const PieceCorner& corner : piece.corners) {
                    if (std::abs(planes[at].distance(corner.position)) > tolerance) continue;
                    const double along = kzDot(corner.position - from, across) / length;
                    least = std::min(least, along), most = std::max(most, along);
                }
        return least < 1 && most > 0;
    });
}

KzResult CPolygonSlice::polygonslice_Single(KzElementId polygon, const KzVector3* position, const KzVector3* normal,
                                            std::uint32_t* count, float** positions) {
    CMeshData& data = m_mesh->data;
    std::vector<Piece> front, back;
    kzSplitPiece(kzWholePiece(data, data.polygons.at(polygon)), planeOf(*position, *normal), kzCutTolerance(data),
                 front, back);
    m_single.clear();
    if (!front.empty())
        for (const PieceCorner& corner : front.front().corners)
            for (const double each : corner.position.v) m_single.push_back(static_cast<float>(each));
    *count = static_cast<std::uint32_t>(m_single.size() / 3);
    *positions = m_single.data();
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakePolygonSlice(CHostRef<CMesh> mesh) { return kzMakeObject<CPolygonSlice>(std::move(mesh)); }

}  // namespace kzhost
