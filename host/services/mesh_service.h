// The mesh service: makes meshes, and lists the types of polygons and maps.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

extern const ServiceFactory<> kzMakeMeshService;

}  // namespace kzhost
