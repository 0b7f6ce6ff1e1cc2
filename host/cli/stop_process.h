// kzhost stop: ends what another kzhost runs.
#pragma once

#include <string>

namespace kzhost {

int kzStopProcess(const std::string& process);

}  // namespace kzhost
