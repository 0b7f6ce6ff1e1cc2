// The scene service: makes, finds and closes scenes, and lists the item types.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

struct OpenScenes;

extern const ServiceFactory<OpenScenes> kzMakeSceneService;

}  // namespace kzhost
