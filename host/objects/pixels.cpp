// Pixel formats.
#include "host/objects/pixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace kzhost {

namespace {

// Converts to an integer component. NaN becomes 0.
template <class Integer> Integer rounded(float value) {
    constexpr float most = std::numeric_limits<Integer>::max();
    return value > 0 ? static_cast<Integer>(std::lround(std::min(value, 1.0F) * most)) : Integer{0};
}

float readComponent(const PixelFormat& format, const std::byte* at) noexcept {
    if (format.componentBytes == 1) return static_cast<float>(std::to_integer<std::uint8_t>(*at)) / 255;
    if (format.componentBytes == 2) {
        std::uint16_t value = 0;
        std::memcpy(&value, at, sizeof value);
        return static_cast<float>(value) / 65535;
    }
    float value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void writeComponent(const PixelFormat& format, float value, std::byte* at) noexcept {
    if (format.componentBytes == 1) {
        *at = std::byte{rounded<std::uint8_t>(value)};
    } else if (format.componentBytes == 2) {
        const auto whole = rounded<std::uint16_t>(value);
        std::memcpy(at, &whole, sizeof whole);
    } else {
        std::memcpy(at, &value, sizeof value);
    }
}

}  // namespace

std::optional<PixelFormat> PixelFormat::of(std::uint32_t code) noexcept {
    const PixelFormat format{code, code >> 8U, code & static_cast<std::uint32_t>(KZmIMG_FORMAT_KIND)};
    const bool isKind = format.componentBytes == 1 || format.componentBytes == 2 || format.componentBytes == 4;
    const bool isShape = format.components == 1 || format.components == 3 || format.components == 4;
    return isKind && isShape ? std::optional(format) : std::nullopt;
}

PixelColor kzReadPixel(const PixelFormat& format, const std::byte* pixel) noexcept {
    PixelColor color{0, 0, 0, 1};
    for (std::uint32_t i = 0; i < format.components; ++i)
        color[i] = readComponent(format, pixel + static_cast<std::size_t>(i) * format.componentBytes);
    if (format.components == 1) color[1] = color[2] = color[0];
    return color;
}

// Grey is the luminance of the colour.
void kzWritePixel(const PixelFormat& format, const PixelColor& color, std::byte* pixel) noexcept {
    if (format.components == 1) {
        const bool isGrey = color[0] == color[1] && color[1] == color[2];
        const float grey = isGrey ? color[0] : 0.2126F * color[0] + 0.7152F * color[1] + 0.0722F * color[2];
        return writeComponent(format, grey, pixel);
    }
    for (std::uint32_t i = 0; i < format.components; ++i)
        writeComponent(format, color[i], pixel + static_cast<std::size_t>(i) * format.componentBytes);
}

void kzConvertPixels(const PixelFormat& from, const std::byte* source, const PixelFormat& to, std::byte* target,
                     std::size_t count) noexcept {
    if (from.code == to.code) {
        std::memmove(target, source, count * from.bytes());
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        kzWritePixel(to, kzReadPixel(from, source + i * from.bytes()), target + i * to.bytes());
}

}  // namespace kzhost
