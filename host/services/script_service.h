// The script service: finding and running scripts, and the services that scripts may query.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CLogStore;
class CScriptRunner;
class CPathAliases;
class CModuleTable;
struct QueryEnvironment;
struct ServiceContext;

IKzUnknown* kzMakeScriptService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CScriptRunner> scripts,
                                std::shared_ptr<CModuleTable> modules, std::shared_ptr<CPathAliases> files,
                                std::shared_ptr<CLogStore> log, std::shared_ptr<const QueryEnvironment> queries);

}  // namespace kzhost
