// The started interpreter's record, and start-up itself.
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

// Names the start-up step under way: literals, so that a late caller may read it at any time.
using KzProgress = std::atomic<const char*>;

// A place in a ring. Whatever is linked takes itself out when it goes, and needs nothing but its neighbours for that:
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
    // Ends Python if it was started. The thread that destroys the record must not hold the interpreter lock.
    ~MainInterpreter();
    MainInterpreter(const MainInterpreter&) = delete;
    MainInterpreter& operator=(const MainInterpreter&) = delete;

    // Starts Python. `progress` names the step under way; `importSupport` imports the SDK's support package when its turn
    // has come. Throws the code of the step that failed.
    void start(KzProgress& progress, const std::function<void()>& importSupport);

    // Runs Python as a program with that command line, which imports kz when it wants to: `importKz` then sets it up by
    // calling `adopt`. The exit status; the process may end inside.
    int runProgram(const std::vector<std::string>& words, void (*importKz)());
    // Makes the running program's interpreter ours, as `start` does with one of its own. Throws as that.
    void adopt(KzProgress& progress, const std::function<void()>& importSupport);
    // Called, with the lock, for a thread of the host that has not been in Python before.
    void importThreading() noexcept;
    // Lets go of every Python object, since the interpreter ends. Needs its lock.
    void letGo() noexcept;

    PyThreadState* mainThread() const noexcept { return m_mainThread; }
    // The state under which the calling thread ends Python: its own, made if need be, which is the main thread's only on
    // the thread that started Python. Under another's, whoever asks for this thread's state (PyGILState_Ensure, in the
    // code of objects that go) would wait for the lock for ever. The interpreter's end deletes it with all the others.
    PyThreadState* endingThread() const noexcept;

    // The dictionaries of __main__, in which console lines run and from which every script takes a copy.
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
    bool m_isProgram = false;  // the interpreter is started and ended by its own main program
    // Made at the start, because the end must not need memory: the guard around sys.exitfunc, a list that will hold the
    // function, and its name.
    PyObject* m_exitGuard = nullptr;
    PyObject* m_guardedFunction = nullptr;
    PyObject* m_exitName = nullptr;
    KzSignalActions m_hostSignals{};  // as they were before Python started
    // The interpreter keeps the pointers it was given, so these live until it has ended.
    std::string m_home;
    std::string m_programName;
};

// Turns an aliased path into a local one. Any failure empties the path and is returned.
KzResult kzLocalPath(IKzFileService& files, const char* alias, std::string& path);
