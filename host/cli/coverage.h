// kzhost coverage: what of the SDK works in this host, and what it calls of servers.
#pragma once

#include <string>

namespace kzhost {

// Of everything, or of the interface, service and kind of server of that name.
int kzShowCoverage(const std::string& name, bool isJson);

}  // namespace kzhost
