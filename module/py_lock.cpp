// The interpreter-lock guard.
#include "module/py_lock.h"

#include "module/runtime.h"

#include "kz/result.h"

thread_local PyThreadState* CPyLock::t_own = nullptr;

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
    if (isHeld()) return;
    CGatePass pass;
    PythonRuntime::ensureStarted();
    PyThreadState* main = PythonRuntime::current()->mainThread();
    m_thread = t_own != nullptr ? t_own : PyGILState_GetThisThreadState();
    if (m_thread == nullptr) {
        m_thread = PyThreadState_New(main->interp);  // kept for the life of the process
        if (m_thread == nullptr) throw KZe_OUTOFMEMORY;
        t_own = m_thread;
    } else if (m_thread == main) {
        t_own = m_thread;
    }
    PyEval_AcquireThread(m_thread);
    pass.keep();
    m_acquired = true;
}

void CPyLock::giveBack() noexcept {
    m_acquired = false;
    PyEval_ReleaseThread(m_thread);
    PythonRuntime::leave();
}
