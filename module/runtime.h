// The process-wide interpreter: started on first use, stopped once, and closed to everybody afterwards.
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

    // The started interpreter's record, starting it if nobody has; null after a failed start and after shut-down.
    // Throws the failure code of the start that this call made.
    MainInterpreter* interpreter();
    // The record that Python code runs in; throws NOTAVAILABLE when there is none.
    static MainInterpreter& running();

    State state() const noexcept { return m_state; }
    // Names the start-up step under way, and after a failed start the one that failed. Empty otherwise.
    const char* progress() const noexcept { return m_progress; }
    // What a failed start answered; 0 while nothing failed.
    KzResult failure() const noexcept { return m_failure; }
    PyThreadState* mainThread() const noexcept { return m_mainThread; }

    // The SDK's support module; an empty module of that name when it cannot be imported. Borrowed.
    PyObject* kzuObject();
    // Its names; null when there is no such module. Borrowed.
    PyObject* kzuObjectNames() { return m_kzuObjectNames != nullptr ? m_kzuObjectNames : findKzuObjectNames(); }
    // Runs "import kzserv\n" under the main thread state.
    void importServers();

    // Runs Python as the program that a command line describes; its first word is the program's path. Answers the exit
    // status, or ends the process. Python is the program's own until that imports kz, which is when it becomes ours.
    // Throws NOTAVAILABLE when Python has been started, or when unload has begun.
    static int runProgram(const std::vector<std::string>& words);

    // Creates the runtime and starts Python unless that has happened. Throws the start's failure code, now and on every
    // later call; NOTAVAILABLE after shut-down. The calling thread has passed the gate, to do `what`.
    static void ensureStarted(const char* what);
    // Stops Python for good: turns new entries away, waits for those inside, and finalises. False when somebody stayed
    // inside: the log says who, and everything is left as it is. Needs no memory.
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
