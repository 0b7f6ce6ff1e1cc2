// Images whose pixels are numbers of a palette, as objects.
#pragma once

#include "host/objects/image.h"

#include <cstdint>
#include <vector>

namespace kzhost {

// Chosen colours, at most that many, and for each pixel the number of one.
struct QuantizedPixels {
    std::vector<PixelColor> palette;
    std::vector<std::uint8_t> indices;
};

// The image must have the format RGBAFP. With no more colours than wanted, each is kept. Pixels that are more than half
// transparent share a colour without alpha.
QuantizedPixels kzQuantize(CImage& image, std::uint32_t count, bool isDithered);

// One colour: black with an alpha of 0. Throws as Image.Create does.
IKzUnknown* kzMakeIndexImage(std::int32_t width, std::int32_t height);

// A copy of any image with the nearest of at most 256 colours; those of another such image are copied.
IKzUnknown* kzCopyIndexImage(IKzUnknown* source);

}  // namespace kzhost
