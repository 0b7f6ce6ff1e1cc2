// The faces of a solid.
#include "host/objects/solid_faces.h"

#include "host/objects/polygon_shape.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kzhost {

namespace {

bool overlap(const KzBounds& a, const KzBounds& b, double tolerance) {
    for (int i = 0; i < 3; ++i)
        if (a.min.v[i] > b.max.v[i] + tolerance || b.min.v[i] > a.max.v[i] + tolerance) return false;
    return true;
}

}  // namespace

bool kzIsSolid(CMeshData& data) {
    return data.polygons.size() > 0 &&
           std::all_of(data.polygons.begin(), data.polygons.end(),
                       [](const MeshPolygon& polygon) { return kzPolygonType(polygon.type).isClosed; }) &&
           std::all_of(data.edges().begin(), data.edges().end(),
                       [](const MeshEdge& edge) { return edge.polygons.size() % 2 == 0; });
}

CSolidFaces::CSolidFaces(CMeshData& data, double tolerance) : m_tolerance(tolerance), m_isClosed(kzIsSolid(data)) {
    for (const MeshPolygon& polygon : data.polygons) {
        if (!kzPolygonType(polygon.type).isClosed) continue;
        for (const Piece& piece : kzConvexPieces(data, polygon, tolerance)) {
            const KzVector3 normal = piece.normal();
            if (kzLength(normal) == 0) continue;
            Face face{{piece.corners.front().position, kzUnit(normal)}, piece.box(), {}};
            for (const PieceCorner& corner : piece.corners) face.corners.push_back(corner.position);
            m_faces.push_back(std::move(face));
        }
    }
    std::ranges::sort(m_faces, {}, [](const Face& face) { return face.box.min.v[0]; });
}

bool CSolidFaces::meets(const Piece& piece) const {
    const KzBounds box = piece.box();
    return std::ranges::any_of(near(box), [&](const Face& face) { return overlap(face.box, box, m_tolerance); });
}

// The piece, cut along the faces that it meets.
std::vector<Piece> CSolidFaces::cut(const Piece& piece) const {
    std::vector<Piece> parts{piece};
    const KzBounds whole = piece.box();
    for (const Face& face : near(whole)) {
        if (!overlap(face.box, whole, m_tolerance)) continue;
        std::vector<Piece> next;
        for (Piece& part : parts) {
            if (overlap(face.box, part.box(), m_tolerance) && crosses(part, face))
                kzSplitPiece(part, face.plane, m_tolerance, next, next);
            else next.push_back(std::move(part));
        }
        parts = std::move(next);
    }
    return parts;
}

SolidSide CSolidFaces::sideOf(const Piece& piece) const {
    const KzVector3 place = piece.inside(), normal = piece.normal();
    for (const Face& face : m_faces)
        if (isIn(face, place)) return kzDot(face.plane.normal, normal) > 0 ? SolidSide::same : SolidSide::opposite;
    return (m_isClosed ? isInside(place) : isBehind(place)) ? SolidSide::inside : SolidSide::outside;
}

// Those that begin before the box ends.
std::span<const CSolidFaces::Face> CSolidFaces::near(const KzBounds& box) const {
    const auto end = std::ranges::upper_bound(m_faces, box.max.v[0] + m_tolerance, {},
                                              [](const Face& face) { return face.box.min.v[0]; });
    return {m_faces.begin(), end};
}

// Whether some of the face lies on both sides of the piece, or in its plane.
bool CSolidFaces::crosses(const Piece& piece, const Face& face) const {
    const KzVector3 normal = kzUnit(piece.normal());
    const CutPlane plane{piece.corners.front().position, normal};
    bool isFront = false, isBack = false;
    for (const KzVector3& corner : face.corners) {
        isFront |= plane.distance(corner) >= -m_tolerance;
        isBack |= plane.distance(corner) <= m_tolerance;
    }
    return isFront && isBack;
}

bool CSolidFaces::isIn(const Face& face, const KzVector3& place) const {
    if (std::abs(face.plane.distance(place)) > m_tolerance * 2) return false;
    for (std::size_t i = 0; i < face.corners.size(); ++i) {
        const KzVector3& a = face.corners[i];
        const KzVector3 way = face.corners[(i + 1) % face.corners.size()] - a;
        if (kzDot(kzCross(way, place - a), face.plane.normal) < -m_tolerance * kzLength(way)) return false;
    }
    return true;
}

// Counts the faces along a ray. One that nearly meets an edge is not counted on: another ray decides.
bool CSolidFaces::isInside(const KzVector3& place) const {
    KzVector3 direction{{0.5773, 0.2113, 0.7887}};
    for (int attempt = 0; attempt < 16; ++attempt) {
        std::optional<bool> isOdd = false;
        for (const Face& face : m_faces) {
            const auto hit = meet(face, place, direction);
            if (!hit) isOdd.reset();
            else if (isOdd && *hit) isOdd = !*isOdd;
            if (!isOdd) break;
        }
        if (isOdd) return *isOdd;
        direction = {{direction.v[1] + 0.37 * attempt, -direction.v[2] + 0.11, direction.v[0] - 0.23 * attempt}};
    }
    return false;
}

// Nothing if it cannot be told.
std::optional<bool> CSolidFaces::meet(const Face& face, const KzVector3& place, const KzVector3& direction) const {
    const double slope = kzDot(direction, face.plane.normal), height = face.plane.distance(place);
    if (std::abs(slope) < 1e-12) return std::abs(height) > m_tolerance ? std::optional(false) : std::nullopt;
    const double along = -height / slope;
    if (along < 0) return false;
    const KzVector3 hit = place + direction * along;
    bool isIn = true;
    for (std::size_t i = 0; i < face.corners.size(); ++i) {
        const KzVector3& a = face.corners[i];
        const KzVector3 way = face.corners[(i + 1) % face.corners.size()] - a;
        const double turn = kzDot(kzCross(way, hit - a), face.plane.normal) / kzLength(way);
        if (turn < -m_tolerance) return false;
        isIn &= turn > m_tolerance;
    }
    return isIn ? std::optional(true) : std::nullopt;
}

// A surface that is open has no inside: what lies behind the nearest face stands for it.
bool CSolidFaces::isBehind(const KzVector3& place) const {
    double least = std::numeric_limits<double>::max();
    bool isBack = false;
    for (const Face& face : m_faces)
        for (std::size_t i = 1; i + 1 < face.corners.size(); ++i) {
            const double distance = kzNearest(place, {face.corners[0], face.corners[i], face.corners[i + 1]}).distance;
            if (distance < least) least = distance, isBack = face.plane.distance(place) < 0;
        }
    return isBack;
}

}  // namespace kzhost
