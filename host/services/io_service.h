// The I/O service: streams, block stores, and the rules for files that have moved.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
struct OpenScenes;
struct RedirectRules;

extern const ServiceFactory<CPathAliases, OpenScenes, RedirectRules> kzMakeIOService;

}  // namespace kzhost
