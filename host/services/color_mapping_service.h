// The colour mapping service: the colour spaces that files name, and images in others than they have.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CImageFiles;
struct ServiceContext;

IKzUnknown* kzMakeColorMappingService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CImageFiles> images);

}  // namespace kzhost
