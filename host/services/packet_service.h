// The packet service: the packets of selections and what translates them.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CModuleTable;
struct OpenScenes;

extern const ServiceFactory<OpenScenes, CModuleTable> kzMakePacketService;

}  // namespace kzhost
