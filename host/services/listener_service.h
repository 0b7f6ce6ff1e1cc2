// The listener service.
#pragma once

#include <memory>

class IKzUnknown;
class CListenerTable;
struct ServiceContext;

IKzUnknown* kzMakeListenerService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CListenerTable> listeners);
