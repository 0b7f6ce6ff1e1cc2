// Images in PNG files.
#pragma once

#include "host/objects/image.h"

namespace kzhost {

// PNG files: written with eight bits a component, read with what they have of colour and alpha, known by how they begin.
bool kzIsPng(const std::string& path);
KzResult kzSavePng(CImage& image, const std::string& path);
CHostRef<CImage> kzLoadPng(const std::string& path);

}  // namespace kzhost
