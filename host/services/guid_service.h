// The GUID service: what each identifier of the SDK is called.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

struct ServiceContext;

IKzUnknown* kzMakeGuidService(std::shared_ptr<ServiceContext> context);

}  // namespace kzhost
