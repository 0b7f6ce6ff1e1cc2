// The log service.
#pragma once

#include <memory>

class IKzUnknown;
class CLogStore;

namespace kzhost {

class CListenerTable;
struct ServiceContext;

IKzUnknown* kzMakeLogService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CLogStore> log,
                             std::shared_ptr<CListenerTable> listeners);

}  // namespace kzhost
