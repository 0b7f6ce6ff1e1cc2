// The settings of image processing, and what they do to pixels.
#pragma once

#include "host/objects/image.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace kzhost {

struct ImageLooks {
    double exposure = 0, gamma = 1, blackLevel = 0, whiteLevel = 1;
    double contrast = 0, saturation = 1, hue = 0, tintAmount = 0;
    std::array<double, 3> tint{1, 1, 1};
    std::int32_t tone = 0;
    double toneAmount = 0;
    double bloomThreshold = 1, bloomRadius = 0, bloomAmount = 0, vignette = 0;
    std::optional<std::string> space;
    std::int32_t channels = 0;
    std::array<std::int32_t, 4> region{};  // left, top, right, bottom; all zero for the whole image

    bool operator==(const ImageLooks&) const = default;

    // True if the settings have no effect, whatever the region.
    bool changeNothing() const;
    // True if a pixel depends on more than its own colour.
    bool needWhole() const;
    bool isInside(std::int32_t x, std::int32_t y) const;
    // One pixel, without bloom, vignette, colour space and what depends on the brightness of the whole image.
    void apply(float* rgba) const;
    // The components that are shown, which come last.
    void show(float* rgba) const;
};

// What is only known of a whole image: RGBAFP, changed in place up to the colour space.
void kzApplyLooks(const ImageLooks& looks, CImage& image);

// The brightness of linear colours.
double kzLuminance(const float* rgb);

}  // namespace kzhost
