// The kinds of servers that this host calls.
#include "host/state/driven_servers.h"

#include "kz/tables.h"

#include <algorithm>
#include <string_view>

namespace kzhost {

namespace {

constexpr DrivenServer drivenServers[] = {
#include "host/state/driven_servers.def"
};

}  // namespace

std::span<const DrivenServer> kzDrivenServers() noexcept { return drivenServers; }

bool kzCallsServers(const KzGuid& iid) noexcept {
    const auto row = std::find_if(std::begin(kzIdentityRows), std::end(kzIdentityRows),
                                  [&](const KzIdentityRow& each) { return each.iid == iid; });
    return row != std::end(kzIdentityRows) &&
           std::any_of(std::begin(drivenServers), std::end(drivenServers),
                       [name = std::string_view(row->name)](const DrivenServer& each) { return name == each.kind; });
}

}  // namespace kzhost
