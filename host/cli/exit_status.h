// What the program's exit status means, and which one the end of a script or line gives.
#pragma once

#include "host/state/script_outcome.h"

#include <string>

enum ExitStatus : int {
    exitOk = 0,
    exitFailed = 1,
    exitUsage = 2,
    exitNoModule = 3,
    exitNoInterpreter = 4,
    exitMostOfScript = 125,
    exitInterrupted = 130,
    exitReaderGone = 141,  // as of a program that SIGPIPE ends
};

// The status for a script or line that asked to end. What its text says besides the status is told under that name.
int kzStatusOfExit(const std::string& name, const ScriptOutcome& end);
// The status for a result code of success.
int kzStatusOfCode(const std::string& name, KzResult code);
