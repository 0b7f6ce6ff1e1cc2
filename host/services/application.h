// The application object: every service of the host behind one pointer.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;
class CPropertyTable;
class CServiceRegistry;
struct QueryEnvironment;

extern const ServiceFactory<CServiceRegistry, const QueryEnvironment, CLogStore, CPropertyTable> kzMakeApplication;

}  // namespace kzhost
