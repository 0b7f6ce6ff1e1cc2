// Start-up of the interpreter, step by step, and its end.
#include "module/main_interpreter.h"

#include "module/checks.h"
#include "module/error_report.h"
#include "module/output.h"
#include "module/parts.h"
#include "module/runtime.h"

#include "kz/base/global_cache.h"
#include "kz/result.h"

#include <algorithm>
#include <sys/stat.h>

namespace {

constexpr int apiVersion = 1013;
constexpr const char* kitHome = "kit_Python2_7:extra64/Python";
constexpr const char* kitScripts = "kit_Python2_7:extra64/Python/Scripts";
constexpr const char* moduleScripts = "module:Scripts";
constexpr const char* userScripts = "scripts:";

IKzUnknown* hostService(const KzGuid& iid) {
    CKzGlobalCache* cache = CKzGlobalCache::current();
    return cache != nullptr ? cache->service(iid) : nullptr;
}

void prependToPath(const std::string& folder) {
    PyObject* path = PySys_GetObject(kzText("path"));
    const CPyRefNull text(PyString_FromStringAndSize(folder.data(), static_cast<Py_ssize_t>(folder.size())));
    kzNonNull(text.get());
    kzNonNegative(PyList_Insert(kzNonNull(path), 0, text));
}

void runSource(const char* source) {
    // Not PyRun_SimpleString: that would print, and end the process on SystemExit.
    PyObject* main = kzNonNull(PyImport_AddModule("__main__"));
    PyObject* names = PyModule_GetDict(main);
    const CPyRefNull result(PyRun_String(source, Py_file_input, names, names));
    kzNonNull(result.get());
}

PyObject* runExitFunction(PyObject* function, PyObject* /*args*/) {
    const CPyRefNull result(PyObject_CallObject(function, nullptr));
    if (result.get() == nullptr) kzTellException();
    Py_RETURN_NONE;
}

PyMethodDef exitFunction = {"exitfunc", runExitFunction, METH_NOARGS, nullptr};

// Finalisation calls sys.exitfunc, and would end the host's process if that raised SystemExit.
void guardExitFunction() {
    PyObject* function = PySys_GetObject(kzText("exitfunc"));
    if (function == nullptr) return;
    const CPyRefNull guarded(PyCFunction_New(&exitFunction, function));
    if (guarded.get() == nullptr || PySys_SetObject(kzText("exitfunc"), guarded) != 0) PyErr_Clear();
}

// Finalisation lets go of the interpreter's empty frozenset when no thread state is left, and would need one if that
// were the last reference. So it never is.
void keepEmptyFrozenSet() {
    PyObject* kept = PyObject_CallObject(reinterpret_cast<PyObject*>(&PyFrozenSet_Type), nullptr);
    if (kept == nullptr) PyErr_Clear();
}

}  // namespace

KzResult kzLocalPath(IKzFileService& files, const char* alias, std::string& path) {
    constexpr std::uint32_t firstSize = 512;
    constexpr std::uint32_t lastSize = 1U << 24;  // a service that never has enough must not take all memory
    KzResult code = KZe_SHORTBUFFER;
    for (std::uint32_t size = firstSize; code == KZe_SHORTBUFFER && size <= lastSize; size *= 2) {
        path.assign(size, '\0');
        code = files.ToLocalAlias(alias, path.data(), size);
    }
    if (kzFailed(code)) path.clear();
    else path.resize(std::strlen(path.c_str()));
    return code;
}

void CMonitorRecord::release() noexcept {
    // The host may run Python code, which may let go of this record: only what is held here is used after the call.
    const CKzLoc_Unknown held(monitor.raw());
    const CKzLoc_Unknown service(dialogs.raw());
    monitor.clear();
    if (held && service) static_cast<IKzStdDialogService*>(service.raw())->MonitorReleaseObj(held.raw());
}

void MainInterpreter::releaseMonitors() noexcept {
    // Not a walk over the list: a monitor that goes takes its record off the list, at any time.
    while (!monitors.empty()) {
        CMonitorRecord* record = monitors.front();
        monitors.erase(monitors.begin());
        record->release();
    }
}

bool MainInterpreter::resolve(const char* alias, std::string& path) {
    return kzSucceeded(kzLocalPath(*kzNonNull(m_files.ptr()), alias, path));
}

void MainInterpreter::prependIfResolved(const char* alias) {
    std::string path;
    if (resolve(alias, path)) prependToPath(path);
}

void MainInterpreter::start(std::string& progress) {
    const CProcessStateKeeper keeper;
    m_hostSignals = keeper.actions();
    m_files.take(hostService(KZu_FILESERVICE));
    kzTrue(static_cast<bool>(m_files));
    Py_NoSiteFlag = 1;
    setHome();
    setProgramName();
    initialise();
    progress = "importing main modules";
    buildModule();
    importFirstModules();
    progress = "getting import paths";
    extendPath();
    progress = "importing kzu";
    PythonRuntime::current()->kzuObject();
    importSite();
    importWidgets();
    progress = "creating main dictionaries";
    takeMainDictionaries();
    PyErr_Clear();  // a missing widget bridge left one; nothing may run with it pending
    PyEval_ReleaseThread(m_mainThread);
}

void MainInterpreter::setHome() {
    if (!resolve(kitHome, m_home)) return;
    Py_SetPythonHome(m_home.data());
    struct stat found {};
    if (stat((m_home + "/lib/python2.7").c_str(), &found) != 0)
        kzWrite(("Python home \"" + m_home + "\" holds no lib/python2.7").c_str(), KZe_INFO);
}

void MainInterpreter::setProgramName() {
    const char* path = nullptr;
    if (kzFailed(m_files->FileSystemPath("exename", &path)) || path == nullptr) {
        kzWrite("error getting executable name", KZe_INFO);
        return;
    }
    m_programName = path;
    Py_SetProgramName(m_programName.data());
}

void MainInterpreter::initialise() {
    kzExposeInterpreterSymbols();
    PyEval_InitThreads();
    Py_InitializeEx(0);  // without the interpreter's own signal handlers
    m_mainThread = PyThreadState_Get();
    // Threads and signals note which thread is the main one when they are first imported: let it be this one. What
    // runs at exit is set up now, so that it can be guarded in the end whoever registers something.
    for (const char* name : {"signal", "threading", "atexit"}) {
        const CPyRefNull early(PyImport_ImportModule(name));
        if (early.get() == nullptr) PyErr_Clear();
    }
    kzParts().installStreams();
}

void MainInterpreter::buildModule() {
    const KzModuleParts& parts = kzParts();
    for (const auto& [name, type] : parts.types) kzNonNegative(PyType_Ready(type));
    PyObject* kz = kzNonNull(Py_InitModule4("kz", parts.functions, "Module for vorn extensions.", nullptr, apiVersion));
    for (const auto& [name, type] : parts.types) {
        Py_INCREF(type);
        kzNonNegative(PyModule_AddObject(kz, name, reinterpret_cast<PyObject*>(type)));
    }
    parts.addSubmodules(kz);
}

void MainInterpreter::importFirstModules() {
    runSource("import kz\n");
    runSource("import sys\n");
}

void MainInterpreter::extendPath() {
    CKzUser_PlatformService platform;
    platform.take(hostService(KZu_PLATFORMSERVICE));
    kzTrue(static_cast<bool>(platform));
    prependIfResolved(kitScripts);
    std::uint32_t count = 0;
    kzSucceed(platform->ImportPathCount(&count));
    for (std::uint32_t index = count; index-- > 0;) {
        const char* path = nullptr;
        if (kzSucceeded(platform->ImportPathByIndex(index, &path)) && path != nullptr) prependToPath(path);
    }
    prependIfResolved(moduleScripts);
}

void MainInterpreter::importSite() {
    const CPyRefNull site(PyImport_ImportModule("site"));
    std::string folder;
    resolve(userScripts, folder);
    if (site.get() == nullptr) {
        kzWrite("'site' module failed to import", KZe_STARTUP);
        kzTellException();
        return;
    }
    const CPyRef path(PyString_FromString(folder.c_str()), CPyRef::owned);
    const CPyRefNull added(PyObject_CallMethod(site, kzText("addsitedir"), kzText("O"), path.get()));
    kzNonNull(added.get());
    kzNonNegative(PyObject_SetAttrString(site, "USER_BASE", path));
    kzNonNegative(PyObject_SetAttrString(site, "USER_SITE", path));
}

void MainInterpreter::importWidgets() { kzParts().importWidgets(); }

void MainInterpreter::takeMainDictionaries() {
    PyObject* names = kzNonNull(PyModule_GetDict(kzNonNull(PyImport_AddModule("__main__"))));
    globals = names;
    locals = names;
}

PyThreadState* MainInterpreter::endingThread() const noexcept {
    PyThreadState* own = PyGILState_GetThisThreadState();
    if (own == nullptr) own = PyThreadState_New(m_mainThread->interp);
    return own != nullptr ? own : m_mainThread;
}

MainInterpreter::~MainInterpreter() {
    if (m_mainThread == nullptr) {
        // The references hold None, and no interpreter lock exists yet.
        return;
    }
    const CProcessStateKeeper keeper(m_hostSignals);
    PyThreadState* thread = endingThread();
    if (_PyThreadState_Current != thread) PyEval_AcquireThread(thread);
    for (CPyRef* held : {&globals, &locals, &argument, &arguments}) *held = CPyRef();
    releaseMonitors();
    // Whatever is pending from a failed start must not reach the code that finalisation runs.
    PyErr_Clear();
    guardExitFunction();
    keepEmptyFrozenSet();
    Py_Finalize();
    // The lock is not released: it went with the interpreter.
}
