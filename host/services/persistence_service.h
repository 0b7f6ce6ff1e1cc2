// The persistence service: entries that modules keep in the user's configuration.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPersistence;

extern const ServiceFactory<CPersistence> kzMakePersistenceService;

}  // namespace kzhost
