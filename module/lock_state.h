// Who holds the interpreter lock. Knows nothing of how it is taken, so that everybody may ask.
#pragma once

#include "module/python.h"

#include "kz/base/forever.h"

#include <atomic>

class CLockState {
public:
    // Whether the calling thread holds the lock of the interpreter that this module started.
    static bool isHeld() noexcept;
    // Python may be somebody else's in this process, before this module has started it or after it has ended it.
    static bool isOurs() noexcept { return s_isOurs.load(std::memory_order_relaxed); }
    static void setOurs(bool isOurs) noexcept { s_isOurs = isOurs; }

protected:
    // This thread's state, where it is one that lives as long as the process: made for it, or the main thread's.
    KZ_THREAD_LOCAL static thread_local PyThreadState* t_own;

private:
    static std::atomic<bool> s_isOurs;
};
