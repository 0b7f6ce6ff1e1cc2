// Ending Python code from outside: who does what when.
#include "module/stop.h"

#include "module/checks.h"
#include "module/output.h"
#include "module/py_ref.h"
#include "module/stack_report.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"
#include "kz/result.h"

#include <frameobject.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <mutex>
#include <semaphore.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr auto patienceForLock = 500ms;  // before the stacks are reported without it
constexpr auto patienceForEnd = 1s;      // before every line raises
constexpr auto patienceForOthers = 3s;   // for what no script or line waits for
constexpr auto betweenSweeps = 20ms;
constexpr auto betweenJobs = 200ms;  // in which a thread may have taken the next one

sem_t theWake;
std::atomic<pid_t> thePreparedProcess{0};
std::atomic<bool> theEnding{false};
std::atomic<PyThreadState*> theState{nullptr};  // the sweeps' own; null while there is no Python to stop
std::atomic<bool> theEveryLine{false};
CKzForever<std::thread> theThread;

std::atomic<std::uint32_t> theRequests{0};
CStoppableRun* theRuns = nullptr;  // guarded by the interpreter lock

// What a thread had as its trace function, such as a debugger's.
enum Kept : Py_ssize_t { keptFunction, keptObject };

// Ends the stop of the calling thread.
void giveBack(PyObject* kept) noexcept {
    PyObject* object = PyList_GET_ITEM(kept, keptObject);
    void* function = PyLong_AsVoidPtr(PyList_GET_ITEM(kept, keptFunction));
    Py_CLEAR(PyThreadState_GET()->async_exc);
    PyEval_SetTrace(reinterpret_cast<Py_tracefunc>(function), object != Py_None ? object : nullptr);
}

bool isNamed(const PyFrameObject* frame, const char* name) noexcept {
    return std::strncmp(PyString_AS_STRING(frame->f_code->co_name), name, std::strlen(name)) == 0;
}

// What the module threading does when a thread ends. Whoever joins the thread would wait for ever if this were left out.
bool isEndOfThread(const PyFrameObject* frame) noexcept {
    for (const PyFrameObject* each = frame; each != nullptr; each = each->f_back) {
        const bool isItself = each == frame && isNamed(each, "__bootstrap");
        if (!isItself && !isNamed(each, "__stop") && !isNamed(each, "__delete")) continue;
        PyObject* module = PyDict_GetItemString(each->f_globals, "__name__");
        if (module != nullptr && PyString_Check(module) && std::strcmp(PyString_AS_STRING(module), "threading") == 0)
            return true;
    }
    return false;
}

// The trace function. A thread gets back its own one when its outermost frame is left.
int endFrame(PyObject* kept, PyFrameObject* frame, int what, PyObject* /*arg*/) {
    const bool isOutermost = frame->f_back == nullptr;
    if (isOutermost && what == PyTrace_RETURN) giveBack(kept);
    if (what != PyTrace_CALL && what != PyTrace_LINE) return 0;
    if (!theEveryLine || isEndOfThread(frame)) return 0;
    if (isOutermost && what == PyTrace_CALL) giveBack(kept);  // this frame will not be entered
    PyErr_SetNone(PyExc_KeyboardInterrupt);
    return -1;
}

// Interrupts that thread soon, wherever it is: a loop that is a single instruction does not call its trace function.
void interrupt(PyThreadState* thread) noexcept {
    if (thread->async_exc != nullptr || thread->frame == nullptr || isEndOfThread(thread->frame)) return;
    Py_INCREF(PyExc_KeyboardInterrupt);
    thread->async_exc = PyExc_KeyboardInterrupt;
}

// Makes that thread end what it runs. The calling thread holds the interpreter lock, under a state of its own.
void doom(PyThreadState* thread) {
    PyObject* object = thread->c_traceobj != nullptr ? thread->c_traceobj : Py_None;
    const CPyRef kept(Py_BuildValue("[NO]", PyLong_FromVoidPtr(reinterpret_cast<void*>(thread->c_tracefunc)), object),
                      CPyRef::owned);
    PyThreadState* own = PyThreadState_Swap(thread);
    PyEval_SetTrace(endFrame, kept);
    PyThreadState_Swap(own);
    interrupt(thread);
}

// One stop, from the request on until nothing is left to end.
class CStop {
public:
    explicit CStop(PyThreadState* own) : m_own(own), m_interpreter(own->interp) {}
    // Runs the stop, and with it those that are asked for meanwhile.
    void run();

private:
    void sweepUntilOver();
    void sweep();
    void beginSweeps();
    bool isAnyToEnd() const;
    void doomAll();
    bool isOver() const;

    PyThreadState* m_own;
    PyInterpreterState* m_interpreter;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::uint32_t m_requests = 0;  // as many as there were when the sweeps began
    bool m_hasBegun = false;
    bool m_isOver = false;
    std::chrono::steady_clock::time_point m_lastSeen;  // when something was left to end
};

void tell(const char* how, const std::string& stacks) noexcept {
    if (stacks.empty()) return;
    kzValueBoundary([&] { kzWriteFrom(kzFromReport, (how + (":\n" + stacks)).c_str(), KZe_FAILED); });
}

void CStop::beginSweeps() {
    m_requests = theRequests;
    theEveryLine = false;
    m_start = std::chrono::steady_clock::now();
    const std::string stacks = kzStackReport(m_interpreter, true);
    Py_BEGIN_ALLOW_THREADS;  // listeners of the host's log may be written in Python
    tell("Stopped from outside; this is where Python was", stacks);
    Py_END_ALLOW_THREADS;
}

// Everything that runs now is to end, and what is entered while it does, because somebody may wait for that.
void CStop::sweep() {
    if (m_requests != theRequests) {
        if (CStoppableRun::isAnyOlderThan(m_requests)) theEveryLine = true;
        else if (isAnyToEnd()) beginSweeps();
    }
    doomAll();
}

bool CStop::isAnyToEnd() const {
    PyThreadState* each = PyInterpreterState_ThreadHead(m_interpreter);
    while (each != nullptr && (each->frame == nullptr || CStoppableRun::isNewOn(each))) each = PyThreadState_Next(each);
    return each != nullptr;
}

void CStop::doomAll() {
    for (PyThreadState* each = PyInterpreterState_ThreadHead(m_interpreter); each != nullptr;
         each = PyThreadState_Next(each)) {
        const bool isDoomed = each->c_tracefunc == endFrame;
        if (!isDoomed && each->frame != nullptr && !CStoppableRun::isNewOn(each)) doom(each);
        if (isDoomed && theEveryLine) interrupt(each);
        if (each->c_tracefunc == endFrame) m_lastSeen = std::chrono::steady_clock::now();
    }
}

bool CStop::isOver() const {
    const auto now = std::chrono::steady_clock::now();
    const bool isWaiting = now - m_lastSeen < betweenJobs && now - m_start < patienceForOthers;
    return theEnding || (!CStoppableRun::isAnyOlderThan(theRequests) && !isWaiting);
}

void CStop::sweepUntilOver() {
    for (bool isOver = false; !isOver;) {
        PyEval_AcquireThread(m_own);
        kzValueBoundary([&] {
            if (!theEnding) sweep();
        });
        PyErr_Clear();
        isOver = this->isOver();
        PyEval_ReleaseThread(m_own);
        std::unique_lock lock(m_lock);
        m_hasBegun = true;
        m_isOver = isOver;
        m_changed.notify_all();
        if (!isOver) m_changed.wait_for(lock, betweenSweeps, [] { return theEnding.load(); });
    }
}

void CStop::run() {
    std::thread sweeper([this] { sweepUntilOver(); });
    std::unique_lock lock(m_lock);
    if (!m_changed.wait_for(lock, patienceForLock, [this] { return m_hasBegun; }) && !theEnding) {
        lock.unlock();
        tell("Asked to stop, but code in C that Python called does not let it; this is where Python seems to be",
             kzStackReport(m_interpreter, false));
        lock.lock();
    }
    while (!m_changed.wait_for(lock, patienceForEnd, [this] { return m_isOver; })) {
        if (m_hasBegun) theEveryLine = true;
        m_changed.notify_all();
    }
    lock.unlock();
    sweeper.join();
}

void waitForRequests() noexcept {
    for (;;) {
        while (sem_wait(&theWake) != 0 && errno == EINTR) continue;
        if (theEnding) return;
        kzValueBoundary([] {
            if (PyThreadState* own = theState) CStop(own).run();
        });
    }
}

}  // namespace

void CStopper::prepare() {
    static std::mutex once;
    const std::lock_guard lock(once);
    if (thePreparedProcess == getpid() && !theEnding) return;
    kzTrue(thePreparedProcess == 0 && !theEnding, KZe_NOTAVAILABLE);
    kzTrue(sem_init(&theWake, 0, 0) == 0, KZe_OUTOFMEMORY);
    sigset_t all, former;  // signals are for the threads of the host
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    const KzResult code = kzBoundary([] {
        *theThread = std::thread(waitForRequests);
        return KZe_OK;
    });
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    kzSucceed(code);
    thePreparedProcess = getpid();
}

bool CStopper::request() noexcept {
    if (theEnding || thePreparedProcess != getpid()) return false;
    ++theRequests;
    const int error = errno;
    sem_post(&theWake);
    errno = error;
    return true;
}

void CStopper::begin(PyInterpreterState* interpreter) noexcept {
    PyThreadState* state = PyThreadState_New(interpreter);
    if (state != nullptr) state->thread_id = 0;  // debuggers search the states for the calling thread's number
    theState = state;
}

void CStopper::end() noexcept {
    theEnding = true;
    theState = nullptr;
    if (thePreparedProcess != getpid()) return;
    sem_post(&theWake);
    if (theThread->joinable()) theThread->join();
}

CStoppableRun::CStoppableRun() noexcept
    : m_thread(PyThreadState_GET()), m_requestsBefore(theRequests), m_below(std::exchange(theRuns, this)) {}

CStoppableRun::~CStoppableRun() {
    CStoppableRun** place = &theRuns;  // not always the first: scripts on several threads end in any order
    while (*place != this) place = &(*place)->m_below;
    *place = m_below;
}

bool CStoppableRun::isAnyOlderThan(std::uint32_t requests) noexcept {
    for (const CStoppableRun* each = theRuns; each != nullptr; each = each->m_below)
        if (each->m_requestsBefore < requests) return true;
    return false;
}

bool CStoppableRun::isNewOn(const PyThreadState* thread) noexcept {
    bool isNew = false;
    for (const CStoppableRun* each = theRuns; each != nullptr; each = each->m_below)
        if (each->m_thread == thread)
            isNew = each->m_requestsBefore == theRequests;  // in the end that of the outermost
    return isNew;
}
