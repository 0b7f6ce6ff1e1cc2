// The guard that every entry from the host into Python takes.
//
// Python calls the host with the interpreter lock held, and the host may call back into Python before that call returns.
// So a guard distinguishes two cases. The outermost guard of a thread passes the gate, starts Python if necessary, finds
// or makes the thread's Python state and takes the lock. A guard on a thread that already holds the lock is nested: it
// takes nothing, but joins a list of the nested guards of all threads. From this list the wrappers learn whether Python is
// running inside a call on a certain host object, whose last reference must then not be dropped under that call.
#pragma once

#include "module/lock_state.h"

// The object on which Python called the host last, on any thread, whether or not the call has returned. Callers that own
// no reference during a call store the object here first. Guarded by the interpreter lock.
[[gnu::visibility("hidden")]] extern const void* kzCalledObject;

// Construct it first, release it last. It starts Python on the first entry of the process, gives the calling thread a
// Python thread state of its own, and takes the interpreter lock unless the thread holds it already. Throws a KzResult,
// without taking anything, if Python could not be started or has been shut down.
class CPyLock : public CLockState {
public:
    // `what` describes what the thread is about to do, for the log line of an unload that gives up on it. Not copied.
    explicit CPyLock(const char* what = "Python code") {
        // Fast path: the thread already holds the lock, inside some outer guard.
        if (t_own != nullptr && t_own == current() && isOurs()) nest();
        else acquire(what);
    }
    ~CPyLock() { release(); }
    CPyLock(const CPyLock&) = delete;
    CPyLock& operator=(const CPyLock&) = delete;

    // Releases the lock if this guard took it. A second call is a no-op.
    void release() noexcept {
        if (m_thread != nullptr) giveBack();
        else if (m_place != nullptr) unnest();
    }
    bool acquired() const noexcept { return m_thread != nullptr; }

    // Whether, on any thread, Python code is running inside a call that Python made to the host on this object. If not, no
    // such call is in progress at all, because they are made with the lock held. Needs the lock.
    static bool isCalled(const void* object) noexcept;
    // Whether a thread has entered Python without this guard, as a C extension does to handle events of the host's
    // windows. In that case `isCalled` may miss the call inside which this happened. Needs the lock.
    static bool isEnteredOtherwise() noexcept;
    static bool isInsideHostCall() noexcept { return s_nested != nullptr || isEnteredOtherwise(); }
    // A hook that is called, with the lock held, whenever a guard is about to end; null for none.
    static void setLeaveHook(void (*hook)() noexcept) noexcept { s_leaveHook = hook; }

private:
    void acquire(const char* what);
    void giveBack() noexcept;
    // Python calls the host with the lock held, so a nested guard is inside the call that was made last. Other threads may
    // make calls before this guard ends, hence the list, which guards leave in any order.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"  // the guard leaves the list before it is destroyed
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
        kzCalledObject = m_called;  // the host now continues that call
    }

    static CPyLock* s_nested;  // the list of the nested guards of all threads; guarded by the lock
    static void (*s_leaveHook)() noexcept;

    PyThreadState* m_thread = nullptr;  // set only while this guard owns the lock
    CPyLock** m_place = nullptr;        // while in the list: the pointer that points to this guard
    CPyLock* m_next;
    const void* m_called;  // the object of the call inside which this guard was entered
};
