// Blurring pixels in memory: along the lines first, and then along the columns.
#include "host/objects/pixel_blur.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace kzhost {

namespace {

// One run of pixels. No pixel is further away than the whole image, so a wide Gaussian ends there.
void blurRun(float* first, std::int32_t count, std::size_t stride, const std::vector<double>& weights) {
    const auto reach = static_cast<std::int32_t>(weights.size()) - 1;
    std::vector<std::array<double, 4>> sums(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i)
        for (std::int32_t offset = -reach; offset <= reach; ++offset) {
            const auto from = static_cast<std::size_t>(std::clamp(i + offset, 0, count - 1));
            for (std::size_t c = 0; c < 4; ++c)
                sums[static_cast<std::size_t>(i)][c] +=
                    weights[static_cast<std::size_t>(std::abs(offset))] * double{first[from * stride + c]};
        }
    for (std::size_t i = 0; i < sums.size(); ++i)
        for (std::size_t c = 0; c < 4; ++c) first[i * stride + c] = static_cast<float>(sums[i][c]);
}

}  // namespace

void kzBlurPixels(CImage& image, double deviation) {
    if (!(deviation > 0)) return;
    // From any pixel, what is further away than the longest side is beyond an edge: one weight stands for all of that.
    const double window = std::floor(4 * deviation + 0.5);
    const std::size_t longest = static_cast<std::size_t>(std::max(image.width(), image.height()));
    std::vector<double> weights;
    double sum = 0;
    for (std::size_t i = 0; static_cast<double>(i) <= window; ++i) {
        const double distance = static_cast<double>(i) / deviation, weight = std::exp(-0.5 * distance * distance);
        if (i <= longest) weights.push_back(weight);
        else weights.back() += weight;
        sum += (i == 0 ? 1 : 2) * weight;
    }
    for (double& weight : weights) weight /= sum;
    const auto pixelAt = [&](std::int32_t x, std::int32_t y) { return reinterpret_cast<float*>(image.at(x, y)); };
    for (std::int32_t y = 0; y < image.height(); ++y) blurRun(pixelAt(0, y), image.width(), 4, weights);
    for (std::int32_t x = 0; x < image.width(); ++x)
        blurRun(pixelAt(x, 0), image.height(), 4 * static_cast<std::size_t>(image.width()), weights);
}

}  // namespace kzhost
