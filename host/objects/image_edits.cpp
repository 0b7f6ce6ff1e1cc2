// Scaled copies of images, and images laid over each other.
#include "host/objects/image_edits.h"

#include "host/core/reasons.h"

#include "kz/image.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace kzhost {

namespace {

// The pixels of a line that make up one of the scaled line, from the first one on. Those beyond an end repeat it.
struct Taps {
    std::int32_t first = 0;
    std::vector<double> weights;
};

double sinc(double x) {
    const double angle = std::numbers::pi * x;
    return x == 0 ? 1 : std::sin(angle) / angle;
}

// What a pixel weighs that is so many pixels away.
double kernel(std::int32_t filter, double distance) {
    const double x = std::abs(distance);
    if (filter == KZiIMG_FILTER_BILINEAR) return std::max(0.0, 1 - x);
    if (filter == KZiIMG_FILTER_SINC) return x < 3 ? sinc(x) * sinc(x / 3) : 0;
    if (x < 1) return 1 + x * x * (1.5 * x - 2.5);  // bicubic, through the pixels with the slopes of their neighbours
    return x < 2 ? 2 + x * (-4 + x * (2.5 - 0.5 * x)) : 0;
}

// The average of what is covered counts whole pixels and the covered part of others.
Taps areaTaps(double start, double end) {
    Taps taps{static_cast<std::int32_t>(std::floor(start)), {}};
    for (std::int32_t at = taps.first; at < end; ++at)
        taps.weights.push_back(std::min(end, at + 1.0) - std::max(start, static_cast<double>(at)));
    return taps;
}

Taps tapsOf(std::int32_t filter, std::int32_t index, double step) {
    const double center = (index + 0.5) * step;
    if (filter == KZiIMG_FILTER_NEAREST) return {static_cast<std::int32_t>(std::floor(center)), {1.0}};
    if (filter == KZiIMG_FILTER_AREA) return areaTaps(index * step, (index + 1) * step);
    // A sinc becomes wider as the image becomes smaller; the others only look at the neighbours.
    const double width = filter == KZiIMG_FILTER_SINC ? std::max(1.0, step) : 1.0;
    const double reach = width * (filter == KZiIMG_FILTER_BILINEAR ? 1 : filter == KZiIMG_FILTER_SINC ? 3 : 2);
    Taps taps{static_cast<std::int32_t>(std::floor(center - 0.5 - reach)) + 1, {}};
    for (std::int32_t at = taps.first; at + 0.5 < center + reach; ++at)
        taps.weights.push_back(kernel(filter, (at + 0.5 - center) / width));
    return taps;
}

std::vector<Taps> allTaps(std::int32_t filter, std::int32_t from, std::int32_t to) {
    std::vector<Taps> all;
    for (std::int32_t i = 0; i < to; ++i) {
        all.push_back(tapsOf(filter, i, static_cast<double>(from) / to));
        double sum = 0;
        for (const double weight : all.back().weights) sum += weight;
        for (double& weight : all.back().weights) weight /= sum;
    }
    return all;
}

using Wide = std::array<double, 4>;

Wide weighted(const Taps& taps, std::int32_t size, const auto& pixelAt) {
    Wide sum{};
    for (std::size_t i = 0; i < taps.weights.size(); ++i) {
        const Wide pixel = pixelAt(std::clamp(taps.first + static_cast<std::int32_t>(i), 0, size - 1));
        for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += pixel[c] * taps.weights[i];
    }
    return sum;
}

// Colours count as much as they are opaque.
Wide widened(const PixelColor& color) {
    const double alpha = color[3];
    return {color[0] * alpha, color[1] * alpha, color[2] * alpha, alpha};
}

PixelColor narrowed(const Wide& wide) {
    const double alpha = wide[3] != 0 ? wide[3] : 1;
    return {static_cast<float>(wide[0] / alpha), static_cast<float>(wide[1] / alpha),
            static_cast<float>(wide[2] / alpha), static_cast<float>(wide[3])};
}

}  // namespace

double kzBlendComponent(std::int32_t blend, double t, double s) {
    const auto hardLight = [](double below, double above) {
        return above < 0.5 ? 2 * below * above : 1 - 2 * (1 - below) * (1 - above);
    };
    const auto divided = [](double number, double by) { return by > 0 ? number / by : number > 0 ? 1.0 : 0.0; };
    switch (blend) {
    case KZiIMG_BLEND_ADD: return t + s;
    case KZiIMG_BLEND_SUBTRACT: return t - s;
    case KZiIMG_BLEND_DIFFERENCE: return std::abs(t - s);
    case KZiIMG_BLEND_MULTIPLY: return t * s;
    case KZiIMG_BLEND_DIVIDE: return divided(t, s);
    case KZiIMG_BLEND_SCREEN: return 1 - (1 - t) * (1 - s);
    case KZiIMG_BLEND_OVERLAY: return hardLight(s, t);
    case KZiIMG_BLEND_SOFTLIGHT: return (1 - 2 * s) * t * t + 2 * s * t;
    case KZiIMG_BLEND_HARDLIGHT: return hardLight(t, s);
    case KZiIMG_BLEND_DARKEN: return std::min(t, s);
    case KZiIMG_BLEND_LIGHTEN: return std::max(t, s);
    case KZiIMG_BLEND_DODGE: return divided(t, 1 - s);
    case KZiIMG_BLEND_BURN: return 1 - divided(1 - t, s);
    default: return s;
    }
}

CHostRef<CImage> kzScaleImage(IKzUnknown* source, std::int32_t width, std::int32_t height, std::int32_t filter) {
    const auto from = kzCopyImage(source, 0);
    auto scaled = CHostRef<CImage>::make(width, height, from->format().code);
    const auto columns = allTaps(filter, from->width(), width), rows = allTaps(filter, from->height(), height);
    std::vector<std::vector<Wide>> lines(static_cast<std::size_t>(from->height()));  // scaled in width, while needed
    const auto lineAt = [&](std::int32_t y) -> const std::vector<Wide>& {
        auto& line = lines[static_cast<std::size_t>(y)];
        if (!line.empty()) return line;
        for (const Taps& taps : columns)
            line.push_back(weighted(taps, from->width(), [&](std::int32_t x) {
                return widened(kzReadPixel(from->format(), from->at(x, y)));
            }));
        return line;
    };
    for (std::int32_t y = 0; y < height; ++y) {
        const Taps& taps = rows[static_cast<std::size_t>(y)];
        for (std::int32_t x = 0; x < width; ++x)
            kzWritePixel(scaled->format(),
                         narrowed(weighted(taps, from->height(),
                                           [&](std::int32_t at) { return lineAt(at)[static_cast<std::size_t>(x)]; })),
                         scaled->at(x, y));
        for (std::int32_t past = 0; past < taps.first && past < from->height(); ++past)
            std::vector<Wide>().swap(lines[static_cast<std::size_t>(past)]);
    }
    scaled->setFacts(from->facts());
    return scaled;
}

KzResult kzComposeImages(IKzUnknown* target, IKzUnknown* source, std::int32_t x, std::int32_t y, std::int32_t blend,
                         double opacity) {
    const CKzUser_ImageWrite write(target);
    if (!write) return kzBecause(KZe_INVALIDARG, "Image.Compose", [] { return "the target cannot be written"; });
    const auto above = kzCopyImage(source, KZiIMG_FORMAT_RGBAFP), below = kzCopyImage(target, KZiIMG_FORMAT_RGBAFP);
    const auto inside = [](std::int64_t number, std::int32_t size) {
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, 0, size));
    };
    const std::int32_t left = inside(x, below->width()), top = inside(y, below->height());
    const std::int32_t right = inside(std::int64_t{x} + above->width(), below->width());
    const std::int32_t bottom = inside(std::int64_t{y} + above->height(), below->height());
    for (std::int32_t line = top; line < bottom; ++line)
        for (std::int32_t column = left; column < right; ++column) {
            PixelColor t = kzReadPixel(below->format(), below->at(column, line));
            const PixelColor s = kzReadPixel(above->format(), above->at(column - x, line - y));
            const double weight = opacity * s[3];
            for (std::size_t c = 0; c < 3; ++c)
                t[c] = static_cast<float>(t[c] + (kzBlendComponent(blend, t[c], s[c]) - t[c]) * weight);
            t[3] = static_cast<float>(t[3] + (1 - t[3]) * weight);
            const KzResult code = write->SetPixel(column, line, KZiIMG_FORMAT_RGBAFP, t.data());
            if (kzFailed(code)) return code;
        }
    return KZe_OK;
}

}  // namespace kzhost
