// The notification service: notifiers by name and arguments.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CCommandState;
class CNotifierTable;

extern const ServiceFactory<CNotifierTable, CCommandState> kzMakeNotifyService;

}  // namespace kzhost
