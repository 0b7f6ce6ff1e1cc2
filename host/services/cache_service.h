// The cache service: results that are kept while memory allows.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CResultCache;

extern const ServiceFactory<CResultCache> kzMakeCacheService;

}  // namespace kzhost
