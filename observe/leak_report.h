// What is still alive when the interpreter has ended: wrappers, each of which holds a reference to a host object, and served
// instances, to which the host or a leaked wrapper holds one.
#pragma once

#include "observe/call_watcher.h"

#include <memory>
#include <string>

// The mode is "report" or "error", which says the level of the lines in the log. Throws INVALIDARG, with a line on standard
// error, for another one.
std::unique_ptr<CCallWatcher> kzMakeLeakReport(const std::string& mode);
