// Choosing the colours of a palette: a box around all colours is split, time and again, where it weighs the most.
#include "host/objects/index_image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace kzhost {

namespace {

// Pixels that are alike in bytes, with the sum of their components.
struct ColorBin {
    std::array<std::uint8_t, 3> key{};
    std::array<double, 3> sum{};
    double weight = 0;
};
using ColorBins = std::vector<ColorBin>;

float insideRange(float component) { return component > 0 ? std::min(component, 1.0F) : 0; }
bool isSeen(const PixelColor& color) { return color[3] >= 0.5F; }

ColorBins binsOf(const std::vector<PixelColor>& pixels) {
    std::map<std::array<std::uint8_t, 3>, ColorBin> bins;
    for (const PixelColor& pixel : pixels) {
        if (!isSeen(pixel)) continue;
        std::array<std::uint8_t, 3> key{};
        for (std::size_t c = 0; c < 3; ++c) key[c] = static_cast<std::uint8_t>(std::lround(pixel[c] * 255));
        ColorBin& bin = bins[key];
        bin.key = key;
        bin.weight += 1;
        for (std::size_t c = 0; c < 3; ++c) bin.sum[c] += pixel[c];
    }
    ColorBins all;
    for (auto& [key, bin] : bins) all.push_back(bin);
    return all;
}

struct ColorBox {
    ColorBins bins;
    std::size_t axis = 0;  // the longest side
    double urgency = 0;    // how much there is to gain by splitting it

    explicit ColorBox(ColorBins given) : bins(std::move(given)) {
        int longest = -1;
        double weight = 0;
        for (const ColorBin& bin : bins) weight += bin.weight;
        for (std::size_t c = 0; c < 3; ++c) {
            const auto [low, high] = std::minmax_element(
                bins.begin(), bins.end(), [&](const ColorBin& a, const ColorBin& b) { return a.key[c] < b.key[c]; });
            if (high->key[c] - low->key[c] <= longest) continue;
            longest = high->key[c] - low->key[c];
            axis = c;
        }
        urgency = longest * longest * weight;
    }
    // Takes the half beyond the median away. There are at least two bins.
    ColorBins split() {
        std::sort(bins.begin(), bins.end(), [&](const ColorBin& a, const ColorBin& b) {
            return std::pair(a.key[axis], a.key) < std::pair(b.key[axis], b.key);
        });
        double whole = 0, half = 0;
        for (const ColorBin& bin : bins) whole += bin.weight;
        std::size_t at = 0;
        while (at + 1 < bins.size() && half + bins[at].weight <= whole / 2) half += bins[at++].weight;
        at = std::max<std::size_t>(at, 1);
        ColorBins rest(bins.begin() + static_cast<std::ptrdiff_t>(at), bins.end());
        bins.resize(at);
        return rest;
    }
    PixelColor mean() const {
        std::array<double, 4> sum{};
        for (const ColorBin& bin : bins) {
            for (std::size_t c = 0; c < 3; ++c) sum[c] += bin.sum[c];
            sum[3] += bin.weight;
        }
        return {static_cast<float>(sum[0] / sum[3]), static_cast<float>(sum[1] / sum[3]),
                static_cast<float>(sum[2] / sum[3]), 1};
    }
};

std::vector<PixelColor> paletteOf(ColorBins bins, std::size_t count) {
    std::vector<ColorBox> boxes;
    if (!bins.empty()) boxes.emplace_back(std::move(bins));
    while (!boxes.empty() && boxes.size() < count) {
        const auto most = std::max_element(boxes.begin(), boxes.end(),
                                           [](const ColorBox& a, const ColorBox& b) { return a.urgency < b.urgency; });
        if (most->bins.size() < 2) break;
        ColorBins rest = most->split();
        *most = ColorBox(std::move(most->bins));
        boxes.emplace_back(std::move(rest));
    }
    std::vector<PixelColor> palette;
    palette.reserve(boxes.size());
    for (const ColorBox& box : boxes) palette.push_back(box.mean());
    return palette;
}

std::size_t nearestOf(const std::vector<PixelColor>& palette, const PixelColor& color) {
    std::size_t nearest = 0;
    float least = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < palette.size(); ++i) {
        float distance = 0;
        for (std::size_t c = 0; c < 3; ++c) distance += (palette[i][c] - color[c]) * (palette[i][c] - color[c]);
        if (palette[i][3] == 0 || distance >= least) continue;
        nearest = i;
        least = distance;
    }
    return nearest;
}

// What a pixel lacks goes to those that come after it: 7, 3, 5 and 1 sixteenths.
void spreadError(std::vector<PixelColor>& pixels, std::size_t width, std::size_t at, const PixelColor& chosen) {
    const std::size_t x = at % width;
    const auto give = [&](std::size_t to, float share) {
        for (std::size_t c = 0; c < 3 && to < pixels.size(); ++c)
            pixels[to][c] += (pixels[at][c] - chosen[c]) * share / 16;
    };
    if (x + 1 < width) give(at + 1, 7);
    if (x > 0) give(at + width - 1, 3);
    give(at + width, 5);
    if (x + 1 < width) give(at + width + 1, 1);
}

}  // namespace

QuantizedPixels kzQuantize(CImage& image, std::uint32_t count, bool isDithered) {
    const auto width = static_cast<std::size_t>(image.width()), height = static_cast<std::size_t>(image.height());
    std::vector<PixelColor> pixels(width * height);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = kzReadPixel(image.format(), image.at(0, 0) + i * image.format().bytes());
        for (float& component : pixels[i]) component = insideRange(component);
    }
    const bool hasHoles = !std::all_of(pixels.begin(), pixels.end(), isSeen);
    QuantizedPixels result{paletteOf(binsOf(pixels), hasHoles ? count - 1 : count), {}};
    const std::size_t hole = result.palette.size();
    if (hasHoles) result.palette.push_back({0, 0, 0, 0});
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const bool isHole = !isSeen(pixels[i]) || hole == 0;
        const std::size_t index = isHole ? hole : nearestOf(result.palette, pixels[i]);
        result.indices.push_back(static_cast<std::uint8_t>(index));
        if (isDithered && !isHole) spreadError(pixels, width, i, result.palette[index]);
    }
    return result;
}

}  // namespace kzhost
