// The host service: modules, servers, and factories for them.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;
class CPathAliases;
class CListenerTable;
class CModuleTable;

extern const ServiceFactory<CModuleTable, CPathAliases, CListenerTable, CLogStore> kzMakeHostService;

}  // namespace kzhost
