// Images in PNG files.
#pragma once

#include "host/objects/image.h"

#include <string>

namespace kzhost {

// PNG files are recognised by their signature, written with eight bits a component, and read with the colour and alpha
// that they have.
bool kzIsPng(const std::string& path);
KzResult kzSavePng(CImage& image, const std::string& path);
CHostRef<CImage> kzLoadPng(const std::string& path);

}  // namespace kzhost
