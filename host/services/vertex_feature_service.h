// The vertex feature service: the features that a vertex may have.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

extern const ServiceFactory<> kzMakeVertexFeatureService;

}  // namespace kzhost
