// Operations that change a whole mesh: welding, mirroring and triangulating.
#pragma once

#include "host/objects/mesh_data.h"

#include <vector>

namespace kzhost {

// The positions of a polygon's corners.
std::vector<KzVector3> kzCornersOf(CMeshData& data, const MeshPolygon& polygon);

// Merges points within the distance into the first of them; polygons that collapse are removed. Returns how many points
// were removed.
std::uint32_t kzWeld(CMeshData& data, double distance, std::int32_t mark);
// Adds mirrored copies of the polygons. `welds` lets the copies use the points that lie on the plane.
void kzMirror(CMeshData& data, const KzVector3& position, const KzVector3& normal, std::int32_t mark, bool welds);
void kzTriangulateMesh(CMeshData& data, std::int32_t mark, std::int32_t method);

// The unit normal at a corner, smoothed over the polygons of the same smoothing group around the point. Throws NOTFOUND
// when none of them has one.
KzVector3 kzCornerNormal(CMeshData& data, KzElementId point, KzElementId polygon, KzElementId map);

}  // namespace kzhost
