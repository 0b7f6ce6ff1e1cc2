// The time that calls take, summed by method.
#pragma once

#include "observe/call_watcher.h"

#include <memory>
#include <string>

// A table with a line for each method, by its own time: calls, failures, total time, time without the calls inside it, and
// the longest call. Throws FAILED, with a line on standard error, if the file cannot be written.
std::unique_ptr<CCallWatcher> kzMakeCallProfile(const std::string& file);
