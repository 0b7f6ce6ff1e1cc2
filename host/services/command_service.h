// The command service.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CCommandDispatcher;
class CCommandState;
class CValueTypeRegistry;

extern const ServiceFactory<CCommandDispatcher, CCommandState, CValueTypeRegistry> kzMakeCommandService;

}  // namespace kzhost
