// The script services: queries of scripts about the running host.
#pragma once

#include "kz/base/types.h"

#include <memory>
#include <span>
#include <string_view>

class IKzUnknown;

namespace kzhost {

class CLogStore;
class CScriptRunner;
class CCommandDispatcher;
class CPathAliases;
class CModuleTable;
class CPropertyTable;
class CServiceRegistry;
class CValueTypeRegistry;
struct ServiceContext;

// The parts of the host that answer queries.
struct QueryEnvironment {
    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<CCommandDispatcher> dispatcher;
    std::shared_ptr<CPathAliases> files;
    std::shared_ptr<CLogStore> log;
    std::shared_ptr<CModuleTable> modules;
    std::shared_ptr<CPropertyTable> properties;
    std::shared_ptr<CScriptRunner> scripts;
    std::shared_ptr<CValueTypeRegistry> types;
    std::weak_ptr<CServiceRegistry> services;  // weak: the registry owns services that hold this
};

// The names of the services that scripts can query.
std::span<const char* const> kzQueryServices();

// A new query object of that service; QUERY_UNKNOWN_SERVICE if scripts cannot query it.
KzResult kzMakeQuery(const std::shared_ptr<const QueryEnvironment>& host, std::string_view service, IKzUnknown** query);

// The service of that name for scripts: an object that answers queries and hands out the service itself. Null if there is
// no such service.
IKzUnknown* kzMakeNamedService(const std::shared_ptr<CServiceRegistry>& services,
                               const std::shared_ptr<const QueryEnvironment>& queries, std::string_view name);

}  // namespace kzhost
