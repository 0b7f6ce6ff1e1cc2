// The log service.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CLogStore;
class CListenerTable;
class CTextBoard;
struct ServiceContext;

IKzUnknown* kzMakeLogService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CLogStore> log,
                             std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CTextBoard> texts);

}  // namespace kzhost
