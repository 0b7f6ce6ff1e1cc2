// The platform service: the machine, the program, and the import paths.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
class CImportPaths;

extern const ServiceFactory<CPathAliases, CImportPaths> kzMakePlatformService;

}  // namespace kzhost
