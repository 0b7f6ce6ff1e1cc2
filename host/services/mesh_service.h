// The mesh service: makes meshes, and tells what types of polygons and maps there are.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

struct ServiceContext;

IKzUnknown* kzMakeMeshService(std::shared_ptr<ServiceContext> context);

}  // namespace kzhost
