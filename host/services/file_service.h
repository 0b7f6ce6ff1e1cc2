// The file service: aliases, named places, and simple operations on files.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;

extern const ServiceFactory<CPathAliases> kzMakeFileService;

}  // namespace kzhost
