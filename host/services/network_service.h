// The network service of a host that fetches only what lies on its own disks.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;

extern const ServiceFactory<CPathAliases> kzMakeNetworkService;

}  // namespace kzhost
