// Blending the layers of an image into one.
#pragma once

#include "host/objects/image.h"

#include <cstdint>
#include <vector>

namespace kzhost {

struct PictureLayer {
    CHostRef<CImage> image;     // empty for a group
    CHostRef<CImage> mask;      // may be empty
    std::int64_t x = 0, y = 0;  // from the upper left corner of the whole; 32 bits and what they are moved by
    double opacity = 1;
    std::int32_t blend = 0;
    std::uint32_t flags = 0;
    std::int32_t parent = -1;
};

// The most layers, and the most groups inside each other.
inline constexpr std::uint32_t kzMostLayers = 4096;
inline constexpr std::uint32_t kzDeepestGroup = 64;

// All visible layers as a new image of that size and format. Throws INVALIDARG for groups that hold each other.
CHostRef<CImage> kzBlendLayers(const std::vector<PictureLayer>& layers, std::int32_t width, std::int32_t height,
                               std::uint32_t format);

// The layers of any object, also of a module, as one image: the object's own composition or, without one, the host's.
// Throws INVALIDARG for an object that has no layers, and the code of an operation that fails.
CHostRef<CImage> kzFlatLayers(const char* place, IKzUnknown* object);

}  // namespace kzhost
