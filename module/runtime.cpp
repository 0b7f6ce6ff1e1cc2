// The process-wide interpreter and the gate in front of it.
#include "module/runtime.h"

#include "module/checks.h"
#include "module/error_report.h"
#include "module/explain.h"
#include "module/gate.h"
#include "module/lock_state.h"
#include "module/output.h"
#include "module/parts.h"
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
std::atomic<PythonRuntime*> theRuntime{nullptr};  // that one, from the first entry until Python has ended
std::atomic<bool> theReady{false};                // started, servers imported: entries need not look further
std::atomic<pid_t> theProgram{0};                 // the process in which Python runs as a program of its own
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

// The turn to start Python, or to find it started. Throws NOTAVAILABLE when unload begins while another thread has it.
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
    m_interpreter = std::make_unique<MainInterpreter>();
    begin([this] { m_interpreter->start(m_progress, [this] { kzuObject(); }); });
    return m_interpreter.get();
}

// With a new record: takes the steps of `start`, or destroys the record.
void PythonRuntime::begin(const std::function<void()>& start) {
    m_state = started;
    m_kzuObject = nullptr;
    m_kzuObjectNames = nullptr;
    m_failure = KZe_STARTUP;  // until the last step is done
    StartAttempt attempt(m_interpreter);
    try {
        start();
    } catch (KzResult code) {
        if (kzFailed(code)) m_failure = code;
        throw m_failure;
    }
    attempt.succeeded();
    m_failure = 0;
    m_progress = "";
    m_mainThread = m_interpreter->mainThread();
    CThreadStates::begin(m_mainThread);
}

MainInterpreter& PythonRuntime::running() {
    return *kzNonNull(kzNonNull(current(), KZe_NOTAVAILABLE)->interpreter(), KZe_NOTAVAILABLE);
}

void PythonRuntime::ensureStarted(const char* what) {
    if (theReady) return;
    // The host's first entries are not to race, but if they do, the later ones wait here.
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

// The program imports kz, with the interpreter lock held by whatever thread does so.
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
    const CPyRefNull servers(PyImport_ImportModule("kzserv"));
    if (servers.get() == nullptr) kzTellException("importing servers (kzserv) failed");
    theReady = true;
    return KZe_OK;
}

// The program has come to its end, and the interpreter is still whole. A child of the program's process has none of the
// threads that may be inside.
PyObject* PythonRuntime::endOfProgram(PyObject* /*self*/, PyObject* /*args*/) {
    CGate::close();
    if (theProgram == getpid()) {
        Py_BEGIN_ALLOW_THREADS;
        if (!CGate::isInside() && !waitUntilEmpty()) tellWhoStays();
        Py_END_ALLOW_THREADS;
    }
    kzValueBoundary([] { theParts.releaseServers(); });
    kzTellRepeatedReasons();
    theOnlyRuntime->m_interpreter->letGo();
    Py_RETURN_NONE;
}

// The interpreter is gone.
void PythonRuntime::programEnded() {
    theReady = false;
    CLockState::setOurs(false);
    theOnlyRuntime->m_state = shutDown;
    theOnlyRuntime->m_interpreter.reset();
}

// For the others to leave. False when they do not, or when it is this very thread that is inside.
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
        // Nothing is pulled away under whoever is inside, and no lock is waited for that they may hold.
        if (runtime != nullptr) runtime->m_state = shutDown;
        tellWhoStays();
        return false;
    }
    CThreadStates::end();
    theReady = false;
    if (runtime == nullptr) return true;
    runtime->end();
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
