// The packet service: the packets of selections and what translates them.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

struct OpenScenes;

extern const ServiceFactory<OpenScenes> kzMakePacketService;

}  // namespace kzhost
