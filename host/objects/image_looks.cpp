// What the settings of image processing do to pixels: exposure, bloom, levels, tones, colours, gamma, vignette.
#include "host/objects/image_looks.h"

#include "host/core/object.h"
#include "host/objects/pixel_blur.h"

#include "kz/image.h"
#include "kz/image_processing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kzhost {

namespace {

using LookColor = std::array<double, 3>;

double lookLuma(const LookColor& color) { return 0.2126 * color[0] + 0.7152 * color[1] + 0.0722 * color[2]; }

// Blue, cyan, green, yellow, red: from black to white.
LookColor falseColor(double brightness) {
    const double place = (brightness > 0 ? std::min(brightness, 1.0) : 0) * 4;
    const auto ramp = [&](double from) { return std::clamp(place - from, 0.0, 1.0); };
    return {ramp(2), std::min(ramp(0), 1 - ramp(3)), 1 - ramp(1)};
}

LookColor toned(std::int32_t tone, const LookColor& color) {
    if (tone == KZiIMPROC_TONE_FALSECOLOR) return falseColor(lookLuma(color));
    LookColor result = color;
    for (double& x : result) {
        if (tone == KZiIMPROC_TONE_NONE) x = std::min(x, 1.0);
        else if (tone == KZiIMPROC_TONE_SIMPLE && x > 0) x = x / (1 + x);
        else if (tone == KZiIMPROC_TONE_FILMIC && x > 0) x = 1 / (1 + 0.5 * std::pow(x, -1.5));
    }
    return result;
}

void mixInto(LookColor& color, const LookColor& other, double amount) {
    for (std::size_t c = 0; c < 3; ++c) color[c] += (other[c] - color[c]) * amount;
}

// About the axis of grey.
LookColor hueTurned(const LookColor& color, double angle) {
    const double mean = (color[0] + color[1] + color[2]) / 3, cosine = std::cos(angle);
    const double sine = std::sin(angle) / std::numbers::sqrt3;
    LookColor result{};
    for (std::size_t c = 0; c < 3; ++c)
        result[c] = mean + (color[c] - mean) * cosine + (color[(c + 2) % 3] - color[(c + 1) % 3]) * sine;
    return result;
}

void adjust(const ImageLooks& looks, LookColor& color) {
    // The steepest contrast would leave only black and white.
    const double steep = looks.contrast < 0 ? 1 + looks.contrast : 1 / (1 - std::min(looks.contrast, 0.999));
    if (looks.contrast != 0)
        for (double& x : color) x = (x - 0.5) * steep + 0.5;
    const double grey = lookLuma(color);
    mixInto(color, {grey, grey, grey}, 1 - looks.saturation);
    if (looks.hue != 0) color = hueTurned(color, looks.hue);
    mixInto(color, looks.tint, looks.tintAmount);
    if (looks.gamma != 1)
        for (double& x : color)
            if (x > 0) x = std::pow(x, 1 / looks.gamma);
}

void expose(const ImageLooks& looks, float* rgba) {
    for (std::size_t c = 0; c < 3; ++c) rgba[c] = static_cast<float>(rgba[c] * std::exp2(looks.exposure));
}

void afterExposure(const ImageLooks& looks, float* rgba, double brightness) {
    LookColor color{};
    for (std::size_t c = 0; c < 3; ++c) color[c] = (rgba[c] - looks.blackLevel) / (looks.whiteLevel - looks.blackLevel);
    if (looks.toneAmount > 0) {
        LookColor target = toned(looks.tone, color);
        if (looks.tone == KZiIMPROC_TONE_PHOTO)
            for (double& x : target) x *= brightness > 0 ? 0.18 / brightness : 1;
        mixInto(color, target, looks.toneAmount);
    }
    adjust(looks, color);
    for (std::size_t c = 0; c < 3; ++c) rgba[c] = static_cast<float>(color[c]);
}

float* pixelOf(CImage& image, std::int32_t x, std::int32_t y) { return reinterpret_cast<float*>(image.at(x, y)); }

template <class Change> void eachPixel(CImage& image, const Change& change) {
    for (std::int32_t y = 0; y < image.height(); ++y)
        for (std::int32_t x = 0; x < image.width(); ++x) change(pixelOf(image, x, y), x, y);
}

void addBloom(const ImageLooks& looks, CImage& image) {
    const auto glow = CHostRef<CImage>::make(image.width(), image.height(), KZiIMG_FORMAT_RGBAFP);
    eachPixel(*glow, [&](float* rgba, std::int32_t x, std::int32_t y) {
        const float* from = pixelOf(image, x, y);
        for (std::size_t c = 0; c < 3; ++c)
            rgba[c] = std::max(0.0F, from[c] - static_cast<float>(looks.bloomThreshold));
    });
    kzBlurPixels(*glow, looks.bloomRadius * image.width());
    eachPixel(image, [&](float* rgba, std::int32_t x, std::int32_t y) {
        for (std::size_t c = 0; c < 3; ++c) rgba[c] += pixelOf(*glow, x, y)[c] * static_cast<float>(looks.bloomAmount);
    });
}

// The corners lose the whole amount, the middle nothing.
double vignetteAt(const ImageLooks& looks, const CImage& image, std::int32_t x, std::int32_t y) {
    const double across = 2 * (x + 0.5) / image.width() - 1, down = 2 * (y + 0.5) / image.height() - 1;
    return 1 - looks.vignette * (across * across + down * down) / 2;
}

}  // namespace

double kzLuminance(const float* rgb) { return lookLuma({rgb[0], rgb[1], rgb[2]}); }

bool ImageLooks::changeNothing() const {
    ImageLooks other;  // what has no effect by itself
    other.region = region;
    other.bloomThreshold = bloomThreshold, other.bloomRadius = bloomRadius;
    other.tint = tint;
    if (toneAmount == 0) other.tone = tone;
    return *this == other;
}

bool ImageLooks::needWhole() const {
    return bloomAmount > 0 || vignette > 0 || (tone == KZiIMPROC_TONE_PHOTO && toneAmount > 0);
}

bool ImageLooks::isInside(std::int32_t x, std::int32_t y) const {
    const bool isWhole = region == std::array<std::int32_t, 4>{};
    return isWhole || (x >= region[0] && y >= region[1] && x < region[2] && y < region[3]);
}

void ImageLooks::apply(float* rgba) const {
    expose(*this, rgba);
    afterExposure(*this, rgba, 0);
}

void ImageLooks::show(float* rgba) const {
    if (channels == KZiIMPROC_CHANNELS_ALL) return;
    float grey = 0;
    if (channels == KZiIMPROC_CHANNELS_LUMA) grey = static_cast<float>(kzLuminance(rgba));
    else if (channels != KZiIMPROC_CHANNELS_RGB) grey = rgba[channels - KZiIMPROC_CHANNELS_RED];
    if (channels != KZiIMPROC_CHANNELS_RGB) std::fill_n(rgba, 3, grey);
    rgba[3] = 1;
}

void kzApplyLooks(const ImageLooks& looks, CImage& image) {
    eachPixel(image, [&](float* rgba, std::int32_t, std::int32_t) { expose(looks, rgba); });
    if (looks.bloomAmount > 0) addBloom(looks, image);
    double brightness = 0;
    eachPixel(image, [&](const float* rgba, std::int32_t, std::int32_t) { brightness += kzLuminance(rgba); });
    brightness /= static_cast<double>(image.width()) * image.height();
    eachPixel(image, [&](float* rgba, std::int32_t x, std::int32_t y) {
        afterExposure(looks, rgba, brightness);
        const double light = vignetteAt(looks, image, x, y);
        for (std::size_t c = 0; c < 3; ++c) rgba[c] = static_cast<float>(rgba[c] * light);
    });
}

}  // namespace kzhost
