// The file service: aliases, named places, and simple operations on files.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CPathAliases;
struct ServiceContext;

IKzUnknown* kzMakeFileService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files);

}  // namespace kzhost
