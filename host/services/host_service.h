// The host service: modules, servers, and factories for them.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;
class CPathAliases;
class CListenerTable;
class CModuleTable;
class COwnObjects;

extern const ServiceFactory<CModuleTable, CPathAliases, CListenerTable, CLogStore, COwnObjects> kzMakeHostService;

}  // namespace kzhost
