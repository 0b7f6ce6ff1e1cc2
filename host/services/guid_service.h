// The GUID service: the names of the SDK's identifiers.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

extern const ServiceFactory<> kzMakeGuidService;

}  // namespace kzhost
