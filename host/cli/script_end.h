// The exit status for the end of a script or line.
#pragma once

#include "host/state/script_outcome.h"

#include <string>

namespace kzhost {

// The status for a script or line that has requested its end. A message in its text is reported under that name.
int kzStatusOfExit(const std::string& name, const ScriptOutcome& end);
// The status for a result code of success.
int kzStatusOfCode(const std::string& name, KzResult code);

}  // namespace kzhost
