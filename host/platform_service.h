// The platform service: the machine, the program, and where scripts are imported from.
#pragma once

#include <memory>

class IKzUnknown;
class CFileTable;
class CImportPaths;
struct ServiceContext;

IKzUnknown* kzMakePlatformService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CFileTable> files,
                                  std::shared_ptr<CImportPaths> importPaths);
