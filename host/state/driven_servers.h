// The kinds of servers that this host calls, and the operations that it calls of each: recorded from runs of the host, in
// driven_servers.def.
#pragma once

#include "kz/base/unknown.h"

#include <span>

namespace kzhost {

struct DrivenServer {
    const char* kind;        // the interface
    const char* operations;  // separated by spaces
};

std::span<const DrivenServer> kzDrivenServers() noexcept;
bool kzCallsServers(const KzGuid& iid) noexcept;

}  // namespace kzhost
