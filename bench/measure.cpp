// Interleaved measuring and its tables.
#include "bench/measure.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

const char* theSelection = "";

}  // namespace

void kzSelect(int count, char** arguments) {
    if (count > 1) theSelection = arguments[1];
}

bool kzSelected(const char* name) { return std::strstr(name, theSelection) != nullptr; }

double kzThreadTime() noexcept {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double kzLowerQuartile(std::vector<double> samples) {
    const auto at = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 4);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

std::vector<double> kzInterleave(const std::vector<KzWork>& works) {
    std::vector<std::vector<double>> samples(works.size());
    for (int round = 0; round < kzRounds; ++round)
        for (std::size_t index = 0; index < works.size(); ++index) samples[index].push_back(works[index]());
    std::vector<double> quartiles;
    quartiles.reserve(samples.size());
    for (const std::vector<double>& each : samples) quartiles.push_back(kzLowerQuartile(each));
    return quartiles;
}

void kzPrintHead(const char* title) {
    std::printf("%s (nanoseconds, lower quartile of %d rounds of %d calls)\n", title, kzRounds, kzChunk);
    std::printf("  %-42s %9s %9s %7s %7s\n", "", "ours", "twin", "ratio", "target");
}

bool kzPrintRatio(const char* name, double ours, double twin, double target) {
    const double ratio = ours / twin;
    std::printf("  %-42s %9.1f %9.1f %7.2f", name, ours, twin, ratio);
    if (target > 0) std::printf(" %7.2f%s", target, ratio > target ? "  over" : "");
    std::printf("\n");
    return target <= 0 || ratio <= target;
}
