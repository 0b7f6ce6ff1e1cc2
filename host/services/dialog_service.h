// The dialog service of a host without windows: messages go to the log, and monitors to the monitor board.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;
class CMonitorBoard;

extern const ServiceFactory<CMonitorBoard, CLogStore> kzMakeDialogService;

}  // namespace kzhost
