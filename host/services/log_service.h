// The log service.
#pragma once

#include <memory>

class IKzUnknown;
class CLogStore;
class CTextBoard;

namespace kzhost {

class CListenerTable;
struct ServiceContext;

IKzUnknown* kzMakeLogService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CLogStore> log,
                             std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CTextBoard> texts);

}  // namespace kzhost
