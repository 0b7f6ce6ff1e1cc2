// The selection service: reads and changes what is selected.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CModuleTable;
struct OpenScenes;

extern const ServiceFactory<OpenScenes, CModuleTable> kzMakeSelectionService;

}  // namespace kzhost
