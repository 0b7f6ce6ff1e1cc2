// The log service.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CLogStore;
class CListenerTable;
class CTextBoard;

extern const ServiceFactory<CLogStore, CListenerTable, CTextBoard> kzMakeLogService;

}  // namespace kzhost
