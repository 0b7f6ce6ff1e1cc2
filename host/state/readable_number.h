// Numbers in texts for people.
#pragma once

#include <cmath>
#include <limits>

namespace kzhost {

// The number for a text. What is not a number has no sign there, which tells no more than how it was computed.
inline double kzReadable(double number) noexcept {
    return std::isnan(number) ? std::numeric_limits<double>::quiet_NaN() : number;
}

}  // namespace kzhost
