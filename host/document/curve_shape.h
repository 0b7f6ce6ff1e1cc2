// Curves through knots: positions, lengths, frames and closest points by a parameter from 0 to 1.
#pragma once

#include "host/document/vectors.h"

#include "kz/envelope.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kzhost {

// What makes a curve. It passes its knots at even steps of the parameter, in the direction of the line between the
// neighbours if its degree is above 1; a tension of 1 lets it stop there, 0 is the smooth rule.
struct CurveDefinition {
    std::vector<KzVector3> knots;
    std::uint32_t degree = KZiCURVE_CUBIC;
    bool isClosed = false;
    double tension = 0;
    double radius = 0;  // metres

    std::size_t segmentCount() const;
};

// A curve that does not change, with at least one knot. All methods take parameters from 0 to 1. One thread at a time may
// use it.
class CCurveShape {
public:
    explicit CCurveShape(const CurveDefinition& definition);

    KzVector3 position(double param) const;
    KzVector3 tangent(double param) const;  // null if the curve is a single point
    KzVector3 normal(double param) const;
    double curvature(double param) const;
    double length() const { return m_lengths.back(); }
    double lengthTo(double param) const;
    double paramAt(double distance) const;
    double closest(const KzVector3& position) const;

private:
    // A cubic by its control points; the parts of all degrees are cubics.
    using Piece = std::array<KzVector3, 4>;
    struct Place {
        const Piece& piece;
        std::size_t index;
        double along;
    };
    struct Frame {
        KzVector3 position, tangent, normal;
    };

    void addPieces(const CurveDefinition& definition);
    void addFrames() const;
    Place place(double param) const;
    Frame transport(const Frame& from, double param) const;
    double lengthIn(const Piece& piece, double end) const;

    std::vector<Piece> m_pieces;
    std::vector<double> m_lengths;  // from the start to the end of each piece, after a 0
    bool m_isClosed;
    // At even steps of the parameter, when a normal is asked for: `framesInPiece` for each piece and one at the end.
    mutable std::vector<Frame> m_frames;
    mutable double m_twist = 0;  // what the frames of a closed curve turn in total
};

}  // namespace kzhost
