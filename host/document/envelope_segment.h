// The shape of an envelope between two of its keys: a cubic in both time and value.
#pragma once

#include <limits>

namespace kzhost {

// Extremes that grow. Nothing is in it at first.
struct ValueRange {
    double lowest = std::numeric_limits<double>::infinity();
    double highest = -std::numeric_limits<double>::infinity();
    void add(double value) {
        if (value < lowest) lowest = value;
        if (value > highest) highest = value;
    }
};

// Limits every number of an envelope, so that differences of two of them and their sums stay finite.
inline constexpr double kzGreatestEnvelopeNumber = 1e300;

// One end of a segment. The control point lies on the line through the end with that slope, `weight` thirds of the way.
struct SegmentEnd {
    double time, value, slope, weight;
};

class CEnvelopeSegment {
public:
    CEnvelopeSegment(const SegmentEnd& start, const SegmentEnd& end, bool isStepped);

    // Times are those of the ends or between them.
    double value(double time) const;
    double slope(double time) const;
    void addExtremes(double start, double end, ValueRange& range) const;

private:
    // How far along the curve a time is, from 0 to 1.
    double alongOf(double time) const;
    double valueAlong(double along) const;

    double m_start, m_length;
    double m_times[4];   // of the control points, from 0 to 1
    double m_values[4];  // of the control points
    bool m_isStepped, m_isEven;
};

}  // namespace kzhost
