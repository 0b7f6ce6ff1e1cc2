// Names that queries select, and that have to exist.
#include "host/core/needed_names.h"

#include "host/core/command_text.h"
#include "host/core/log_store.h"
#include "host/core/reasons.h"

#include "kz/result.h"
#include "kz/tables.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace kzhost {

const std::string& kzNeedSubsystem(const CLogStore& log, const std::string& name) {
    std::vector<std::string> names{"commands", "objects", "python", "scripts"};
    for (const auto& each : log.subsystems()) names.push_back(each->name());
    if (name.empty() || std::find(names.begin(), names.end(), name) != names.end()) return name;
    throw CommandTextError{KZe_NOTFOUND, kzThereIsNo("subsystem", name, names)};
}

const std::string& kzNeedClass(const std::string& name) {
    const auto isNamed = [&](const KzIdentityRow& row) { return row.server != nullptr && name == row.server; };
    if (name.empty() || std::any_of(std::begin(kzIdentityRows), std::end(kzIdentityRows), isNamed)) return name;
    throw CommandTextError{KZe_NOTFOUND, "there is no class of servers \"" + name + "\""};
}

}  // namespace kzhost
