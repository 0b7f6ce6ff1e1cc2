// The image processing service: makes settings, and keeps them in files.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
class CImageFiles;

extern const ServiceFactory<CPathAliases, CImageFiles> kzMakeImageProcessingService;

}  // namespace kzhost
