// The directory cache service: folders and files as browsers see them, base paths, and marks.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CDirCache;
class CPathAliases;

extern const ServiceFactory<CDirCache, CPathAliases> kzMakeDirCacheService;

}  // namespace kzhost
