// Images of several layers, as objects.
#pragma once

#include "kz/base/object.h"

#include <cstdint>

namespace kzhost {

// An image without layers. It is also an image, which shows all its layers. Throws as Image.Create does.
IKzUnknown* kzMakeLayeredImage(std::int32_t width, std::int32_t height, std::uint32_t format);

}  // namespace kzhost
