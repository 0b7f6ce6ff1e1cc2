// The host service: modules, servers, and factories for them.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CLogStore;
class CPathAliases;
class CListenerTable;
class CModuleTable;
struct ServiceContext;

IKzUnknown* kzMakeHostService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                              std::shared_ptr<CPathAliases> files, std::shared_ptr<CListenerTable> listeners,
                              std::shared_ptr<CLogStore> log);

}  // namespace kzhost
