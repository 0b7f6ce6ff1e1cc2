// The guard that every entry from the host into Python takes.
#pragma once

#include "module/python.h"

#include "kz/base/forever.h"

#include <atomic>

// Construct it first, release it last. It starts Python on the first entry of the process, gives the calling thread a
// Python thread state of its own, and takes the interpreter lock unless the thread holds it already. Throws a KzResult
// when Python could not be started or has been shut down; nothing is held then.
class CPyLock {
public:
    // `what` names what the thread is about to do, for the log line of an unload that cannot wait for it. Not copied.
    explicit CPyLock(const char* what = "Python code") {
        // A thread that holds the lock is inside some outer guard: nothing to do, and this is the common case.
        if (t_own != nullptr && t_own == _PyThreadState_Current && isOurs()) ++s_nested;
        else acquire(what);
    }
    ~CPyLock() { release(); }
    CPyLock(const CPyLock&) = delete;
    CPyLock& operator=(const CPyLock&) = delete;

    // Gives the lock back if this guard took it. The destructor does the same for whoever leaves by an exception.
    void release() noexcept {
        if (m_thread != nullptr) giveBack();
        else if (!m_released) --s_nested;
        m_released = true;
    }
    bool acquired() const noexcept { return m_thread != nullptr; }

    // Whether the calling thread holds the lock of the interpreter that this module started.
    static bool isHeld() noexcept;
    // Python may be somebody else's in this process, before this module has started it or after it has ended it.
    static bool isOurs() noexcept { return s_isOurs.load(std::memory_order_relaxed); }
    static void setOurs(bool isOurs) noexcept { s_isOurs = isOurs; }
    // Whether Python is running inside a call that Python made to the host, on any thread. Where it is not, no such call
    // is under way: they are made with the lock held. Needs the lock.
    static bool isInsideHostCall() noexcept { return s_nested > 0; }
    // Called, with the lock held, before an outermost guard gives it back.
    static void setLeaveHook(void (*hook)() noexcept) noexcept { s_leaveHook = hook; }

private:
    void acquire(const char* what);
    void giveBack() noexcept;

    // This thread's state, where it is one that lives as long as the process: made here, or the main thread's.
    KZ_THREAD_LOCAL static thread_local PyThreadState* t_own;

    static int s_nested;  // guards of all threads that found the lock held; changed under the lock
    static void (*s_leaveHook)() noexcept;
    static std::atomic<bool> s_isOurs;

    PyThreadState* m_thread = nullptr;  // set while this guard is the one that took the lock
    bool m_released = false;
};
