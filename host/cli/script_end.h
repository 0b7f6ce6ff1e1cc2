// Which exit status the end of a script or line gives.
#pragma once

#include "host/state/script_outcome.h"

#include <string>

namespace kzhost {

// The status for a script or line that asked to end. What its text says besides the status is told under that name.
int kzStatusOfExit(const std::string& name, const ScriptOutcome& end);
// The status for a result code of success.
int kzStatusOfCode(const std::string& name, KzResult code);

}  // namespace kzhost
