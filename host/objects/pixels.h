// Pixel formats: how the components of a pixel are laid out, and converting between them.
#pragma once

#include "kz/image.h"

#include <array>
#include <cstddef>
#include <optional>

namespace kzhost {

struct PixelFormat {
    std::uint32_t code = 0;
    std::uint32_t components = 0;  // 1 grey, 3 with colour, 4 with alpha
    std::uint32_t componentBytes = 0;

    // 1 and 2 for integers of so many bytes, 3 for half floats, 4 for single floats.
    std::uint32_t kind() const { return code & static_cast<std::uint32_t>(KZmIMG_FORMAT_KIND); }
    std::size_t bytes() const { return static_cast<std::size_t>(components) * componentBytes; }
    // Nothing for formats that this host does not support.
    static std::optional<PixelFormat> of(std::uint32_t code) noexcept;
};

using PixelColor = std::array<float, 4>;  // red, green, blue, alpha; 0 to 1 where the format has limits

PixelColor kzReadPixel(const PixelFormat& format, const std::byte* pixel) noexcept;
void kzWritePixel(const PixelFormat& format, const PixelColor& color, std::byte* pixel) noexcept;
// Converts a run of pixels. Pixels of the same format are copied verbatim.
void kzConvertPixels(const PixelFormat& from, const std::byte* source, const PixelFormat& to, std::byte* target,
                     std::size_t count) noexcept;

}  // namespace kzhost
