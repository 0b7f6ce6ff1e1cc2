// The message service.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;

extern const ServiceFactory<CLogStore> kzMakeMessageService;

}  // namespace kzhost
