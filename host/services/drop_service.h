// The drop service: drags from their beginning to the drop.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CDrops;

extern const ServiceFactory<CDrops> kzMakeDropService;

}  // namespace kzhost
