// What proofs share: how long they are, and how they tell their figures to whoever collects them.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>

// How often something is done: few times in the tests, and as often as `./dev prove` says, which names the share of the
// whole length in KZ_PROVE.
inline int kzProofLength(int quick, int whole) {
    const char* share = std::getenv("KZ_PROVE");
    return share != nullptr ? std::max(quick, static_cast<int>(whole * std::strtod(share, nullptr))) : quick;
}

inline void kzFigure(const char* name, double value) { std::printf("figure: %s = %.6g\n", name, value); }
