// The guard that every entry from the host into Python takes.
#pragma once

#include "module/lock_state.h"

// The object of the call that Python made to the host last, on whatever thread, whether or not the call has returned.
// Callers that hold no reference of their own during a call store it here first. Guarded by the interpreter lock.
[[gnu::visibility("hidden")]] extern const void* kzCalledObject;

// Construct it first, release it last. It starts Python on the first entry of the process, gives the calling thread a
// Python thread state of its own, and takes the interpreter lock unless the thread holds it already. Throws a KzResult
// when Python could not be started or has been shut down; nothing is held then.
class CPyLock : public CLockState {
public:
    // `what` names what the thread is about to do, for the log line of an unload that cannot wait for it. Not copied.
    explicit CPyLock(const char* what = "Python code") {
        // A thread that holds the lock is inside some outer guard, which is the common case.
        if (t_own != nullptr && t_own == _PyThreadState_Current && isOurs()) nest();
        else acquire(what);
    }
    ~CPyLock() { release(); }
    CPyLock(const CPyLock&) = delete;
    CPyLock& operator=(const CPyLock&) = delete;

    // Gives the lock back if this guard took it. The destructor does the same for whoever leaves by an exception.
    void release() noexcept {
        if (m_thread != nullptr) giveBack();
        else if (m_place != nullptr) unnest();
    }
    bool acquired() const noexcept { return m_thread != nullptr; }

    // Whether Python runs, on any thread, inside a call that Python made to the host on this object. Where it does not,
    // no such call is in progress: they are made with the lock held. Needs the lock.
    static bool isCalled(const void* object) noexcept;
    // Whether a thread has entered Python by other means than the guard, as a C extension does for events of the host's
    // windows. Then `isCalled` may miss the call from inside which that happened. Needs the lock.
    static bool isEnteredOtherwise() noexcept;
    static bool isInsideHostCall() noexcept { return s_nested != nullptr || isEnteredOtherwise(); }
    // Called, with the lock held, whenever a guard is about to end; null for nothing.
    static void setLeaveHook(void (*hook)() noexcept) noexcept { s_leaveHook = hook; }

private:
    void acquire(const char* what);
    void giveBack() noexcept;
    // Python calls the host with the lock held, so whoever finds the lock held entered from inside the call made last.
    // Other threads may make calls before this guard ends, hence the list, from which guards go in any order.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"  // the guard leaves the list before it ends
#endif
    void nest() noexcept {
        m_called = kzCalledObject;
        m_next = s_nested;
        m_place = &s_nested;
        if (m_next != nullptr) m_next->m_place = &m_next;
        s_nested = this;
    }
#pragma GCC diagnostic pop
    void unnest() noexcept {
        if (s_leaveHook != nullptr) s_leaveHook();
        *m_place = m_next;
        if (m_next != nullptr) m_next->m_place = m_place;
        m_place = nullptr;
        kzCalledObject = m_called;  // the host goes on with that call
    }

    static CPyLock* s_nested;  // the guards of all threads that found the lock held; changed under the lock
    static void (*s_leaveHook)() noexcept;

    PyThreadState* m_thread = nullptr;  // set while this guard is the one that took the lock
    CPyLock** m_place = nullptr;        // what points to this guard while it is in the list
    CPyLock* m_next;
    const void* m_called;  // the call from inside which this guard was entered
};
