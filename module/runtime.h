// The process-wide interpreter. The first entry starts it, unload stops it, and afterwards it never starts again, because
// Python cannot be initialised twice in a process with extension modules loaded. A start that has failed is not retried.
#pragma once

#include "module/main_interpreter.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class PythonRuntime {
public:
    enum State : std::uint32_t { notStarted = 0, started = 1, shutDown = 2 };

    // The runtime of the process; null before the first entry and after unload.
    static PythonRuntime* current() noexcept;

    // The record of the interpreter, which this call starts if necessary; null after a failed start and after shut-down.
    // Throws the code of a start that fails in this very call.
    MainInterpreter* interpreter();
    // The record for code that already runs inside Python; throws NOTAVAILABLE if there is none.
    static MainInterpreter& running();

    State state() const noexcept { return m_state; }
    // The name of the current start-up step, or of the one that failed. Empty otherwise.
    const char* progress() const noexcept { return m_progress; }
    // The code of a failed start; 0 if none has failed.
    KzResult failure() const noexcept { return m_failure; }
    PyThreadState* mainThread() const noexcept { return m_mainThread; }

    // The module kzu.object, or an empty module of that name if it cannot be imported. A borrowed reference.
    PyObject* kzuObject();
    // Its dictionary; null if there is no such module. A borrowed reference.
    PyObject* kzuObjectNames() { return m_kzuObjectNames != nullptr ? m_kzuObjectNames : findKzuObjectNames(); }
    // Runs "import kzserv\n" under the main thread state.
    void importServers();

    // Runs Python as the program that a command line describes; the first word is the program's path. Returns the exit
    // status, or ends the process. The interpreter is the program's own until the program imports kz, when it becomes ours.
    // Throws NOTAVAILABLE if Python has been started or unload has begun.
    static int runProgram(const std::vector<std::string>& words);
    // Whether Python is a program of its own in this process.
    static bool isProgram() noexcept;

    // Starts Python unless that has happened. Throws the code of a failed start, now and on every later call, and
    // NOTAVAILABLE after shut-down. The calling thread must have passed the gate, to do `what`.
    static void ensureStarted(const char* what);
    // Stops Python for good: closes the gate, waits for the threads inside, and finalises. If a thread stays inside, the
    // log says which, everything is left as it is, and the result is false. Allocates no memory.
    static bool stop() noexcept;

private:
    static PyObject* endOfProgram(PyObject* self, PyObject* args);
    static void programEnded();

    void begin(const std::function<void()>& start);
    KzResult adopt();
    PyObject* findKzuObjectNames();
    static bool waitForOthers() noexcept;
    static bool waitUntilEmpty() noexcept;
    void end() noexcept;

    std::atomic<State> m_state{notStarted};
    std::unique_ptr<MainInterpreter> m_interpreter;
    PyThreadState* m_mainThread = nullptr;
    PyObject* m_kzuObject = nullptr;
    PyObject* m_kzuObjectNames = nullptr;
    KzProgress m_progress{""};
    KzResult m_failure = 0;
};
