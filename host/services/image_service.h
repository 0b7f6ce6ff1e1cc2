// The image service: makes images, copies and compares them, reads and writes their files.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CPathAliases;
class CImageFiles;
struct ServiceContext;

IKzUnknown* kzMakeImageService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPathAliases> files,
                               std::shared_ptr<CImageFiles> images);

}  // namespace kzhost
