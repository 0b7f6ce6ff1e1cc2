// Blurring pixels in memory.
#pragma once

#include "host/objects/image.h"

namespace kzhost {

// Weighs neighbours by a Gaussian of that standard deviation in pixels, up to four of them. The outermost pixels are
// repeated beyond the edges. The image must be RGBAFP.
void kzBlurPixels(CImage& image, double deviation);

}  // namespace kzhost
