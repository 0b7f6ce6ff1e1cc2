// Rotations as matrices, quaternions and angles.
#include "host/document/transform_values.h"

#include <limits>
#include <utility>

namespace kzhost {

namespace {

// A rotation about one axis, in radians. A positive angle turns the next axis towards the one after it.
KzMatrix3 rotationAbout(int axis, double angle) {
    KzMatrix3 matrix = kzIdentity3();
    const int next = (axis + 1) % 3, last = (axis + 2) % 3;
    matrix.m[next][next] = matrix.m[last][last] = std::cos(angle);
    matrix.m[next][last] = std::sin(angle);
    matrix.m[last][next] = -std::sin(angle);
    return matrix;
}

// The length of a vector whose squares may be too large or too small for a double.
double safeLength(const KzVector3& a) { return std::hypot(a.v[0], a.v[1], a.v[2]); }

KzVector3 vectorPart(const KzQuaternion& rotation) { return {{rotation.v[0], rotation.v[1], rotation.v[2]}}; }

}  // namespace

KzMatrix3 kzIdentity3() { return {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}; }

KzMatrix3 operator*(const KzMatrix3& a, const KzMatrix3& b) {
    KzMatrix3 product{};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            for (int k = 0; k < 3; ++k) product.m[row][column] += a.m[row][k] * b.m[k][column];
    return product;
}

KzMatrix3 kzMatrixOfRows(const KzVector3& x, const KzVector3& y, const KzVector3& z) {
    KzMatrix3 matrix;
    for (int column = 0; column < 3; ++column) {
        matrix.m[0][column] = x.v[column];
        matrix.m[1][column] = y.v[column];
        matrix.m[2][column] = z.v[column];
    }
    return matrix;
}

KzMatrix3 kzUpperLeft(const KzMatrix4& matrix) {
    KzMatrix3 part;
    for (int row = 0; row < 3; ++row) std::copy_n(matrix.m[row], 3, part.m[row]);
    return part;
}

KzMatrix4 kzMatrixOf(const KzMatrix3& axes, const KzVector3& position) {
    KzMatrix4 matrix = kzIdentity();
    for (int row = 0; row < 3; ++row) std::copy_n(axes.m[row], 3, matrix.m[row]);
    std::copy_n(position.v, 3, matrix.m[3]);
    return matrix;
}

KzMatrix3 kzRotationOfEuler(const KzVector3& angles, int order) {
    KzMatrix3 matrix = kzIdentity3();
    for (const int axis : kzAxesOf[order]) matrix = matrix * rotationAbout(axis, angles.v[axis]);
    return matrix;
}

// With the axes i, j, k in order of rotation, the row i of the product is (cos j cos k, +-cos j sin k, -+sin j). The signs
// are those of an even or odd permutation.
KzVector3 kzEulerOfRotation(const KzMatrix3& rotation, int order) {
    const int i = kzAxesOf[order][0], j = kzAxesOf[order][1], k = kzAxesOf[order][2];
    const double sign = (i + 1) % 3 == j ? 1 : -1;
    const auto& m = rotation.m;
    const double cosine = std::hypot(m[i][i], m[i][j]);
    KzVector3 angles{};
    angles.v[j] = std::atan2(-sign * m[i][k], cosine);
    if (cosine > 1e-12) {
        angles.v[i] = std::atan2(sign * m[j][k], m[k][k]);
        angles.v[k] = std::atan2(sign * m[i][j], m[i][i]);
    } else {
        angles.v[i] = std::atan2(-sign * m[k][j], m[j][j]);
    }
    return angles;
}

KzVector3 kzAcross(const KzVector3& direction) {
    const KzVector3 size{{std::abs(direction.v[0]), std::abs(direction.v[1]), std::abs(direction.v[2])}};
    KzVector3 least{};
    least.v[std::min_element(size.v, size.v + 3) - size.v] = 1;
    return kzUnit(kzCross(direction, least));
}

RotationAndScale kzRotationAndScale(const KzMatrix3& axes) {
    KzVector3 rows[3], scale{};
    for (int i = 0; i < 3; ++i) {
        KzVector3 row = kzRow(axes, i);
        const double length = safeLength(row);
        if (length == 0) continue;
        row = {{row.v[0] / length, row.v[1] / length, row.v[2] / length}};
        double rest = 1;
        // A second pass removes what rounding left of the first.
        for (int pass = 0; pass < 2; ++pass) {
            for (int j = 0; j < i; ++j)
                if (scale.v[j] != 0) row = row - rows[j] * kzDot(row, rows[j]);
            const double left = kzLength(row);
            rest *= left;
            if (rest < 1e-14) break;
            row = row * (1 / left);
        }
        if (rest < 1e-14) continue;
        rows[i] = row;
        scale.v[i] = length * rest;
    }
    const auto isThere = [&](int i) { return scale.v[i] != 0; };
    const int count = isThere(0) + isThere(1) + isThere(2);
    if (count == 0) return {kzIdentity3(), scale};
    for (int i = 0; i < 3; ++i) {
        const int next = (i + 1) % 3, last = (i + 2) % 3;
        if (count == 1 && isThere(last)) rows[i] = kzAcross(rows[last]);
        if (count == 1 && isThere(last)) rows[next] = kzCross(rows[last], rows[i]);
        if (count == 2 && !isThere(i)) rows[i] = kzCross(rows[next], rows[last]);
    }
    if (kzDot(rows[0], kzCross(rows[1], rows[2])) < 0) {
        rows[0] = rows[0] * -1;
        scale.v[0] = -scale.v[0];
    }
    return {kzMatrixOfRows(rows[0], rows[1], rows[2]), scale};
}

double kzDeterminant(const KzMatrix4& matrix) {
    const auto& m = matrix.m;
    const auto pair = [&](int row, int a, int b) { return m[row][a] * m[row + 1][b] - m[row][b] * m[row + 1][a]; };
    return pair(0, 0, 1) * pair(2, 2, 3) - pair(0, 0, 2) * pair(2, 1, 3) + pair(0, 0, 3) * pair(2, 1, 2) +
           pair(0, 1, 2) * pair(2, 0, 3) - pair(0, 1, 3) * pair(2, 0, 2) + pair(0, 2, 3) * pair(2, 0, 1);
}

// Elimination with rows that are scaled to one size before: an axis may be as short as it likes, only its direction must
// differ from those of the others.
std::optional<KzMatrix4> kzInverse(const KzMatrix4& matrix) {
    double rows[4][8] = {};
    for (int row = 0; row < 4; ++row) {
        double size = 0;
        for (const double number : matrix.m[row]) size = std::max(size, std::abs(number));
        if (!(size > 0) || !std::isfinite(size)) return std::nullopt;
        for (int column = 0; column < 4; ++column) rows[row][column] = matrix.m[row][column] / size;
        rows[row][4 + row] = 1 / size;
    }
    for (int step = 0; step < 4; ++step) {
        int best = step;
        for (int row = step; row < 4; ++row)
            if (std::abs(rows[row][step]) > std::abs(rows[best][step])) best = row;
        if (std::abs(rows[best][step]) < 8 * std::numeric_limits<double>::epsilon()) return std::nullopt;
        std::swap(rows[best], rows[step]);
        const double pivot = rows[step][step];
        for (double& number : rows[step]) number /= pivot;
        for (int row = 0; row < 4; ++row) {
            const double factor = rows[row][step];
            for (int column = 0; row != step && column < 8; ++column) rows[row][column] -= factor * rows[step][column];
        }
    }
    KzMatrix4 inverse;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column) {
            inverse.m[row][column] = rows[row][4 + column];
            if (!std::isfinite(inverse.m[row][column])) return std::nullopt;
        }
    return inverse;
}

double kzDot(const KzQuaternion& a, const KzQuaternion& b) {
    return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2] + a.v[3] * b.v[3];
}

std::optional<KzQuaternion> kzUnit(const KzQuaternion& rotation) {
    const double length = std::hypot(safeLength(vectorPart(rotation)), rotation.v[3]);
    if (!(length > 0) || !std::isfinite(length)) return std::nullopt;
    return KzQuaternion{
        {rotation.v[0] / length, rotation.v[1] / length, rotation.v[2] / length, rotation.v[3] / length}};
}

KzQuaternion kzThen(const KzQuaternion& first, const KzQuaternion& second) {
    const KzVector3 a = vectorPart(second), b = vectorPart(first);
    const KzVector3 v = b * second.v[3] + a * first.v[3] + kzCross(a, b);
    return {{v.v[0], v.v[1], v.v[2], second.v[3] * first.v[3] - kzDot(a, b)}};
}

KzMatrix3 kzRotationOf(const KzQuaternion& rotation) {
    const double x = rotation.v[0], y = rotation.v[1], z = rotation.v[2], w = rotation.v[3];
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
             {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
             {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}}};
}

// The largest of the four numbers is computed from the diagonal, and the others from it, so that nothing cancels.
KzQuaternion kzQuaternionOf(const KzMatrix3& rotation) {
    const auto& m = rotation.m;
    const double trace = m[0][0] + m[1][1] + m[2][2];
    int i = 0;
    for (int axis : {1, 2})
        if (m[axis][axis] > m[i][i]) i = axis;
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    KzQuaternion found;
    if (trace >= m[i][i]) {
        found = {{m[1][2] - m[2][1], m[2][0] - m[0][2], m[0][1] - m[1][0], 1 + trace}};
    } else {
        found.v[i] = 1 + m[i][i] - m[j][j] - m[k][k];
        found.v[j] = m[i][j] + m[j][i];
        found.v[k] = m[i][k] + m[k][i];
        found.v[3] = m[j][k] - m[k][j];
    }
    return kzUnit(found).value_or(KzQuaternion{{0, 0, 0, 1}});
}

KzQuaternion kzQuaternionAbout(const KzVector3& axis, double angle) {
    const KzVector3 v = axis * std::sin(angle / 2);
    return {{v.v[0], v.v[1], v.v[2], std::cos(angle / 2)}};
}

KzQuaternion kzBlend(const KzQuaternion& a, const KzQuaternion& b, double weight) {
    const double side = kzDot(a, b) < 0 ? -1 : 1;
    double chord = 0, sum = 0;
    for (int i = 0; i < 4; ++i) {
        chord += (side * b.v[i] - a.v[i]) * (side * b.v[i] - a.v[i]);
        sum += (side * b.v[i] + a.v[i]) * (side * b.v[i] + a.v[i]);
    }
    // Half the angle by both chords is exact for the smallest angles, of which the cosine tells nothing.
    const double angle = 2 * std::atan2(std::sqrt(chord), std::sqrt(sum)), sine = std::sin(angle);
    const double first = sine > 0 ? std::sin((1 - weight) * angle) / sine : 1 - weight;
    const double second = sine > 0 ? std::sin(weight * angle) / sine : weight;
    KzQuaternion blended;
    for (int i = 0; i < 4; ++i) blended.v[i] = first * a.v[i] + second * side * b.v[i];
    return kzUnit(blended).value_or(a);
}

}  // namespace kzhost
