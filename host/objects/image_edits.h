// Scaled copies of images, and images laid over each other.
#pragma once

#include "host/objects/image.h"

namespace kzhost {

// The sides must be at least 1, and the filter an iIMG_FILTER.
CHostRef<CImage> kzScaleImage(IKzUnknown* source, std::int32_t width, std::int32_t height, std::int32_t filter);
// The blend must be an iIMG_BLEND. The target may be any image that can be written.
KzResult kzComposeImages(IKzUnknown* target, IKzUnknown* source, std::int32_t x, std::int32_t y, std::int32_t blend,
                         double opacity);

// A component of the target under one of the source, as an iIMG_BLEND constant says; normal for any other number.
double kzBlendComponent(std::int32_t blend, double t, double s);

}  // namespace kzhost
