// The host's name and version, and the folder of its user's files.
#include "host/state/version.h"

#include <cstdlib>

namespace kzhost {

std::string kzEnvironment(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value != nullptr ? value : std::string();
}

std::string kzConfigFolder() {
    const std::string config = kzEnvironment("XDG_CONFIG_HOME");
    if (!config.empty()) return config + "/kzhost";
    const std::string home = kzEnvironment("HOME");
    return home.empty() ? std::string() : home + "/.config/kzhost";
}

}  // namespace kzhost
