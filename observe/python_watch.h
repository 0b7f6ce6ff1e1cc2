// Records the calls of a script, or plays a recording of them, by the Python package kzserv.recording.
#pragma once

#include "observe/call_watcher.h"

#include <memory>
#include <string>

// Nothing happens until a script runs.
std::unique_ptr<CCallWatcher> kzMakeRecorder(const std::string& file);
std::unique_ptr<CCallWatcher> kzMakePlayer(const std::string& file);
// Adds the module _kzobserve, by which the package does what Python alone cannot.
void kzAddObserveModule();
