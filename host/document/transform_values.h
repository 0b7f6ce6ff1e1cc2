// Rotations as matrices, quaternions and angles. Matrices act on row vectors: the rows are the axes.
#pragma once

#include "host/document/vectors.h"

#include "kz/transform.h"

#include <optional>

namespace kzhost {

// The axes in order of rotation, indexed by the constants of rotation orders.
inline constexpr int kzAxesOf[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
inline constexpr bool kzIsRotationOrder(std::int32_t order) { return order >= 0 && order <= KZiROTORDER_ZYX; }

KzMatrix3 operator*(const KzMatrix3& a, const KzMatrix3& b);
KzMatrix3 kzIdentity3();
KzMatrix3 kzUpperLeft(const KzMatrix4& matrix);
// A matrix with those axes and that position.
KzMatrix4 kzMatrixOf(const KzMatrix3& axes, const KzVector3& position);
inline KzVector3 kzRow(const KzMatrix3& matrix, int row) {
    return {{matrix.m[row][0], matrix.m[row][1], matrix.m[row][2]}};
}
KzMatrix3 kzMatrixOfRows(const KzVector3& x, const KzVector3& y, const KzVector3& z);

// Radians about the axes. At a gimbal lock the last angle is 0.
KzMatrix3 kzRotationOfEuler(const KzVector3& angles, int order);
KzVector3 kzEulerOfRotation(const KzMatrix3& rotation, int order);

// Takes the axes apart into a rotation and factors, one of which is negative for a mirrored matrix. Slanted axes are
// straightened from the first to the last, and an axis without length is set at right angles to the others.
struct RotationAndScale {
    KzMatrix3 rotation;
    KzVector3 scale;
};
RotationAndScale kzRotationAndScale(const KzMatrix3& axes);

// Empty for a matrix without an inverse.
std::optional<KzMatrix4> kzInverse(const KzMatrix4& matrix);
double kzDeterminant(const KzMatrix4& matrix);

// At right angles to a direction.
KzVector3 kzAcross(const KzVector3& direction);

// Quaternions of length 1. `kzUnit` is empty for one without length.
std::optional<KzQuaternion> kzUnit(const KzQuaternion& rotation);
double kzDot(const KzQuaternion& a, const KzQuaternion& b);
// The first rotation, then the second.
KzQuaternion kzThen(const KzQuaternion& first, const KzQuaternion& second);
KzMatrix3 kzRotationOf(const KzQuaternion& rotation);
KzQuaternion kzQuaternionOf(const KzMatrix3& rotation);
KzQuaternion kzQuaternionAbout(const KzVector3& axis, double angle);  // the axis has length 1
// Along the shorter arc, from the first at 0 to the second at 1.
KzQuaternion kzBlend(const KzQuaternion& a, const KzQuaternion& b, double weight);

}  // namespace kzhost
