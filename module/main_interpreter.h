// The record of the started interpreter, and start-up itself. docs/architecture.md lists the steps of start-up and unload.
#pragma once

#include "module/process_state.h"
#include "module/py_ref.h"

#include "kz/dialog.h"
#include "kz/file.h"
#include "kz/platform.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

// The name of the current start-up step: always a literal, so that any thread may read it at any time.
using KzProgress = std::atomic<const char*>;

// A node of an intrusive ring. A node unlinks itself when it is destroyed and needs only its neighbours to do so, because
// any thread may drop a kz.Monitor at any step of the interpreter's end.
class CMonitorLink {
public:
    CMonitorLink() = default;
    ~CMonitorLink() { leave(); }
    CMonitorLink(const CMonitorLink&) = delete;
    CMonitorLink& operator=(const CMonitorLink&) = delete;

    void join(CMonitorLink& ring) noexcept;
    void leave() noexcept;
    CMonitorLink* next() const noexcept { return m_next; }
    bool isAlone() const noexcept { return m_next == this; }

private:
    CMonitorLink* m_previous = this;
    CMonitorLink* m_next = this;
};

// The host monitor behind one kz.Monitor object, and the service it came from.
struct CMonitorRecord : CMonitorLink {
    CKzLoc_Monitor monitor;  // empty when none was allocated, or once it has been handed back
    CKzUser_StdDialogService dialogs;

    void release() noexcept;
};

class MainInterpreter {
public:
    MainInterpreter() = default;
    // Finalises Python if it was started. The calling thread must not hold the interpreter lock.
    ~MainInterpreter();
    MainInterpreter(const MainInterpreter&) = delete;
    MainInterpreter& operator=(const MainInterpreter&) = delete;

    // Starts Python. `progress` is set to the name of each step; `importSupport` imports the SDK's support package in its
    // turn. Throws the code of the step that failed.
    void start(KzProgress& progress, const std::function<void()>& importSupport);

    // Runs Python as a program with that command line and returns its exit status, unless the process ends inside. When
    // the program imports kz, `importKz` is called and sets it up through `adopt`.
    int runProgram(const std::vector<std::string>& words, void (*importKz)());
    // Sets up kz in the running program's interpreter, as `start` does in a new one. Throws the same codes.
    void adopt(KzProgress& progress, const std::function<void()>& importSupport);
    // Both are called for each thread of the host that enters Python for the first time. Need the interpreter lock.
    void importThreading() noexcept;
    // As above, also for a thread that has taken over the state of one that has ended.
    void installHooks() noexcept;
    // Releases every Python object, before the interpreter ends. Needs the interpreter lock.
    void letGo() noexcept;
    // Called once the exit functions have run. Needs the interpreter lock.
    void exitFunctionsEnded() noexcept;
    std::function<void()> releaseSupport;  // drops the SDK's support package, which exit functions may still need

    PyThreadState* mainThread() const noexcept { return m_mainThread; }
    // The state under which the calling thread ends Python: its own, created if necessary, so it is the main thread's
    // only on the thread that started Python. Under another thread's state, code that calls PyGILState_Ensure, such as a
    // destructor of an extension type, would deadlock. Finalisation deletes the state with all the others.
    PyThreadState* endingThread() const noexcept;

    // The dictionaries of __main__. Console lines run in them, and every script runs in a copy.
    CPyRef globals;
    CPyRef locals;
    // The running script's argument string, and the tuple parsed from it.
    CPyRef argument;
    CPyRef arguments;
    // Settings that every script run saves, sets and restores.
    bool anglesInDegrees = false;
    std::uint32_t executionFlags = 0xFFFFFFFFU;
    int runFlag = 0;

    CMonitorLink monitors;  // the ring of the records of live kz.Monitor objects
    void releaseMonitors() noexcept;

private:
    void setHome();
    void setProgramName();
    void initialise();
    void prepareEnd();
    void guardExitFunction() noexcept;
    void buildModule();
    void importFirstModules();
    void extendPath();
    void importSite();
    void importWidgets();
    void takeMainDictionaries();
    void setProgramHome();
    void extendProgramPath();
    void prependImportPaths();

    bool resolve(const char* alias, std::string& path);
    void prependIfResolved(const char* alias);

    CKzUser_FileService m_files;
    PyThreadState* m_mainThread = nullptr;
    bool m_hasThreading = false;
    bool m_isProgram = false;  // the interpreter's own main program starts and ends it
    // Created at start-up, because the end must not allocate memory: the guard around sys.exitfunc, a list to hold the
    // guarded function, and its name.
    PyObject* m_exitGuard = nullptr;
    PyObject* m_guardedFunction = nullptr;
    PyObject* m_exitName = nullptr;
    KzSignalActions m_hostSignals{};  // as they were before Python started
    // The interpreter keeps pointers to these texts until it has ended.
    std::string m_home;
    std::string m_programName;
};
