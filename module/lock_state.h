// Whether the calling thread holds the interpreter lock. This is separate from the guard that takes it, so that lower
// parts can ask without depending on the guard.
#pragma once

#include "module/python.h"

#include "kz/base/forever.h"

#include <atomic>

class CLockState {
public:
    // Whether the calling thread holds the lock of the interpreter that this module has started.
    static bool isHeld() noexcept;
    // False before this module has started Python and after it has ended it: an interpreter that runs then is not ours.
    static bool isOurs() noexcept { return s_isOurs.load(std::memory_order_relaxed); }
    static void setOurs(bool isOurs) noexcept { s_isOurs = isOurs; }
    // The state of whichever thread holds the lock; null if none does. A thread without the lock can only compare it with
    // its own state: nobody else writes that one there, so the answer is true for as long as it matters.
    static PyThreadState* current() noexcept { return __atomic_load_n(&_PyThreadState_Current, __ATOMIC_RELAXED); }
    // Before the interpreter frees its table of the threads' states: waits until no thread looks into it, and lets none
    // do so again. The calling thread, whose state this is, holds the lock for the rest of the interpreter's life.
    static void endLookups(PyThreadState* state) noexcept;

protected:
    // The thread's state, if it is one that is never deleted: made by this module, or the main thread's. Null otherwise.
    KZ_THREAD_LOCAL static thread_local PyThreadState* t_own;

private:
    static std::atomic<bool> s_isOurs;
};
