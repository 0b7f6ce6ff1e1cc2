// The layer service: which meshes of the current scene are worked on.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

struct OpenScenes;

extern const ServiceFactory<OpenScenes> kzMakeLayerService;

}  // namespace kzhost
