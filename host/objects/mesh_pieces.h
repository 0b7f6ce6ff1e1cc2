// Pieces of polygons: cutting them along planes, and putting pieces in the place of polygons.
//
// A corner of a piece knows where it is and which parts the corners of its polygon have in that place, so values of maps can
// be mixed. Neighbours are cut one by one: the place where a plane crosses an edge is computed from the same end of the edge
// each time, and what is at one place becomes one point again when the pieces are put into a mesh.
#pragma once

#include "host/objects/mesh_data.h"
#include "host/objects/point_grid.h"

#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

struct CutPlane {
    KzVector3 position, normal;  // the normal has length 1
    double distance(const KzVector3& place) const { return kzDot(place - position, normal); }
};

struct PieceCorner {
    KzVector3 position;
    KzElementId point = nullptr;  // null for one that the polygon does not have
    // The ends of the polygon's edge that it is on; null for one inside.
    std::pair<KzElementId, KzElementId> edge = {};
    std::vector<double> weights;  // of the polygon's corners
};

struct Piece {
    KzElementId polygon = nullptr;
    std::vector<PieceCorner> corners;

    KzVector3 normal() const;  // its length is twice the area
    KzVector3 inside() const;  // a place on the piece that is not at its edge
    KzBounds box() const;
};

// The polygon as one piece.
Piece kzWholePiece(CMeshData& data, const MeshPolygon& polygon);
// As one piece if it is flat and convex, and otherwise as triangles.
std::vector<Piece> kzConvexPieces(CMeshData& data, const MeshPolygon& polygon, double tolerance);
// Adds the parts on each side of the plane. A piece in the plane is in front. True if both sides got parts.
bool kzSplitPiece(const Piece& piece, const CutPlane& plane, double tolerance, std::vector<Piece>& front,
                  std::vector<Piece>& back);

// Gives the corners of a polygon the values of maps that the corners of its origin have, mixed by weights: for each corner,
// one for each corner of the origin, which may be in another mesh.
void kzMixValues(CMeshData& data, CMeshData& source, KzElementId originId, KzElementId addedId,
                 const std::vector<std::vector<double>>& weights, bool isFlipped = false);

// Puts pieces into a mesh.
class CPieceMesh {
public:
    // The mesh has points to which pieces are joined.
    CPieceMesh(CMeshData& data, double tolerance);

    // A polygon like the one that it is a piece of, which may be of another mesh; null if nothing of it is left. New points
    // are shared by the pieces of one side.
    KzElementId add(const Piece& piece, CMeshData& source, bool isFlipped = false, int side = 0);
    // The point of a new corner. Those on one edge of the mesh are shared, so surfaces that only touch each other stay
    // apart; elsewhere it is the point at that place. On the other side it is a copy of the corner's own point.
    KzElementId pointAt(const PieceCorner& corner, int side = 0);
    // Has polygons that end at an open edge take over the points that lie on it.
    void closeGaps();
    const std::vector<KzElementId>& newPoints() const noexcept { return m_newPoints; }

private:
    CMeshData& m_data;
    const double m_tolerance;
    CPointGrid m_grids[2];
    std::map<std::pair<KzElementId, KzElementId>, std::vector<KzElementId>> m_onEdges[2];
    std::unordered_map<KzElementId, KzElementId> m_copies;
    std::vector<KzElementId> m_newPoints;
    std::unordered_set<KzElementId> m_added;  // polygons
};

// A tolerance for places of a mesh of that size.
double kzCutTolerance(CMeshData& data);

}  // namespace kzhost
