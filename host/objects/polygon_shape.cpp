// The shape of one polygon.
#include "host/objects/polygon_shape.h"

#include "kz/mesh.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace kzhost {

namespace {

// Twice the area of the triangle, negative if it faces the other way than the normal.
double turn(const KzVector3& a, const KzVector3& b, const KzVector3& c, const KzVector3& normal) {
    return kzDot(kzCross(b - a, c - a), normal);
}

double leastAngle(const KzVector3& a, const KzVector3& b, const KzVector3& c) {
    const auto angle = [](const KzVector3& at, const KzVector3& left, const KzVector3& right) {
        return std::acos(std::clamp(kzDot(kzUnit(left - at), kzUnit(right - at)), -1.0, 1.0));
    };
    return std::min({angle(a, b, c), angle(b, c, a), angle(c, a, b)});
}

// Cuts off one corner after another whose triangle contains no other corner.
class CEarCutter {
public:
    CEarCutter(std::span<const KzVector3> corners, bool avoidsThin)
        : m_corners(corners), m_normal(kzUnit(kzOutlineNormal(corners))), m_avoidsThin(avoidsThin),
          m_left(corners.size()) {
        std::iota(m_left.begin(), m_left.end(), 0U);
    }

    std::vector<Triangle> cut() {
        std::vector<Triangle> triangles;
        while (m_left.size() > 3) {
            const std::size_t ear = bestEar();
            triangles.push_back(triangleAt(ear));
            m_left.erase(m_left.begin() + static_cast<std::ptrdiff_t>(ear));
        }
        triangles.push_back({m_left[0], m_left[1], m_left[2]});
        return triangles;
    }

private:
    Triangle triangleAt(std::size_t at) const {
        const std::size_t count = m_left.size();
        return {m_left[(at + count - 1) % count], m_left[at], m_left[(at + 1) % count]};
    }
    bool isEar(const Triangle& triangle) const {
        const std::uint32_t a = triangle[0], b = triangle[1], c = triangle[2];
        if (turn(m_corners[a], m_corners[b], m_corners[c], m_normal) <= 0) return false;
        return std::none_of(m_left.begin(), m_left.end(), [&](std::uint32_t other) {
            if (other == a || other == b || other == c) return false;
            const KzVector3& place = m_corners[other];
            return turn(m_corners[a], m_corners[b], place, m_normal) >= 0 &&
                   turn(m_corners[b], m_corners[c], place, m_normal) >= 0 &&
                   turn(m_corners[c], m_corners[a], place, m_normal) >= 0;
        });
    }
    // An outline that crosses itself may have no ear: then any corner does.
    std::size_t bestEar() const {
        std::size_t best = 0;
        double bestAngle = -1;
        for (std::size_t at = 0; at < m_left.size(); ++at) {
            const Triangle triangle = triangleAt(at);
            if (!isEar(triangle)) continue;
            if (!m_avoidsThin) return at;
            const double angle = leastAngle(m_corners[triangle[0]], m_corners[triangle[1]], m_corners[triangle[2]]);
            if (angle > bestAngle) best = at, bestAngle = angle;
        }
        return best;
    }

    std::span<const KzVector3> m_corners;
    KzVector3 m_normal;
    bool m_avoidsThin;
    std::vector<std::uint32_t> m_left;
};

std::vector<Triangle> fan(std::uint32_t count) {
    std::vector<Triangle> triangles;
    for (std::uint32_t at = 1; at + 1 < count; ++at) triangles.push_back({0, at, at + 1});
    return triangles;
}

// From both ends of the first edge towards the opposite side, in turn.
std::vector<Triangle> strip(std::uint32_t count) {
    std::vector<Triangle> triangles;
    std::uint32_t low = 0, high = count - 1;
    for (bool isLow = true; low + 1 < high; isLow = !isLow) {
        if (isLow) {
            triangles.push_back({low, low + 1, high});
            ++low;
        } else {
            triangles.push_back({low, high - 1, high});
            --high;
        }
    }
    return triangles;
}

KzVector3 middle(std::span<const KzVector3> corners) {
    KzVector3 sum{};
    for (const KzVector3& corner : corners) sum = sum + corner;
    return sum * (1.0 / static_cast<double>(corners.size()));
}

// The fraction of the way from a to b that is nearest to the position.
double nearestOnLine(const KzVector3& position, const KzVector3& a, const KzVector3& b) {
    const double square = kzDot(b - a, b - a);
    return square > 0 ? std::clamp(kzDot(position - a, b - a) / square, 0.0, 1.0) : 0;
}

}  // namespace

KzVector3 kzOutlineNormal(std::span<const KzVector3> corners) {
    KzVector3 sum{};
    for (std::size_t at = 1; at + 1 < corners.size(); ++at)
        sum = sum + kzCross(corners[at] - corners[0], corners[at + 1] - corners[0]);
    return sum;
}

bool kzIsConvex(std::span<const KzVector3> corners) {
    const KzVector3 normal = kzOutlineNormal(corners);
    const std::size_t count = corners.size();
    for (std::size_t at = 0; at < count; ++at)
        if (turn(corners[at], corners[(at + 1) % count], corners[(at + 2) % count], normal) < 0) return false;
    return true;
}

std::vector<Triangle> kzTriangulate(std::span<const KzVector3> corners, std::int32_t method) {
    const auto count = static_cast<std::uint32_t>(corners.size());
    if (method == KZiTRIANGULATE_QUALITY) return CEarCutter(corners, true).cut();
    if (count > 3 && !kzIsConvex(corners)) return CEarCutter(corners, false).cut();
    return method == KZiTRIANGULATE_STRIP ? strip(count) : fan(count);
}

double kzOffPlane(std::span<const KzVector3> corners) {
    const KzVector3 normal = kzUnit(kzOutlineNormal(corners)), center = middle(corners);
    double greatest = 0;
    for (const KzVector3& corner : corners) greatest = std::max(greatest, std::abs(kzDot(corner - center, normal)));
    return greatest;
}

// A place whose foot lies outside is nearest to one of the sides.
TrianglePlace kzNearest(const KzVector3& position, const std::array<KzVector3, 3>& triangle) {
    const KzVector3 &a = triangle[0], &b = triangle[1], &c = triangle[2];
    const KzVector3 normal = kzCross(b - a, c - a);
    TrianglePlace nearest{.distance = -1};
    const auto offer = [&](const std::array<double, 3>& weights) {
        const KzVector3 place = a * weights[0] + b * weights[1] + c * weights[2];
        const double distance = kzLength(position - place);
        if (nearest.distance < 0 || distance < nearest.distance) nearest = {distance, weights, place};
    };
    if (const double square = kzDot(normal, normal); square > 0) {
        const double second = kzDot(kzCross(position - a, c - a), normal) / square;
        const double third = kzDot(kzCross(b - a, position - a), normal) / square;
        if (second >= 0 && third >= 0 && second + third <= 1) offer({1 - second - third, second, third});
    }
    if (nearest.distance < 0)
        for (std::size_t at = 0; at < 3; ++at) {
            const std::size_t next = (at + 1) % 3;
            const double along = nearestOnLine(position, triangle[at], triangle[next]);
            std::array<double, 3> weights{};
            weights[at] = 1 - along;
            weights[next] = along;
            offer(weights);
        }
    return nearest;
}

std::optional<TrianglePlace> kzMeet(const KzVector3& origin, const KzVector3& direction,
                                    const std::array<KzVector3, 3>& triangle) {
    const auto& [a, b, c] = triangle;
    const KzVector3 across = kzCross(direction, c - a);
    const double determinant = kzDot(b - a, across);
    if (determinant == 0) return std::nullopt;
    const double second = kzDot(origin - a, across) / determinant;
    const KzVector3 other = kzCross(origin - a, b - a);
    const double third = kzDot(direction, other) / determinant;
    const double distance = kzDot(c - a, other) / determinant;
    // Rays along a shared side must not slip between its triangles.
    constexpr double slack = 1e-12;
    if (!(second >= -slack && third >= -slack && second + third <= 1 + slack && distance >= 0)) return std::nullopt;
    return TrianglePlace{distance, {1 - second - third, second, third}, origin + direction * distance};
}

}  // namespace kzhost
