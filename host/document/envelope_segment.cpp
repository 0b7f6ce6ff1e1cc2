// The shape of an envelope between two of its keys: a cubic in both time and value.
#include "host/document/envelope_segment.h"

#include <algorithm>
#include <cmath>

namespace kzhost {

namespace {

double saturate(double number) { return std::clamp(number, -1e305, 1e305); }

// A cubic by its four control values. No step leaves their range, so nothing overflows.
double cubicAt(const double (&control)[4], double along) {
    const double rest = 1 - along;
    const double a = rest * control[0] + along * control[1];
    const double b = rest * control[1] + along * control[2];
    const double c = rest * control[2] + along * control[3];
    return rest * (rest * a + along * b) + along * (rest * b + along * c);
}

// The derivatives of such a cubic, by order from 1 to 3.
double derivativeAt(const double (&control)[4], double along, int order) {
    const double first[] = {control[1] - control[0], control[2] - control[1], control[3] - control[2]};
    const double rest = 1 - along;
    if (order == 1) return 3 * (rest * rest * first[0] + 2 * rest * along * first[1] + along * along * first[2]);
    const double second[] = {first[1] - first[0], first[2] - first[1]};
    return order == 2 ? 6 * (rest * second[0] + along * second[1]) : 6 * (second[1] - second[0]);
}

}  // namespace

CEnvelopeSegment::CEnvelopeSegment(const SegmentEnd& start, const SegmentEnd& end, bool isStepped)
    : m_start(start.time), m_length(end.time - start.time), m_times{0, start.weight / 3, 1 - end.weight / 3, 1},
      m_values{start.value, saturate(start.value + m_length * start.slope * (start.weight / 3)),
               saturate(end.value - m_length * end.slope * (end.weight / 3)), end.value},
      m_isStepped(isStepped), m_isEven(start.weight == 1 && end.weight == 1) {}

// Weights are at most 3, so time never turns back and there is one solution. Newton's steps are taken while they stay in
// the bracket, which shrinks in any case: where time stands still along the curve, they alone would fail.
double CEnvelopeSegment::alongOf(double time) const {
    const double wanted = std::clamp((time - m_start) / m_length, 0.0, 1.0);
    if (m_isEven || wanted == 0 || wanted == 1) return wanted;
    double low = 0, high = 1, along = wanted;
    for (int step = 0; step < 100 && low < high; ++step) {
        const double miss = cubicAt(m_times, along) - wanted;
        if (miss == 0) break;
        (miss < 0 ? low : high) = along;
        double next = along - miss / derivativeAt(m_times, along, 1);
        if (!(next > low && next < high)) next = low + (high - low) / 2;
        if (next == along || next == low || next == high) break;
        along = next;
    }
    return along;
}

double CEnvelopeSegment::valueAlong(double along) const { return cubicAt(m_values, along); }

double CEnvelopeSegment::value(double time) const {
    if (m_isStepped) return time < m_start + m_length ? m_values[0] : m_values[3];
    return valueAlong(alongOf(time));
}

// Where time stands still along the curve, as at a key of weight 0, the next derivatives give the direction.
double CEnvelopeSegment::slope(double time) const {
    if (m_isStepped) return 0;
    const double along = alongOf(time);
    for (int order = 1; order <= 3; ++order) {
        const double pace = m_isEven ? 1 : derivativeAt(m_times, along, order);
        if (pace == 0) continue;
        return std::clamp(derivativeAt(m_values, along, order) / pace / m_length, -std::numeric_limits<double>::max(),
                          std::numeric_limits<double>::max());
    }
    return 0;
}

void CEnvelopeSegment::addExtremes(double start, double end, ValueRange& range) const {
    if (m_isStepped) return range.add(m_values[0]);
    const double first = alongOf(start), last = alongOf(end);
    range.add(valueAlong(first));
    range.add(valueAlong(last));
    // The derivative is a * x^2 + 2 * b * x + c, scaled so that its square stays finite.
    const double rises[] = {m_values[1] - m_values[0], m_values[2] - m_values[1], m_values[3] - m_values[2]};
    const double scale = std::max({std::abs(rises[0]), std::abs(rises[1]), std::abs(rises[2])});
    if (scale == 0) return;
    const double c = rises[0] / scale, b = rises[1] / scale - c, a = rises[2] / scale - rises[1] / scale - b;
    const double discriminant = b * b - a * c;
    if (discriminant < 0) return;
    const double sum = -(b + std::copysign(std::sqrt(discriminant), b));
    for (const double root : {sum / a, c / sum})
        if (root > first && root < last) range.add(valueAlong(root));
}

}  // namespace kzhost
