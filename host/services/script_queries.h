// The script services: what scripts may ask about the running host.
#pragma once

#include "kz/base/types.h"

#include <memory>
#include <span>
#include <string_view>

class CLogStore;
class CScriptRunner;
class IKzUnknown;

namespace kzhost {

class CCommandDispatcher;
class CPathAliases;
class CModuleTable;
class CPropertyTable;
class CServiceRegistry;
class CValueTypeRegistry;
struct ServiceContext;

// What the answers are taken from.
struct QueryEnvironment {
    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<CCommandDispatcher> dispatcher;
    std::shared_ptr<CPathAliases> files;
    std::shared_ptr<CLogStore> log;
    std::shared_ptr<CModuleTable> modules;
    std::shared_ptr<CPropertyTable> properties;
    std::shared_ptr<CScriptRunner> scripts;
    std::shared_ptr<CValueTypeRegistry> types;
    std::weak_ptr<CServiceRegistry> services;  // which holds what asks here
};

// The names of the services that answer scripts.
std::span<const char* const> kzQueryServices();

// A new query object of that service; QUERY_UNKNOWN_SERVICE when it answers no scripts.
KzResult kzMakeQuery(const std::shared_ptr<const QueryEnvironment>& host, std::string_view service, IKzUnknown** query);

// The service of that name as scripts find it: it answers queries, and hands out the service itself. Null when there is
// no such service.
IKzUnknown* kzMakeNamedService(const std::shared_ptr<CServiceRegistry>& services,
                               const std::shared_ptr<const QueryEnvironment>& queries, std::string_view name);

}  // namespace kzhost
