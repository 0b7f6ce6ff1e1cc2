// The value service: creating values, text hints, conversions and units.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CModuleTable;
class CPropertyTable;
class CValueTypeRegistry;
struct QueryEnvironment;

extern const ServiceFactory<CModuleTable, CValueTypeRegistry, CPropertyTable, const QueryEnvironment>
    kzMakeValueService;

}  // namespace kzhost
