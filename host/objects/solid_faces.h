// The faces of a solid, which other polygons are cut along and compared with.
#pragma once

#include "host/objects/mesh_pieces.h"

#include <optional>
#include <span>
#include <vector>

namespace kzhost {

// The last two are in the surface, and face the same way as it does or the other.
enum class SolidSide { outside, inside, same, opposite };

// Whether every edge is between two polygons, or as many pairs of them.
bool kzIsSolid(CMeshData& data);

class CSolidFaces {
public:
    CSolidFaces(CMeshData& data, double tolerance);
    bool meets(const Piece& piece) const;
    // The piece, cut along the faces that it meets.
    std::vector<Piece> cut(const Piece& piece) const;
    SolidSide sideOf(const Piece& piece) const;

private:
    struct Face {
        CutPlane plane;
        KzBounds box;
        std::vector<KzVector3> corners;
    };
    std::span<const Face> near(const KzBounds& box) const;
    bool crosses(const Piece& piece, const Face& face) const;
    bool isIn(const Face& face, const KzVector3& place) const;
    bool isInside(const KzVector3& place) const;
    bool isBehind(const KzVector3& place) const;
    std::optional<bool> meet(const Face& face, const KzVector3& place, const KzVector3& direction) const;

    const double m_tolerance;
    const bool m_isClosed;
    std::vector<Face> m_faces;
};

}  // namespace kzhost
