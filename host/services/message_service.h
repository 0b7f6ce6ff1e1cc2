// The message service.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CLogStore;
struct ServiceContext;

IKzUnknown* kzMakeMessageService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CLogStore> log);

}  // namespace kzhost
