// Curves through knots.
#include "host/document/curve_shape.h"

#include "host/document/transform_values.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kzhost {

namespace {

constexpr std::size_t framesInPiece = 64;

using Piece = std::array<KzVector3, 4>;

KzVector3 mix(const KzVector3& a, const KzVector3& b, double weight) { return a * (1 - weight) + b * weight; }

KzVector3 pointOf(const Piece& piece, double along) {
    const KzVector3 a = mix(piece[0], piece[1], along), b = mix(piece[1], piece[2], along),
                    c = mix(piece[2], piece[3], along);
    return mix(mix(a, b, along), mix(b, c, along), along);
}

// Derivatives by order, from 1 to 3.
KzVector3 derivativeOf(const Piece& piece, double along, int order) {
    const KzVector3 a = piece[1] - piece[0], b = piece[2] - piece[1], c = piece[3] - piece[2];
    if (order == 1) return mix(mix(a, b, along), mix(b, c, along), along) * 3;
    return order == 2 ? mix(b - a, c - b, along) * 6 : (c - b - (b - a)) * 6;
}

double sizeOf(const Piece& piece) {
    return kzLength(piece[1] - piece[0]) + kzLength(piece[2] - piece[1]) + kzLength(piece[3] - piece[2]);
}

// A quadrature of Gauss and Legendre with eight places.
double lengthByPlaces(const Piece& piece, double start, double end) {
    static constexpr double places[] = {0.1834346424956498, 0.5255324099163290, 0.7966664774136267, 0.9602898564975363};
    static constexpr double weights[] = {0.3626837833783620, 0.3137066458778873, 0.2223810344533745,
                                         0.1012285362903763};
    const double middle = (start + end) / 2, half = (end - start) / 2;
    double sum = 0;
    for (int i = 0; i < 4; ++i)
        for (const double side : {-1.0, 1.0})
            sum += weights[i] * kzLength(derivativeOf(piece, middle + side * half * places[i], 1));
    return sum * half;
}

// Halves the range until both halves tell no more than the whole.
double lengthOf(const Piece& piece, double start, double end, double whole, double tolerance, int depth) {
    const double middle = (start + end) / 2;
    const double first = lengthByPlaces(piece, start, middle), second = lengthByPlaces(piece, middle, end);
    if (depth == 0 || std::abs(first + second - whole) <= tolerance) return first + second;
    return lengthOf(piece, start, middle, first, tolerance, depth - 1) +
           lengthOf(piece, middle, end, second, tolerance, depth - 1);
}

// At a place where the curve stands still, the next derivatives have its direction, from the end of the piece backwards.
KzVector3 directionOf(const Piece& piece, double along) {
    const double tiny = 1e-12 * sizeOf(piece);
    for (int order = 1; order <= 3; ++order) {
        const KzVector3 derivative = derivativeOf(piece, along, order);
        if (kzLength(derivative) > tiny) return kzUnit(derivative) * (along == 1 && order == 2 ? -1 : 1);
    }
    return {};
}

// Turns what is across one direction into what is across another, by the smallest turn.
KzVector3 turned(const KzVector3& across, const KzVector3& from, const KzVector3& to) {
    const KzVector3 sum = from + to;
    const double size = kzDot(sum, sum);
    return size > 1e-24 ? across - sum * (2 * kzDot(across, to) / size) : across;
}

// The places where a polynomial of degree five by its control values changes its sign, by halving.
template <class Visit>
void visitRoots(const std::array<double, 6>& control, double start, double end, const Visit& visit) {
    const bool isAbove = std::any_of(control.begin(), control.end(), [](double each) { return each > 0; });
    const bool isBelow = std::any_of(control.begin(), control.end(), [](double each) { return each < 0; });
    if (!isAbove || !isBelow) return;
    const double middle = (start + end) / 2;
    if (end - start < 1e-15) return visit(middle);
    std::array<double, 6> first = control, second = control;
    for (std::size_t step = 1; step < 6; ++step) {
        for (std::size_t i = 0; i < 6 - step; ++i) second[i] = (second[i] + second[i + 1]) / 2;
        first[step] = second[0];
    }
    visitRoots(first, start, middle, visit);
    visitRoots(second, middle, end, visit);
}

// The control values of the product of the way from a position and the derivative, which is 0 where the way is across.
std::array<double, 6> acrossOf(const Piece& piece, const KzVector3& position) {
    static constexpr double ofCubic[] = {1, 3, 3, 1}, ofQuadratic[] = {1, 2, 1}, ofProduct[] = {1, 5, 10, 10, 5, 1};
    std::array<double, 6> control{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            control[i + j] +=
                ofCubic[i] * ofQuadratic[j] / ofProduct[i + j] * kzDot(piece[i] - position, piece[j + 1] - piece[j]);
    return control;
}

// How far a position is from the box around a piece, which contains it.
double distanceToBox(const Piece& piece, const KzVector3& position) {
    KzBounds box{piece[0], piece[0]};
    for (const KzVector3& point : piece) kzExtend(box, point);
    KzVector3 way{};
    for (int axis = 0; axis < 3; ++axis)
        way.v[axis] = std::max({box.min.v[axis] - position.v[axis], 0.0, position.v[axis] - box.max.v[axis]});
    return kzLength(way);
}

}  // namespace

std::size_t CurveDefinition::segmentCount() const { return knots.size() < 2 ? 1 : knots.size() - (isClosed ? 0 : 1); }

CCurveShape::CCurveShape(const CurveDefinition& definition) : m_isClosed(definition.isClosed) {
    addPieces(definition);
    m_lengths.push_back(0);
    for (const Piece& piece : m_pieces) m_lengths.push_back(m_lengths.back() + lengthIn(piece, 1));
}

// A part of degree 2 is two parabolas, which meet half-way between the control points of the cubic with those tangents.
void CCurveShape::addPieces(const CurveDefinition& definition) {
    const auto& knots = definition.knots;
    const std::size_t count = knots.size(), segments = definition.segmentCount();
    const auto tangentAt = [&](std::size_t i) {
        const bool isOpen = !definition.isClosed;
        const KzVector3& before = knots[i > 0 ? i - 1 : isOpen ? i : count - 1];
        const KzVector3& after = knots[i + 1 < count ? i + 1 : isOpen ? i : 0];
        const double steps = isOpen && (i == 0 || i + 1 == count) ? 1 : 2;
        return (after - before) * ((1 - definition.tension) / steps);
    };
    for (std::size_t i = 0; i < segments; ++i) {
        const std::size_t next = (i + 1) % count;
        const KzVector3 &start = knots[i], &end = knots[next];
        if (definition.degree == KZiCURVE_QUADRATIC) {
            const KzVector3 first = start + tangentAt(i) * 0.25, second = end - tangentAt(next) * 0.25;
            const KzVector3 middle = mix(first, second, 0.5);
            m_pieces.push_back({start, mix(start, first, 2.0 / 3), mix(middle, first, 2.0 / 3), middle});
            m_pieces.push_back({middle, mix(middle, second, 2.0 / 3), mix(end, second, 2.0 / 3), end});
        } else if (definition.degree == KZiCURVE_CUBIC) {
            m_pieces.push_back({start, start + tangentAt(i) * (1.0 / 3), end - tangentAt(next) * (1.0 / 3), end});
        } else {
            m_pieces.push_back({start, mix(start, end, 1.0 / 3), mix(start, end, 2.0 / 3), end});
        }
    }
}

CCurveShape::Place CCurveShape::place(double param) const {
    const double scaled = std::clamp(param, 0.0, 1.0) * static_cast<double>(m_pieces.size());
    const std::size_t index = std::min(static_cast<std::size_t>(scaled), m_pieces.size() - 1);
    return {m_pieces[index], index, scaled - static_cast<double>(index)};
}

KzVector3 CCurveShape::position(double param) const {
    const Place at = place(param);
    return pointOf(at.piece, at.along);
}

// A piece without length has the direction of the next one that has some, or of the one before.
KzVector3 CCurveShape::tangent(double param) const {
    const Place at = place(param);
    KzVector3 direction = directionOf(at.piece, at.along);
    for (std::size_t i = at.index + 1; i < m_pieces.size() && kzLength(direction) == 0; ++i)
        direction = directionOf(m_pieces[i], 0);
    for (std::size_t i = at.index; i > 0 && kzLength(direction) == 0; --i) direction = directionOf(m_pieces[i - 1], 1);
    return direction;
}

double CCurveShape::curvature(double param) const {
    const Place at = place(param);
    const KzVector3 first = derivativeOf(at.piece, at.along, 1), second = derivativeOf(at.piece, at.along, 2);
    const double speed = kzLength(first);
    return speed > 0 ? kzLength(kzCross(first, second)) / (speed * speed * speed) : 0;
}

double CCurveShape::lengthIn(const Piece& piece, double end) const {
    return lengthOf(piece, 0, end, lengthByPlaces(piece, 0, end), 1e-13 * sizeOf(piece), 16);
}

double CCurveShape::lengthTo(double param) const {
    const Place at = place(param);
    return m_lengths[at.index] + lengthIn(at.piece, at.along);
}

// Newton's steps are taken while they stay in the bracket, which shrinks in any case.
double CCurveShape::paramAt(double distance) const {
    if (!(distance > 0)) return 0;
    if (distance >= length()) return 1;
    const auto next = std::upper_bound(m_lengths.begin(), m_lengths.end(), distance);
    const auto index = static_cast<std::size_t>(next - m_lengths.begin()) - 1;
    const Piece& piece = m_pieces[index];
    const double wanted = distance - m_lengths[index], whole = m_lengths[index + 1] - m_lengths[index];
    double low = 0, high = 1, along = wanted / whole;
    for (int step = 0; step < 60; ++step) {
        const double miss = lengthIn(piece, along) - wanted;
        if (std::abs(miss) <= 4e-16 * whole) break;
        (miss < 0 ? low : high) = along;
        double better = along - miss / kzLength(derivativeOf(piece, along, 1));
        if (!(better > low && better < high)) better = (low + high) / 2;
        if (better == along || better == low || better == high) break;
        along = better;
    }
    return (static_cast<double>(index) + along) / static_cast<double>(m_pieces.size());
}

double CCurveShape::closest(const KzVector3& position) const {
    double best = 0, distance = std::numeric_limits<double>::infinity();
    const auto consider = [&](std::size_t index, double along) {
        const double found = kzLength(pointOf(m_pieces[index], along) - position);
        if (found >= distance) return;
        distance = found;
        best = (static_cast<double>(index) + along) / static_cast<double>(m_pieces.size());
    };
    for (std::size_t i = 0; i < m_pieces.size(); ++i) consider(i, 0);
    consider(m_pieces.size() - 1, 1);
    for (std::size_t i = 0; i < m_pieces.size(); ++i)
        if (distanceToBox(m_pieces[i], position) < distance)
            visitRoots(acrossOf(m_pieces[i], position), 0, 1, [&](double along) { consider(i, along); });
    return best;
}

// Frames

// Two reflections, which keep the frame from turning about the tangent up to the fourth power of the step.
CCurveShape::Frame CCurveShape::transport(const Frame& from, double param) const {
    Frame to{position(param), tangent(param), from.normal};
    const KzVector3 way = to.position - from.position;
    const double square = kzDot(way, way);
    if (square > 0) {
        const auto reflect = [&](const KzVector3& vector) { return vector - way * (2 * kzDot(way, vector) / square); };
        const KzVector3 mirrored = reflect(from.tangent), gap = to.tangent - mirrored;
        const double size = kzDot(gap, gap);
        to.normal = reflect(from.normal);
        if (size > 1e-24) to.normal = to.normal - gap * (2 * kzDot(gap, to.normal) / size);
    } else {
        to.normal = turned(from.normal, from.tangent, to.tangent);
    }
    to.normal = kzUnit(to.normal - to.tangent * kzDot(to.normal, to.tangent));
    return to;
}

void CCurveShape::addFrames() const {
    const KzVector3 start = tangent(0);
    m_frames.push_back({position(0), start, kzAcross(start)});
    const std::size_t count = m_pieces.size() * framesInPiece;
    for (std::size_t i = 1; i <= count; ++i)
        m_frames.push_back(transport(m_frames.back(), static_cast<double>(i) / static_cast<double>(count)));
    if (!m_isClosed) return;
    const Frame &first = m_frames.front(), &last = m_frames.back();
    const KzVector3 around = turned(last.normal, last.tangent, first.tangent);
    m_twist = std::atan2(kzDot(kzCross(first.normal, around), first.tangent), kzDot(first.normal, around));
}

// A closed curve's frames come back to where they started: the rest is spread over the curve.
KzVector3 CCurveShape::normal(double param) const {
    if (m_frames.empty()) addFrames();
    const double at = std::clamp(param, 0.0, 1.0);
    const auto index = static_cast<std::size_t>(at * static_cast<double>(m_frames.size() - 1));
    const Frame frame = transport(m_frames[index], at);
    const double angle = -m_twist * at;
    return frame.normal * std::cos(angle) + kzCross(frame.tangent, frame.normal) * std::sin(angle);
}

}  // namespace kzhost
