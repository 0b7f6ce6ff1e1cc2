// The shape of one polygon: its triangles, its plane, and where places and rays meet it.
#pragma once

#include "host/document/vectors.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kzhost {

using Triangle = std::array<std::uint32_t, 3>;  // corners of a polygon

// The sum of the cross products along the outline: its length is twice the area, whatever the shape.
KzVector3 kzOutlineNormal(std::span<const KzVector3> corners);
// Every inner angle is less than a straight one.
bool kzIsConvex(std::span<const KzVector3> corners);
// Cuts a polygon into triangles that face the same way; iTRIANGULATE names the methods. A concave polygon is cut by ears,
// since the other methods would leave it.
std::vector<Triangle> kzTriangulate(std::span<const KzVector3> corners, std::int32_t method);
// The greatest distance of a corner from the plane through the middle of all.
double kzOffPlane(std::span<const KzVector3> corners);

struct TrianglePlace {
    double distance = 0;
    std::array<double, 3> weights{};  // of the corners
    KzVector3 position{};
};
// The nearest place on the triangle.
TrianglePlace kzNearest(const KzVector3& position, const std::array<KzVector3, 3>& triangle);
// Where the ray meets the triangle from either side, in lengths of the direction.
std::optional<TrianglePlace> kzMeet(const KzVector3& origin, const KzVector3& direction,
                                    const std::array<KzVector3, 3>& triangle);

}  // namespace kzhost
