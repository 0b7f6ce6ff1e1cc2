// The platform service: the machine, the program, and where scripts are imported from.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CPathAliases;
class CImportPaths;
struct ServiceContext;

IKzUnknown* kzMakePlatformService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
                                  std::shared_ptr<CImportPaths> importPaths);

}  // namespace kzhost
