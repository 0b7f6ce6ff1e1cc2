// Who this host is.
#include "host/state/version.h"

#include <cstdlib>

namespace kzhost {

std::string kzConfigFolder() {
    const auto environment = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value != nullptr ? value : "");
    };
    const std::string config = environment("XDG_CONFIG_HOME");
    if (!config.empty()) return config + "/kzhost";
    const std::string home = environment("HOME");
    return home.empty() ? std::string() : home + "/.config/kzhost";
}

}  // namespace kzhost
