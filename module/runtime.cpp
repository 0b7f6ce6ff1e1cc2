// The process-wide interpreter and the gate in front of it.
#include "module/runtime.h"

#include "module/checks.h"
#include "module/error_report.h"
#include "module/explain.h"
#include "module/output.h"
#include "module/parts.h"
#include "module/py_lock.h"
#include "module/thread_states.h"

#include "kz/result.h"

#include <chrono>
#include <thread>

namespace {

std::atomic<PythonRuntime*> theRuntime{nullptr};
std::atomic<bool> theReady{false};  // started, servers imported: entries need not look further
std::atomic<bool> theGateClosed{false};
std::atomic<std::uint32_t> theInside{0};
std::recursive_mutex theStartLock;
KzModuleParts theParts;

// Destroys what a failed start has built, whatever it failed with.
class StartAttempt {
public:
    explicit StartAttempt(std::unique_ptr<MainInterpreter>& record) : m_record(&record) {}
    ~StartAttempt() {
        if (m_record != nullptr) m_record->reset();
    }
    StartAttempt(const StartAttempt&) = delete;
    StartAttempt& operator=(const StartAttempt&) = delete;
    void succeeded() noexcept { m_record = nullptr; }

private:
    std::unique_ptr<MainInterpreter>* m_record;
};

// How long unload waits for threads that are still running Python.
constexpr std::chrono::seconds patience{10};

}  // namespace

void kzSetParts(const KzModuleParts& parts) noexcept { theParts = parts; }
const KzModuleParts& kzParts() noexcept { return theParts; }

PythonRuntime* PythonRuntime::current() noexcept { return theRuntime; }

bool PythonRuntime::enter() noexcept {
    ++theInside;
    if (!theGateClosed) return true;
    --theInside;
    return false;
}

void PythonRuntime::leave() noexcept { --theInside; }

MainInterpreter* PythonRuntime::interpreter() {
    if (m_state != notStarted) return m_state == started ? m_interpreter.get() : nullptr;
    m_state = started;
    m_kzuObject = nullptr;
    m_kzuObjectNames = nullptr;
    m_failure = KZe_STARTUP;  // until the last step is done
    m_interpreter = std::make_unique<MainInterpreter>();
    StartAttempt attempt(m_interpreter);
    try {
        m_interpreter->start(m_progress);
    } catch (KzResult code) {
        if (kzFailed(code)) m_failure = code;
        throw m_failure;
    }
    attempt.succeeded();
    m_failure = 0;
    m_progress.clear();
    m_mainThread = m_interpreter->mainThread();
    CThreadStates::begin(m_mainThread);
    return m_interpreter.get();
}

MainInterpreter& PythonRuntime::running() {
    return *kzNonNull(kzNonNull(current(), KZe_NOTAVAILABLE)->interpreter(), KZe_NOTAVAILABLE);
}

void PythonRuntime::ensureStarted() {
    if (theReady) return;
    // The host's first entries are not to race, but if they do, the later ones wait here.
    const std::lock_guard lock(theStartLock);
    if (theGateClosed) throw KZe_NOTAVAILABLE;
    if (theRuntime == nullptr) {
        theRuntime = new PythonRuntime();
        theRuntime.load()->interpreter();
        theRuntime.load()->importServers();
        theReady = true;
    }
    if (const KzResult code = theRuntime.load()->failure()) throw code;
}

PyObject* PythonRuntime::kzuObject() {
    if (m_kzuObject != nullptr) return m_kzuObject;
    if (m_state == started) {
        const CPyRefNull imported(PyImport_ImportModule("kzu.object"));
        if (imported.get() == nullptr) {
            kzWrite("kzu.object failed to import", KZe_INFO);
            kzTellException();
        }
    }
    m_kzuObject = PyImport_AddModule("kzu.object");
    Py_XINCREF(m_kzuObject);  // for the life of the interpreter: a script may take it from sys.modules
    return m_kzuObject;
}

PyObject* PythonRuntime::findKzuObjectNames() {
    PyObject* module = kzuObject();
    if (module != nullptr) m_kzuObjectNames = PyModule_GetDict(module);
    return m_kzuObjectNames;
}

void PythonRuntime::importServers() {
    PyEval_AcquireThread(m_mainThread);
    {
        const CPyRefNull result(
            PyRun_String("import kzserv\n", Py_file_input, m_interpreter->globals, m_interpreter->locals));
        if (result.get() == nullptr) kzTellException("importing servers (kzserv) failed");
    }
    PyEval_ReleaseThread(m_mainThread);
}

void PythonRuntime::closeGate() noexcept {
    theGateClosed = true;
    if (CPyLock::isHeld()) return;  // called from Python itself, which will not get further while this waits
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (theInside != 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void PythonRuntime::stop() {
    closeGate();  // before the lock: whoever is inside may be waiting for it
    const std::lock_guard lock(theStartLock);
    CThreadStates::end();
    theReady = false;
    PythonRuntime* runtime = theRuntime;
    if (runtime == nullptr) return;
    runtime->m_progress.clear();
    if (theInside != 0) {
        // Somebody is still inside: everything is left as it is, for ever, instead of being pulled away under them.
        runtime->m_state = shutDown;
        static_cast<void>(runtime->m_interpreter.release());
        return;
    }
    if (runtime->m_interpreter) {
        PyThreadState* thread = runtime->m_interpreter->endingThread();
        PyEval_AcquireThread(thread);
        theParts.releaseServers();
        kzTellRepeatedReasons();
        PyEval_ReleaseThread(thread);
    }
    runtime->m_state = shutDown;
    runtime->m_interpreter.reset();
    theParts.forgetPython();
    kzReleaseOutput();
    delete theRuntime.exchange(nullptr);
}
