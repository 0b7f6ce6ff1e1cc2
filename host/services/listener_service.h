// The listener service.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CListenerTable;

extern const ServiceFactory<CListenerTable> kzMakeListenerService;

}  // namespace kzhost
