// Computing with the plain vectors and matrices of the SDK. Matrices act on row vectors: p * m, position in the last row.
#pragma once

#include "kz/base/types.h"

#include <algorithm>
#include <cmath>

namespace kzhost {

inline KzVector3 operator+(const KzVector3& a, const KzVector3& b) {
    return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2]}};
}
inline KzVector3 operator-(const KzVector3& a, const KzVector3& b) {
    return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2]}};
}
inline KzVector3 operator*(const KzVector3& a, double factor) {
    return {{a.v[0] * factor, a.v[1] * factor, a.v[2] * factor}};
}
inline double kzDot(const KzVector3& a, const KzVector3& b) {
    return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2];
}
inline KzVector3 kzCross(const KzVector3& a, const KzVector3& b) {
    return {{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2], a.v[0] * b.v[1] - a.v[1] * b.v[0]}};
}
inline double kzLength(const KzVector3& a) { return std::sqrt(kzDot(a, a)); }
// Of length one, or the null vector as it is.
inline KzVector3 kzUnit(const KzVector3& a) {
    const double length = kzLength(a);
    return length > 0 ? a * (1 / length) : a;
}
inline KzFVector3 kzNarrow(const KzVector3& a) {
    return {{static_cast<float>(a.v[0]), static_cast<float>(a.v[1]), static_cast<float>(a.v[2])}};
}

inline void kzExtend(KzBounds& box, const KzVector3& position) {
    for (int axis = 0; axis < 3; ++axis) {
        box.min.v[axis] = std::min(box.min.v[axis], position.v[axis]);
        box.max.v[axis] = std::max(box.max.v[axis], position.v[axis]);
    }
}

inline KzMatrix4 kzIdentity() { return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}; }

inline KzMatrix4 operator*(const KzMatrix4& a, const KzMatrix4& b) {
    KzMatrix4 product{};
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            for (int k = 0; k < 4; ++k) product.m[row][column] += a.m[row][k] * b.m[k][column];
    return product;
}

// Without the position: for directions.
inline KzVector3 kzTurn(const KzVector3& p, const KzMatrix4& matrix) {
    KzVector3 turned{};
    for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) turned.v[column] += p.v[row] * matrix.m[row][column];
    return turned;
}
inline KzVector3 kzPlace(const KzVector3& p, const KzMatrix4& matrix) {
    return kzTurn(p, matrix) + KzVector3{{matrix.m[3][0], matrix.m[3][1], matrix.m[3][2]}};
}
// Negative when the matrix turns shapes inside out.
inline double kzTurnDeterminant(const KzMatrix4& matrix) {
    const auto row = [&](int i) { return KzVector3{{matrix.m[i][0], matrix.m[i][1], matrix.m[i][2]}}; };
    return kzDot(row(0), kzCross(row(1), row(2)));
}

}  // namespace kzhost
