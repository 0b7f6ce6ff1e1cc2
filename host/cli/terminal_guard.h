// The terminal as it was before the console began: it is so again however the process ends.
#pragma once

namespace kzhost {

// While one lives, the settings of the terminal are put back when the process leaves through exit or _exit, on whatever
// thread, or dies by a signal that can be caught. What follows a signal is left to whoever else has a handler for it.
class CTerminalGuard {
public:
    CTerminalGuard();
    ~CTerminalGuard();
    CTerminalGuard(const CTerminalGuard&) = delete;
    CTerminalGuard& operator=(const CTerminalGuard&) = delete;

    // Takes the deadly signals that nobody has taken. Called again, because scripts may have changed that.
    static void watchSignals();
};

}  // namespace kzhost
