// Starting and stopping the process-wide interpreter.
#include "module/runtime.h"

#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/error_report.h"
#include "module/explain.h"
#include "module/gate.h"
#include "module/lock_state.h"
#include "module/output.h"
#include "module/parts.h"
#include "module/stop.h"
#include "module/thread_states.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"
#include "kz/result.h"

#include <chrono>
#include <cstring>
#include <thread>
#include <unistd.h>

namespace {

CKzForever<PythonRuntime> theOnlyRuntime;
std::atomic<PythonRuntime*> theRuntime{nullptr};  // points to it from the first entry until Python has ended
std::atomic<bool> theReady{false};                // started, and servers imported: the fast path of an entry
std::atomic<pid_t> theProgram{0};                 // the process in which Python runs as a program of its own
std::recursive_mutex theStartLock;
KzModuleParts theParts;

// RAII guard that destroys the record of a start that fails, whatever it throws.
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

// RAII guard for the start lock. Throws NOTAVAILABLE if unload begins while this thread waits.
class CStartTurn {
public:
    CStartTurn() {
        while (!theStartLock.try_lock()) {
            if (CGate::isClosed()) throw KZe_NOTAVAILABLE;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ~CStartTurn() { theStartLock.unlock(); }
    CStartTurn(const CStartTurn&) = delete;
    CStartTurn& operator=(const CStartTurn&) = delete;
};

// How long unload waits for threads that are still running Python, or starting it.
constexpr std::chrono::seconds patience{10};

void tellWhoStays() noexcept {
    constexpr char text[] = "Python cannot end and stays as it is until the process ends: it is still in use by ";
    char line[2048];
    std::memcpy(line, text, sizeof text);
    CGate::describe(line + sizeof text - 1, sizeof line - sizeof text + 1);
    kzLog(line, KZe_WARNING);
}

}  // namespace

void kzSetParts(const KzModuleParts& parts) noexcept { theParts = parts; }
const KzModuleParts& kzParts() noexcept { return theParts; }

PythonRuntime* PythonRuntime::current() noexcept { return theRuntime; }

MainInterpreter* PythonRuntime::interpreter() {
    if (m_state != notStarted) return m_state == started ? m_interpreter.get() : nullptr;
    begin([this] {
        m_interpreter = std::make_unique<MainInterpreter>();
        m_interpreter->releaseSupport = [this] {
            m_kzuObjectNames = nullptr;
            Py_CLEAR(m_kzuObject);
        };
        m_interpreter->start(m_progress, [this] { kzuObject(); });
    });
    return m_interpreter.get();
}

// Takes the steps of `start`, or destroys the record. Later entries get the code of its failure, whatever it throws.
void PythonRuntime::begin(const std::function<void()>& start) {
    m_state = started;
    m_kzuObject = nullptr;
    m_kzuObjectNames = nullptr;
    m_failure = KZe_STARTUP;  // until the last step is done
    StartAttempt attempt(m_interpreter);
    try {
        start();
    } catch (...) {
        if (const KzResult code = kzCodeOfException(); kzFailed(code)) m_failure = code;
        throw m_failure;
    }
    attempt.succeeded();
    m_failure = 0;
    m_progress = "";
    m_mainThread = m_interpreter->mainThread();
    CThreadStates::begin(m_mainThread);
    CStopper::begin(m_mainThread->interp);
}

MainInterpreter& PythonRuntime::running() {
    return *kzNonNull(kzNonNull(current(), KZe_NOTAVAILABLE)->interpreter(), KZe_NOTAVAILABLE);
}

void PythonRuntime::ensureStarted(const char* what) {
    if (theReady) return;
    // If several threads make the first entry at once, all but one wait here.
    const CStartTurn turn;
    if (theRuntime == nullptr) {
        if (theProgram != 0) throw KZe_NOTAVAILABLE;  // it has not imported kz, so there is nothing to enter for
        CGate::rename("starting Python");
        theRuntime = &*theOnlyRuntime;
        theRuntime.load()->interpreter();
        theRuntime.load()->importServers();
        theReady = true;
        CGate::rename(what);
    }
    if (const KzResult code = theRuntime.load()->failure()) throw code;
}

PyObject* PythonRuntime::kzuObject() {
    if (m_kzuObject != nullptr || m_state == shutDown) return m_kzuObject;
    if (m_state == started) {
        const CPyRefNull module(PyImport_ImportModule("kzu.object"));
        if (module.get() == nullptr) {
            kzWrite("kzu.object failed to import", KZe_INFO);
            kzTellException();
        }
    }
    m_kzuObject = PyImport_AddModule("kzu.object");
    Py_XINCREF(m_kzuObject);  // kept until exit functions have run: a script may remove it from sys.modules
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
        const CPyRefNull result(kzWatchedAside(KzCrossing::toPython, "kzserv", "import", nullptr, [this] {
            return PyRun_String("import kzserv\n", Py_file_input, m_interpreter->globals, m_interpreter->locals);
        }));
        if (result.get() == nullptr) kzTellException("importing servers (kzserv) failed");
    }
    PyEval_ReleaseThread(m_mainThread);
}

int PythonRuntime::runProgram(const std::vector<std::string>& words) {
    {
        const CStartTurn turn;
        kzTrue(theRuntime == nullptr && theProgram == 0 && Py_IsInitialized() == 0 && !CGate::isClosed(),
               KZe_NOTAVAILABLE);
        theProgram = getpid();
    }
    auto& record = theOnlyRuntime->m_interpreter = std::make_unique<MainInterpreter>();
    return record->runProgram(words, [] {
        if (const KzResult code = kzBoundary([] { return theOnlyRuntime->adopt(); }); kzFailed(code))
            if (PyErr_Occurred() == nullptr) PyErr_Format(PyExc_ImportError, "kz cannot be set up (0x%08x)", code);
    });
}

bool PythonRuntime::isProgram() noexcept { return theProgram == getpid(); }

// Runs when the program imports kz. The importing thread, which may be any thread, holds the interpreter lock.
KzResult PythonRuntime::adopt() {
    const CStartTurn turn;
    kzTrue(m_interpreter != nullptr && m_state == notStarted, KZe_NOTAVAILABLE);
    theRuntime = this;
    begin([this] { m_interpreter->adopt(m_progress, [this] { kzuObject(); }); });
    static PyMethodDef ending = {"leave", endOfProgram, METH_NOARGS, nullptr};
    const CPyRef function(PyCFunction_New(&ending, nullptr), CPyRef::owned);
    const CPyRef atExit(PyImport_ImportModule("atexit"), CPyRef::owned);
    const CPyRef registered(PyObject_CallMethod(atExit, kzText("register"), kzText("O"), function.get()),
                            CPyRef::owned);
    kzNonNegative(Py_AtExit(programEnded));
    const CPyRefNull servers(kzWatchedAside(KzCrossing::toPython, "kzserv", "import", nullptr,
                                            [] { return PyImport_ImportModule("kzserv"); }));
    if (servers.get() == nullptr) kzTellException("importing servers (kzserv) failed");
    theReady = true;
    return KZe_OK;
}

// Runs at the program's exit, while the interpreter is still intact. A forked child has none of the threads that may be
// inside, so it does not wait for them.
PyObject* PythonRuntime::endOfProgram(PyObject* /*self*/, PyObject* /*args*/) {
    CGate::close();
    if (theProgram == getpid()) {
        Py_BEGIN_ALLOW_THREADS;
        if (!CGate::isInside() && !waitUntilEmpty()) tellWhoStays();
        CStopper::end();
        Py_END_ALLOW_THREADS;
    }
    kzValueBoundary([] { theParts.releaseServers(); });
    kzTellRepeatedReasons();
    theOnlyRuntime->m_interpreter->letGo();
    Py_RETURN_NONE;
}

// Runs when the program's interpreter has been finalised.
void PythonRuntime::programEnded() {
    theReady = false;
    CLockState::setOurs(false);
    theOnlyRuntime->m_state = shutDown;
    theOnlyRuntime->m_interpreter.reset();
    theParts.finish(true);
}

// Waits until all threads have left. False if they do not, or if the calling thread itself is inside.
bool PythonRuntime::waitForOthers() noexcept { return !CGate::isInside() && !CLockState::isHeld() && waitUntilEmpty(); }

bool PythonRuntime::waitUntilEmpty() noexcept {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!CGate::isEmpty()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool PythonRuntime::stop() noexcept {
    CGate::close();
    PythonRuntime* runtime = theRuntime;
    if (!waitForOthers()) {
        // Nothing is destroyed while threads may use it, and no lock is taken that they may hold.
        if (runtime != nullptr) {
            runtime->m_state = shutDown;
            kzMarkKept(runtime->m_interpreter.get());
        }
        tellWhoStays();
        theParts.finish(false);
        return false;
    }
    CThreadStates::end();
    theReady = false;
    if (runtime != nullptr) runtime->end();
    else CStopper::end();
    theParts.finish(true);
    theRuntime = nullptr;
    return true;
}

void PythonRuntime::end() noexcept {
    m_progress = "";
    if (m_interpreter) {
        PyThreadState* thread = m_interpreter->endingThread();
        PyEval_AcquireThread(thread);
        kzValueBoundary([] { theParts.releaseServers(); });
        kzTellRepeatedReasons();
        PyEval_ReleaseThread(thread);
    }
    m_state = shutDown;
    m_interpreter.reset();
    theParts.forgetPython();
    kzReleaseOutput();
}
