// A trace of all calls, in the JSON array format that Perfetto and Chrome's viewer open.
#pragma once

#include "observe/call_watcher.h"

#include <memory>
#include <string>

// Throws FAILED, with a line on standard error, if the file cannot be written.
std::unique_ptr<CCallWatcher> kzMakeCallTrace(const std::string& file);
