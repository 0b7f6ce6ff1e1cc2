// The listener service.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CListenerTable;
struct ServiceContext;

IKzUnknown* kzMakeListenerService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CListenerTable> listeners);

}  // namespace kzhost
