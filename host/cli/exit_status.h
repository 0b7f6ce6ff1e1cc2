// What the program's exit status means.
#pragma once

namespace kzhost {

enum ExitStatus : int {
    exitOk = 0,
    exitFailed = 1,
    exitUsage = 2,
    exitNoModule = 3,
    exitNoInterpreter = 4,
    exitMostOfScript = 125,
    exitInterrupted = 130,
    exitReaderGone = 141,  // that of a program killed by SIGPIPE
};

}  // namespace kzhost
