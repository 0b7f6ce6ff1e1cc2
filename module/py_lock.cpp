// The guard's slow path: the outermost entry of a thread.
#include "module/py_lock.h"

#include "module/gate.h"
#include "module/runtime.h"
#include "module/thread_states.h"

#include "kz/result.h"

#include <utility>

const void* kzCalledObject = nullptr;

CPyLock* CPyLock::s_nested = nullptr;
void (*CPyLock::s_leaveHook)() noexcept = nullptr;

namespace {

// RAII guard that passes the gate, and leaves it again unless `keep` is called.
class CGatePass {
public:
    explicit CGatePass(const char* what) {
        if (!CGate::enter(what)) throw KZe_NOTAVAILABLE;
    }
    ~CGatePass() {
        if (!m_staysInside) CGate::leave();
    }
    CGatePass(const CGatePass&) = delete;
    CGatePass& operator=(const CGatePass&) = delete;
    void keep() noexcept { m_staysInside = true; }

private:
    bool m_staysInside = false;
};

}  // namespace

void CPyLock::acquire(const char* what) {
    // Tested before the gate: a thread inside Python may always re-enter, even while the gate is closing.
    if (isHeld()) {
        nest();
        return;
    }
    CGatePass pass(what);
    PythonRuntime::ensureStarted(what);
    PyThreadState* existing = t_own != nullptr ? t_own : PyGILState_GetThisThreadState();
    PyThreadState* thread = existing != nullptr ? existing : CThreadStates::take();
    if (thread == nullptr) throw KZe_OUTOFMEMORY;
    if (t_own == nullptr && (existing == nullptr || thread == PythonRuntime::current()->mainThread())) {
        t_own = thread;
        CThreadStates::watch(t_own);
    }
    PyEval_AcquireThread(thread);
    pass.keep();
    m_thread = thread;
    if (existing != nullptr) return;
    PyThreadState_Clear(thread);  // drops what a previous owner has left in a recycled state
    MainInterpreter& interpreter = PythonRuntime::running();
    interpreter.importThreading();
    interpreter.installHooks();
}

bool CPyLock::isCalled(const void* object) noexcept {
    for (const CPyLock* guard = s_nested; guard != nullptr; guard = guard->m_next)
        if (object == guard->m_called) return true;
    return false;
}

bool CPyLock::isEnteredOtherwise() noexcept {
    for (PyThreadState* each = PyInterpreterState_ThreadHead(PyThreadState_GET()->interp); each != nullptr;
         each = PyThreadState_Next(each))
        if (each->gilstate_counter > 1) return true;
    return false;
}

void CPyLock::giveBack() noexcept {
    if (s_leaveHook != nullptr) s_leaveHook();
    PyEval_ReleaseThread(std::exchange(m_thread, nullptr));
    CGate::leave();
}
