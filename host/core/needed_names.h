// Names that queries select, and that have to exist.
#pragma once

#include <string>

namespace kzhost {

class CLogStore;

// Both return the name, which may be empty for everything, or throw CommandTextError if there is no such thing. A subsystem
// to which the host and its modules write exists from the start.
const std::string& kzNeedSubsystem(const CLogStore& log, const std::string& name);
const std::string& kzNeedClass(const std::string& name);

}  // namespace kzhost
