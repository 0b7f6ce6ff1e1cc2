// The image service: makes images, copies and compares them, reads and writes their files.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
class CImageFiles;

extern const ServiceFactory<CPathAliases, CImageFiles> kzMakeImageService;

}  // namespace kzhost
