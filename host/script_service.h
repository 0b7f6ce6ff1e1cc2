// The script service: finding and running scripts, and the services that scripts may query.
#pragma once

#include <memory>

class IKzUnknown;
class CFileTable;
class CLogStore;
class CModuleTable;
class CScriptState;
struct QueryEnvironment;
struct ServiceContext;

IKzUnknown* kzMakeScriptService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CScriptState> scripts,
                                std::shared_ptr<CModuleTable> modules, std::shared_ptr<CFileTable> files,
                                std::shared_ptr<CLogStore> log, std::shared_ptr<const QueryEnvironment> queries);
