// The test's host and its Python names.
#include "serving_fixture.h"

#include "serve/adapters.h"
#include "wrap/wrapper.h"

#include "kz/file.h"
#include "kz/guid.h"
#include "kz/host.h"
#include "kz/log.h"
#include "kz/platform.h"

#include <algorithm>
#include <deque>

extern "C" IKzUnknown* _IKzModule_Create();

namespace {

struct FileService final : CKzImpl_FileService {};
struct PlatformService final : CKzImpl_PlatformService {
    KzResult platformservice_ImportPathCount(std::uint32_t* count) override {
        *count = 0;
        return KZe_OK;
    }
};

struct Entry final : CKzImpl_LogEntry {};
struct Log final : CKzImpl_Log {};
template <class Ifc, class Class> CKzPolymorph<Class>& polymorphOf(const KzGuid& iid) {
    static auto* made = [&] {
        auto* polymorph = new CKzPolymorph<Class>();
        polymorph->nameOnce("test host");
        polymorph->append(kzMakeRecord<Ifc>(iid));
        return polymorph;
    }();
    return *made;
}

struct LogService final : CKzImpl_LogService {
    KzResult logservice_SubSystemLookup(const char* /*name*/, IKzUnknown** log) override {
        *log = polymorphOf<CKzIfc_Log<Log>, Log>(KZu_LOG).spawn();
        return KZe_OK;
    }
    KzResult logservice_CreateEntry(std::uint32_t level, const char* text, IKzUnknown** entry) override {
        hostRecord().log.emplace_back(text, level);
        *entry = polymorphOf<CKzIfc_LogEntry<Entry>, Entry>(KZu_LOGENTRY).spawn();
        return KZe_OK;
    }
};

// The identifiers of all adapters.
const std::deque<KzGuid>& knownGuids() {
    static const auto* known = [] {
        auto* guids = new std::deque<KzGuid>();
        for (const KzAdapterRow* row : kzAdapters)
            if (std::string_view(row->name) != "CommandEvent") guids->push_back(row->make()->iid());
        return guids;
    }();
    return *known;
}

// Knows every adapter's interface but one, so that an unknown one can be had.
struct GuidService final : CKzImpl_GUIDService {
    void* guidservice_Global(const KzGuid* iid) override {
        const auto found = std::ranges::find(knownGuids(), *iid);
        return found != knownGuids().end() ? const_cast<KzGuid*>(&*found) : nullptr;
    }
    KzResult guidservice_FromText(const char* text, KzGuid* iid) override {
        unsigned parts[11];
        if (std::sscanf(text, "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &parts[0], &parts[1], &parts[2], &parts[3],
                        &parts[4], &parts[5], &parts[6], &parts[7], &parts[8], &parts[9], &parts[10]) != 11)
            return KZe_INVALIDARG;
        *iid = {parts[0], static_cast<std::uint16_t>(parts[1]), static_cast<std::uint16_t>(parts[2]), {}};
        std::copy(parts + 3, parts + 11, iid->data4);
        return KZe_OK;
    }
};

struct HostService final : CKzImpl_HostService {
    KzResult hostservice_ModuleUpdate(const char* name) override {
        hostRecord().updates.emplace_back(name);
        return KZe_OK;
    }
};

template <class Ifc, class Service> IKzUnknown* serve(const KzGuid& iid) {
    static auto* service = new Service();
    static auto* polymorph = new CKzStaticPolymorph(service);
    if (polymorph->recordCount() == 0) polymorph->append(kzMakeRecord<Ifc>(iid));
    return polymorph->spawn();
}

// Answers for the services that the module needs.
struct Application final : IKzUnknown {
    KzResult QueryInterface(const KzGuid* iid, void** object) override {
        IKzUnknown* found = nullptr;
        if (*iid == KZu_FILESERVICE) found = serve<CKzIfc_FileService<FileService>, FileService>(KZu_FILESERVICE);
        else if (*iid == KZu_PLATFORMSERVICE)
            found = serve<CKzIfc_PlatformService<PlatformService>, PlatformService>(KZu_PLATFORMSERVICE);
        else if (*iid == KZu_LOGSERVICE) found = serve<CKzIfc_LogService<LogService>, LogService>(KZu_LOGSERVICE);
        else if (*iid == KZu_GUIDSERVICE) found = serve<CKzIfc_GUIDService<GuidService>, GuidService>(KZu_GUIDSERVICE);
        else if (*iid == KZu_HOSTSERVICE) found = serve<CKzIfc_HostService<HostService>, HostService>(KZu_HOSTSERVICE);
        *object = found;
        return found != nullptr ? KZe_OK : KZe_NOINTERFACE;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
};

IKzUnknown* theModule = nullptr;
IKzUnknown* theServer = nullptr;

struct Unloading final : testing::Environment {
    void TearDown() override {
        unloadModule();
        EXPECT_EQ(kzLiveInstanceCount(), 0U) << kzLiveInstanceNames();
    }
};
const auto* const unloading = testing::AddGlobalTestEnvironment(new Unloading());

PyObject* names() {
    static PyObject* made = nullptr;
    if (made != nullptr) return made;
    made = PyDict_New();
    PyDict_SetItemString(made, "__builtins__", PyEval_GetBuiltins());
    const CPyRef adapterNames(PyList_New(0), CPyRef::owned);
    for (const KzAdapterRow* row : kzAdapters)
        PyList_Append(adapterNames, CPyRef(PyString_FromString(row->name), CPyRef::owned));
    PyDict_SetItemString(made, "adapterNames", adapterNames);
    const CPyRefNull done(PyRun_String("import kz, sys, gc, weakref\n"
                                       "Others = {}\n"
                                       "for name in adapterNames:\n"
                                       "    Others[name] = type(name, (object,), {})\n"
                                       "    kz.bless(Others[name], ':' + name)\n"
                                       "Command = Others['Command']\n"
                                       "kz.bless(type('Warm', (Command,), {}), 'warm')\n"
                                       "count = 0\n"
                                       "def failing(exception):\n"
                                       "    def method(self, *args): raise exception\n"
                                       "    return method\n",
                                       Py_file_input, made, made));
    EXPECT_NE(done.get(), nullptr);
    return made;
}

std::string takeException() {
    const KzException exception = KzException::fetch();
    return kzExceptionName(exception.type, exception.value) + ": " + kzStringOf(exception.value);
}

}  // namespace

HostRecord& hostRecord() {
    static HostRecord record;
    return record;
}

IKzUnknown* loadedModule() {
    if (theModule != nullptr) return theModule;
    theModule = _IKzModule_Create();
    static Application application;
    CKzUser_NeedContext(theModule).SetContext(&application);
    return theModule;
}

IKzModule& moduleServer() {
    if (theServer == nullptr) CKzUser_Module(loadedModule()).Generate("python", &KZu_MODULE, &theServer);
    return *static_cast<IKzModule*>(theServer);
}

void unloadModule() {
    if (theServer != nullptr) std::exchange(theServer, nullptr)->Release();
    if (theModule != nullptr) std::exchange(theModule, nullptr)->Release();
}

ServingTest::ServingTest() {
    moduleServer();
    const CPyLock lock;
    names();
    log().clear();
    hostRecord().updates.clear();
    m_alive = kzLiveInstanceCount();
}

ServingTest::~ServingTest() {
    if (theModule == nullptr) return;
    const CPyLock lock;
    EXPECT_EQ(PyErr_Occurred(), nullptr);
    run("it = Blessed = None; gc.collect()");
    EXPECT_EQ(kzLiveInstanceCount(), m_alive) << kzLiveInstanceNames();
}

std::string ServingTest::run(const std::string& source) {
    const CPyLock lock;
    const CPyRefNull done(PyRun_String(source.c_str(), Py_file_input, names(), names()));
    return done.get() != nullptr ? "" : takeException();
}

std::string ServingTest::value(const std::string& expression) {
    const CPyLock lock;
    const CPyRefNull found(PyRun_String(expression.c_str(), Py_eval_input, names(), names()));
    return found.get() != nullptr ? kzStringOf(found) : takeException();
}

void ServingTest::name(const char* name, IKzUnknown* object) {
    const CPyLock lock;
    const CPyRefNull wrapper(kzNewUnknown(object));
    PyDict_SetItemString(names(), name, wrapper);
}

IKzUnknown* ServingTest::spawn(const char* name, const KzGuid& iid) {
    IKzUnknown* made = nullptr;
    moduleServer().Generate(name, &iid, &made);
    return made;
}

CKzUser_Command ServingTest::command(const std::string& body) {
    EXPECT_EQ(run("class Blessed(Command):\n" + body +
                  "\ncount += 1\nblessedName = 'test.%d' % count\nkz.bless(Blessed, blessedName)\n"),
              "");
    CKzLoc_Unknown made;
    made.take(spawn(value("blessedName").c_str()));
    EXPECT_TRUE(made);
    return CKzUser_Command(made.raw());
}
