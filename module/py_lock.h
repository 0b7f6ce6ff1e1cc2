// The guard that every entry from the host into Python takes.
#pragma once

#include "module/python.h"

// Construct it first, release it last. It starts Python on the first entry of the process, gives the calling thread a
// Python thread state of its own, and takes the interpreter lock unless the thread holds it already. Throws a KzResult
// when Python could not be started or has been shut down; nothing is held then.
class CPyLock {
public:
    CPyLock() {
        // A thread that holds the lock is inside some outer guard: nothing to do, and this is the common case.
        if (t_own != nullptr && t_own == _PyThreadState_Current) return;
        acquire();
    }
    ~CPyLock() { release(); }
    CPyLock(const CPyLock&) = delete;
    CPyLock& operator=(const CPyLock&) = delete;

    // Gives the lock back if this guard took it. The destructor does the same for whoever leaves by an exception.
    void release() noexcept {
        if (m_acquired) giveBack();
    }
    bool acquired() const noexcept { return m_acquired; }

    // Whether the calling thread holds the interpreter lock.
    static bool isHeld() noexcept;

private:
    void acquire();
    void giveBack() noexcept;

    // This thread's state, where it is one that lives as long as the process: made here, or the main thread's.
    static thread_local PyThreadState* t_own;

    PyThreadState* m_thread = nullptr;
    bool m_acquired = false;
};
