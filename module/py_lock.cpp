// The interpreter-lock guard.
#include "module/py_lock.h"

#include "module/runtime.h"

#include "kz/result.h"

#include <utility>

thread_local PyThreadState* CPyLock::t_own = nullptr;
int CPyLock::s_nested = 0;
void (*CPyLock::s_leaveHook)() noexcept = nullptr;

namespace {

// Counts an entry at the gate, until `keep`.
class CGatePass {
public:
    CGatePass() {
        if (!PythonRuntime::enter()) throw KZe_NOTAVAILABLE;
    }
    ~CGatePass() {
        if (!m_kept) PythonRuntime::leave();
    }
    CGatePass(const CGatePass&) = delete;
    CGatePass& operator=(const CGatePass&) = delete;
    void keep() noexcept { m_kept = true; }

private:
    bool m_kept = false;
};

bool holdsLock(PyThreadState* thread) noexcept { return thread != nullptr && thread == _PyThreadState_Current; }

}  // namespace

bool CPyLock::isHeld() noexcept {
    return _PyThreadState_Current != nullptr && holdsLock(PyGILState_GetThisThreadState());
}

void CPyLock::acquire() {
    // Before the gate: a thread inside Python may always come back in, even while the gate is closing.
    if (isHeld()) {
        ++s_nested;
        return;
    }
    CGatePass pass;
    PythonRuntime::ensureStarted();
    PyThreadState* main = PythonRuntime::current()->mainThread();
    PyThreadState* thread = t_own != nullptr ? t_own : PyGILState_GetThisThreadState();
    if (thread == nullptr) {
        thread = PyThreadState_New(main->interp);  // kept for the life of the process
        if (thread == nullptr) throw KZe_OUTOFMEMORY;
        t_own = thread;
    } else if (thread == main) {
        t_own = thread;
    }
    PyEval_AcquireThread(thread);
    pass.keep();
    m_thread = thread;
}

void CPyLock::giveBack() noexcept {
    if (s_leaveHook != nullptr) s_leaveHook();
    PyEval_ReleaseThread(std::exchange(m_thread, nullptr));
    PythonRuntime::leave();
}
