// Start-up of the interpreter, step by step, and its end.
#include "module/main_interpreter.h"

#include "module/checks.h"
#include "module/environment.h"
#include "module/error_report.h"
#include "module/lock_state.h"
#include "module/output.h"
#include "module/parts.h"
#include "module/pending_exception.h"
#include "module/stop.h"
#include "module/thread_states.h"

#include "kz/base/global_cache.h"
#include "kz/base/text.h"
#include "kz/result.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

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

int insertInFront(PyObject* list, PyObject* item) { return PyList_Insert(list, 0, item); }

void addToPath(const std::string& folder, int (*add)(PyObject* list, PyObject* item) = insertInFront) {
    PyObject* path = PySys_GetObject(kzText("path"));
    const CPyRefNull text(PyString_FromStringAndSize(folder.data(), static_cast<Py_ssize_t>(folder.size())));
    kzNonNull(text.get());
    kzNonNegative(add(kzNonNull(path), text));
}

void runSource(const char* source) {
    // PyRun_SimpleString would print an exception, and end the process on SystemExit.
    PyObject* main = kzNonNull(PyImport_AddModule("__main__"));
    PyObject* names = PyModule_GetDict(main);
    const CPyRefNull result(PyRun_String(source, Py_file_input, names, names));
    kzNonNull(result.get());
}

// Exit functions, and threads that finalisation waits for before them, can still be stopped; what follows them cannot.
void endStopping() noexcept {
    Py_BEGIN_ALLOW_THREADS;
    CStopper::end();
    Py_END_ALLOW_THREADS;
}

// Replaces site.makepath, so that "" means no folder instead of the current one.
PyObject* noFolder(PyObject* /*self*/, PyObject* /*paths*/) { return Py_BuildValue("ss", "", ""); }

PyMethodDef noFolderFunction = {"makepath", noFolder, METH_VARARGS, nullptr};

// RAII guard that replaces an attribute of a module, if the module has it.
class CReplacedAttribute {
public:
    CReplacedAttribute(PyObject* module, const char* name, PyObject* value)
        : m_module(module), m_name(name), m_old(PyObject_GetAttrString(module, name)) {
        if (m_old.get() != nullptr) kzNonNegative(PyObject_SetAttrString(module, name, value));
        else PyErr_Clear();
    }
    ~CReplacedAttribute() {
        const CPendingException pending;
        if (m_old.get() != nullptr && PyObject_SetAttrString(m_module, m_name, m_old) != 0) PyErr_Clear();
    }
    CReplacedAttribute(const CReplacedAttribute&) = delete;
    CReplacedAttribute& operator=(const CReplacedAttribute&) = delete;

private:
    PyObject* m_module;
    const char* m_name;
    CPyRefNull m_old;
};

// The folder of the user's scripts is passed to site even if it could not be resolved and is empty. Site would take the
// empty path for the current folder and run the path files in it, which nobody has asked for.
void addSiteFolder(PyObject* site, PyObject* path) {
    std::optional<CReplacedAttribute> guard;
    if (PyString_GET_SIZE(path) == 0)
        guard.emplace(site, "makepath", CPyRef(PyCFunction_New(&noFolderFunction, nullptr), CPyRef::owned));
    const CPyRefNull result(PyObject_CallMethod(site, kzText("addsitedir"), kzText("O"), path));
    kzNonNull(result.get());
}

MainInterpreter* theInterpreter = nullptr;  // the one that is a program or comes to its end
void (*theFirstModule)() = nullptr;         // the initialiser that zipimport had before

PyObject* runExitFunction(PyObject* holder, PyObject* /*args*/) {
    const CPyRefNull result(PyObject_CallObject(PyList_GET_ITEM(holder, 0), nullptr));
    if (result.get() == nullptr) kzTellException();
    theInterpreter->exitFunctionsEnded();
    Py_RETURN_NONE;
}

PyMethodDef exitFunction = {"exitfunc", runExitFunction, METH_NOARGS, nullptr};

}  // namespace

void CMonitorRecord::release() noexcept {
    // The host may run Python code that destroys this record, so after the call only local references are used.
    const CKzLoc_Unknown released(monitor.raw());
    const CKzLoc_Unknown service(dialogs.raw());
    monitor.clear();
    if (released && service) static_cast<IKzStdDialogService*>(service.raw())->MonitorReleaseObj(released.raw());
}

void CMonitorLink::join(CMonitorLink& ring) noexcept {
    m_previous = std::exchange(ring.m_previous, this);
    m_next = &ring;
    m_previous->m_next = this;
}

void CMonitorLink::leave() noexcept {
    m_previous->m_next = m_next;
    m_next->m_previous = m_previous;
    m_previous = m_next = this;
}

void MainInterpreter::releaseMonitors() noexcept {
    // The ring is not iterated, because any record may leave it while another is being released.
    while (!monitors.isAlone()) {
        auto* record = static_cast<CMonitorRecord*>(monitors.next());
        record->leave();
        record->release();
    }
}

bool MainInterpreter::resolve(const char* alias, std::string& path) {
    IKzFileService* files = kzNonNull(m_files.ptr());
    // An empty path does not count, because the interpreter would take it for the current folder.
    return kzSucceeded(kzReadText(
               path, [&](char* buffer, std::uint32_t length) { return files->ToLocalAlias(alias, buffer, length); })) &&
           !path.empty();
}

void MainInterpreter::prependIfResolved(const char* alias) {
    std::string path;
    if (resolve(alias, path)) addToPath(path);
}

void MainInterpreter::start(KzProgress& progress, const std::function<void()>& importSupport) {
    if (Py_IsInitialized() != 0) {
        kzWrite("Python runs in this process already, started by another component: this module cannot start its own",
                KZe_STARTUP);
        throw KZe_NOTAVAILABLE;
    }
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
    importSupport();
    importSite();
    importWidgets();
    progress = "creating main dictionaries";
    takeMainDictionaries();
    PyErr_Clear();  // left by a missing widget bridge; no other code may run with it pending
    PyEval_ReleaseThread(m_mainThread);
}

int MainInterpreter::runProgram(const std::vector<std::string>& words, void (*importKz)()) {
    m_isProgram = true;
    m_files.take(hostService(KZu_FILESERVICE));
    kzTrue(static_cast<bool>(m_files));
    setProgramHome();
    kzExposeInterpreterSymbols();
    kzTrue(PyImport_AppendInittab(kzText("kz"), importKz) == 0, KZe_OUTOFMEMORY);
    theInterpreter = this;
    // Every start imports zipimport first, when sys.path is set up and nothing has been searched for in it yet.
    for (struct _inittab* row = PyImport_Inittab; row->name != nullptr; ++row)
        if (std::strcmp(row->name, "zipimport") == 0)
            theFirstModule = std::exchange(row->initfunc, [] {
                theFirstModule();
                if (PyErr_Occurred() != nullptr) return;
                kzValueBoundary([] { theInterpreter->extendProgramPath(); });
                PyErr_Clear();  // the interpreter works without these folders, too
            });
    std::vector<std::string> texts = words;  // the interpreter keeps pointers to them
    std::vector<char*> arguments;
    arguments.reserve(texts.size() + 1);
    for (std::string& text : texts) arguments.push_back(text.data());
    arguments.push_back(nullptr);
    return Py_Main(static_cast<int>(texts.size()), arguments.data());
}

void MainInterpreter::adopt(KzProgress& progress, const std::function<void()>& importSupport) {
    PyEval_InitThreads();
    CLockState::setOurs(true);
    // The last state of the list is the first that was created; the current thread may be another one.
    for (PyThreadState* each = PyInterpreterState_ThreadHead(PyThreadState_Get()->interp); each != nullptr;
         each = PyThreadState_Next(each))
        m_mainThread = each;
    progress = "importing main modules";
    buildModule();
    progress = "importing kzu";
    importSupport();
    progress = "creating main dictionaries";
    // Scripts and console lines that the host runs for the program do not share the names of its __main__.
    globals = CPyRef(Py_BuildValue("{sssOsO}", "__name__", "__main__", "__doc__", Py_None, "kz",
                                   kzNonNull(PyImport_AddModule("kz"))),
                     CPyRef::owned);
    kzNonNegative(PyDict_SetItemString(globals, "__builtins__", kzNonNull(PyImport_AddModule("__builtin__"))));
    locals = globals;
    argument = CPyRef(PyString_FromString(""), CPyRef::owned);
    PyObject* words = PySys_GetObject(kzText("argv"));  // null while site imports kz
    const CPyRef rest(words != nullptr ? PySequence_GetSlice(words, 1, PY_SSIZE_T_MAX) : PyTuple_New(0), CPyRef::owned);
    arguments = CPyRef(PySequence_Tuple(rest), CPyRef::owned);
}

void MainInterpreter::letGo() noexcept {
    for (CPyRef* reference : {&globals, &locals, &argument, &arguments}) *reference = CPyRef();
    releaseMonitors();
}

// If the kit's library is only a link into a Python installation, that installation is the home, so that the program
// sees its headers, packages and prefix. A home that the environment names is left to the interpreter.
void MainInterpreter::setProgramHome() {
    if (!kzHomeOfEnvironment().empty() || !resolve(kitHome, m_home)) return;
    constexpr std::string_view library = "/lib/python2.7";
    char* real = realpath((m_home + std::string(library)).c_str(), nullptr);
    if (const std::string_view path(real != nullptr ? real : ""); path.ends_with(library) && path != library)
        m_home = path.substr(0, path.size() - library.size());
    std::free(real);
    Py_SetPythonHome(m_home.data());
}

// The host's import paths come first, like those of PYTHONPATH; our own packages come after everything of Python's.
void MainInterpreter::extendProgramPath() {
    prependImportPaths();
    std::string path;
    for (const char* alias : {moduleScripts, kitScripts, userScripts})
        if (resolve(alias, path)) addToPath(path, PyList_Append);
}

void MainInterpreter::setHome() {
    if (!resolve(kitHome, m_home)) m_home = kzHomeOfEnvironment();
    if (m_home.empty()) return;
    Py_SetPythonHome(m_home.data());
    if (!kzIsHome(m_home)) kzWrite(("Python home \"" + m_home + "\" holds no lib/python2.7").c_str(), KZe_INFO);
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
    kzInitialiseInEnvironment();
    m_mainThread = PyThreadState_Get();
    CLockState::setOurs(true);
    // signal takes the thread that imports it first for the main one, so this one does. atexit is imported so that its
    // exit function is in place and can be guarded at the end, whoever registers with it.
    for (const char* name : {"signal", "atexit"}) {
        const CPyRefNull early(PyImport_ImportModule(name));
        if (early.get() == nullptr) PyErr_Clear();
    }
    kzParts().installStreams();
    kzNonNegative(PySys_SetObject(kzText("argv"), CPyRef(Py_BuildValue("[s]", ""), CPyRef::owned)));
    kzAddEnvironmentPath();
    prepareEnd();
}

// threading takes the thread that imports it first for the main one. Its import is too slow for scripts that do not use
// it, so it is delayed until another thread first enters, and the entry of the main thread is then corrected. The import
// must not block, because the thread that holds the import lock may be waiting for this one; if it fails for
// that reason, the next thread that enters tries again.
void MainInterpreter::importThreading() noexcept {
    if (m_hasThreading) return;
    m_hasThreading = true;
    kzValueBoundary([this] {
        if (PyDict_GetItemString(PyImport_GetModuleDict(), "threading") != nullptr) return;
        const CPyRef threading(PyImport_ImportModuleNoBlock("threading"), CPyRef::owned);
        const CPyRef active(PyObject_GetAttrString(threading, "_active"), CPyRef::owned);
        const CPyRef own(PyInt_FromLong(PyThreadState_GET()->thread_id), CPyRef::owned);
        const CPyRef main(PyDict_GetItem(active, own));
        const CPyRef ident(PyInt_FromLong(m_mainThread->thread_id), CPyRef::owned);
        kzNonNegative(PyDict_DelItem(active, own));
        kzNonNegative(PyObject_SetAttrString(main, "_Thread__ident", ident));
        kzNonNegative(PyDict_SetItem(active, ident, main));
    });
    if (PyErr_Occurred() == nullptr) return;
    m_hasThreading = false;
    PyErr_Clear();
}

// A thread of the host begins here, so it is one of those that threading.settrace and setprofile are for. Debuggers and
// profilers reach it that way.
void MainInterpreter::installHooks() noexcept {
    PyObject* threading = PyDict_GetItemString(PyImport_GetModuleDict(), "threading");
    if (threading == nullptr || !PyModule_Check(threading)) return;
    for (const auto& [name, setter] :
         {std::pair{"_trace_hook", "settrace"}, std::pair{"_profile_hook", "setprofile"}}) {
        PyObject* hook = PyDict_GetItemString(PyModule_GetDict(threading), name);
        PyObject* function = PySys_GetObject(kzText(setter));
        if (hook == nullptr || hook == Py_None || function == nullptr) continue;
        // Debuggers ignore threads that threading does not know.
        const CPyRefNull known(PyObject_CallMethod(threading, kzText("currentThread"), nullptr));
        if (known.get() == nullptr) PyErr_Clear();
        const CPyRefNull result(PyObject_CallFunctionObjArgs(function, hook, nullptr));
        if (result.get() == nullptr) kzTellException("the hook of threading for new threads failed");
    }
}

void MainInterpreter::prepareEnd() {
    m_guardedFunction = kzNonNull(Py_BuildValue("[O]", Py_None));
    m_exitGuard = kzNonNull(PyCFunction_New(&exitFunction, m_guardedFunction));
    m_exitName = kzNonNull(PyString_InternFromString("exitfunc"));
    // Finalisation releases the interpreter's empty frozenset when no thread state is left, but freeing it would need
    // one. This reference, which is never released, keeps it alive.
    kzNonNull(PyObject_CallObject(reinterpret_cast<PyObject*>(&PyFrozenSet_Type), nullptr));
}

// Finalisation calls sys.exitfunc, and would end the host's process if that raised SystemExit. From here on only the entry
// of sys holds the guard: a reference of ours would outlive the interpreter, and all of its builtins with it.
void MainInterpreter::guardExitFunction() noexcept {
    const CPyRefNull guard(std::exchange(m_exitGuard, nullptr)), holder(std::exchange(m_guardedFunction, nullptr)),
        name(std::exchange(m_exitName, nullptr));
    PyObject* names = name.get() != nullptr ? m_mainThread->interp->sysdict : nullptr;
    PyObject* function = names != nullptr ? PyDict_GetItem(names, name) : nullptr;
    theInterpreter = this;
    if (function == nullptr) return exitFunctionsEnded();
    Py_INCREF(function);
    if (PyList_SetItem(holder, 0, function) != 0 || PyDict_SetItem(names, name, guard) != 0) PyErr_Clear();
}

void MainInterpreter::exitFunctionsEnded() noexcept {
    endStopping();
    CLockState::endLookups(PyThreadState_GET());
    if (releaseSupport) releaseSupport();
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
    prependIfResolved(kitScripts);
    prependImportPaths();
    prependIfResolved(moduleScripts);
}

void MainInterpreter::prependImportPaths() {
    CKzUser_PlatformService platform;
    platform.take(hostService(KZu_PLATFORMSERVICE));
    kzTrue(static_cast<bool>(platform));
    std::uint32_t count = 0;
    kzSucceed(platform->ImportPathCount(&count));
    for (std::uint32_t index = count; index-- > 0;) {
        const char* path = nullptr;
        if (kzSucceeded(platform->ImportPathByIndex(index, &path)) && path != nullptr && path[0] != '\0')
            addToPath(path);
    }
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
    addSiteFolder(site, path);
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
    if (own == nullptr) own = CThreadStates::take();
    return own != nullptr ? own : m_mainThread;
}

MainInterpreter::~MainInterpreter() {
    if (m_mainThread == nullptr || m_isProgram) {
        // The references still hold None and there is no interpreter lock yet, or the program ends its interpreter
        // itself.
        return;
    }
    const CProcessStateKeeper keeper(m_hostSignals);
    PyThreadState* thread = endingThread();
    if (CLockState::current() != thread) PyEval_AcquireThread(thread);
    letGo();
    // An exception that a failed start left pending must not reach the code that finalisation runs.
    PyErr_Clear();
    guardExitFunction();
    Py_Finalize();
    CLockState::setOurs(false);
    // The lock is not released, because it is gone with the interpreter.
}
