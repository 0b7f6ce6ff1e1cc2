// The dialog service of a host without windows: messages go to the log, monitors to whoever shows them.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CLogStore;
class CMonitorBoard;
struct ServiceContext;

IKzUnknown* kzMakeDialogService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CMonitorBoard> monitors,
                                std::shared_ptr<CLogStore> log);

}  // namespace kzhost
