// The script service: finding and running scripts, and the services that scripts may query.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;
class CScriptRunner;
class CPathAliases;
class CModuleTable;
struct QueryEnvironment;

extern const ServiceFactory<CScriptRunner, CModuleTable, CPathAliases, CLogStore, const QueryEnvironment>
    kzMakeScriptService;

}  // namespace kzhost
