// The colour mapping service: lists the colour spaces that files name, and converts images between them.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CImageFiles;

extern const ServiceFactory<CImageFiles> kzMakeColorMappingService;

}  // namespace kzhost
