// kz.bless and kz.testifc: checking a class, registering it as a server, and writing the reason for every refusal.
#include "serve/bless.h"

#include "module/checks.h"
#include "module/explain.h"
#include "module/runtime.h"
#include "serve/adapters.h"
#include "serve/class_interfaces.h"
#include "serve/leftovers.h"
#include "serve/reasons.h"
#include "serve/server_list.h"
#include "wrap/result_codes.h"

#include "kz/base/boundary.h"
#include "kz/base/global_cache.h"
#include "kz/host.h"
#include "kz/result.h"

const char kzBlessDoc[] = "Export a class as a server object:\n\n"
                          "        kz.bless(cls, name, [tags, meta])\n\n"
                          "  cls   - class to bless\n"
                          "  name  - the server name\n"
                          "  tags  - optional dictionary of server tags\n"
                          "  meta  - optional metaclass object\n\n"
                          "The class must be derived in part from kzifc base classes, and the first\n"
                          "class in the hierarchy is the server type. The name must be unique for all\n"
                          "servers of this same type in the system. Tags are given by a dictionary of\n"
                          "tag[key] = value pairs. The metaclass is passed as argument to the\n"
                          "__init__() method, providing global state to customize the class.";
const char kzTestifcDoc[] = "Test an interface GUID against a class:\n\n        ok = kz.testifc(cls, guid, [meta])";

namespace {

// Throws for what one call of a function refuses, and writes the reason to the log.
class CRefusal {
public:
    explicit CRefusal(const char* function) : m_place(function) {}
    CRefusal(const char* function, const char* name) : m_place(std::string(function) + " of \"" + name + "\"") {}

    void explain(const std::string& reason) const { kzExplain(m_place, reason); }
    void unless(bool condition, const char* reason, KzResult code = KZe_FAILED) const {
        if (condition) return;
        explain(reason);
        throw code;
    }

    // Servers belong to the thread state with which Python was started, because any other may end before Python does.
    void unlessMainThread() const {
        PythonRuntime* runtime = kzNonNull(PythonRuntime::current());
        const MainInterpreter* interpreter = kzNonNull(runtime->interpreter());
        unless(interpreter->mainThread() == PyThreadState_GET(),
               "only the thread on which Python was started may do this, but another thread called it");
    }

    // Runs an action that stores its reason in the given text before it throws.
    template <class Action> decltype(auto) explaining(Action&& action) const {
        std::string why;
        try {
            return action(&why);
        } catch (...) {
            if (!why.empty()) explain(why);
            throw;
        }
    }
    void unlessClass(PyObject* object) const {
        explaining([object](std::string* why) { kzRequireClass(object, why); });
    }
    CKzPythonPolymorph& polymorphFor(PyObject* pythonClass, PyObject* meta) const {
        return explaining([=](std::string* why) -> decltype(auto) { return kzPolymorphFor(pythonClass, meta, why); });
    }

private:
    std::string m_place;
};

KzGuid guidOf(const CRefusal& refusal, const char* text) {
    try {
        return kzGuidOfText(text);
    } catch (...) {
        refusal.explain(std::string("expected 8-4-4-4-12 hexadecimal digits, got '") + text + "'");
        throw;
    }
}

PyObject* metaOrNone(PyObject* meta) noexcept { return meta != nullptr ? meta : Py_None; }

// If the host cannot read the list now, it sees the server the next time it does, so the blessing still counts.
void updateHost(const CRefusal& refusal) {
    const CKzUser_HostService host;
    const KzResult code = host.ModuleUpdate("python");
    if (kzFailed(code))
        refusal.explain(std::string("the host did not read the list of servers again, and may not offer this one: ") +
                        (host ? kzResultName(code) : "it has no host service"));
}

// True if the host says that it never calls objects with that interface. The blessing counts whatever it answers.
bool isNeverCalled(const KzGuid& iid) noexcept {
    return kzValueBoundary([&] {
        CKzLoc_ServerUse host;
        kzTakeService(host);
        return host && !host->Calls(&iid);
    });
}

void markBase(const CRefusal& refusal, PyObject* pythonClass, const char* interfaceName) {
    refusal.unless(kzFindAdapter(interfaceName) != nullptr, "no interface of that name can be implemented in Python",
                   KZe_INVALIDARG);
    kzMarkInterfaceBase(pythonClass, interfaceName);
}

struct Blessing {
    CKzPythonPolymorph& polymorph;
    const KzGuid* type;
};

// Checks everything that a blessing needs except that the name is free.
Blessing examine(const CRefusal& refusal, PyObject* pythonClass, PyObject* tags, PyObject* meta) {
    CKzPythonPolymorph& polymorph = refusal.polymorphFor(pythonClass, meta);
    if (tags != Py_None && !PyDict_Check(tags)) {
        refusal.explain("expected a dictionary of tags, got " + kzMention(tags));
        throw KZe_INVALIDARG;
    }
    const KzGuid* type = kzServerType(*polymorph.firstInterface());
    if (type == nullptr) {
        refusal.explain("the host does not know the interface " + kzFirstInterfaceName(polymorph));
        throw KZe_NOTFOUND;
    }
    return {polymorph, type};
}

void blessServer(const CRefusal& refusal, PyObject* pythonClass, const char* name, PyObject* tags, PyObject* meta) {
    const auto [polymorph, type] = examine(refusal, pythonClass, tags, meta);
    if (CServerList::instance().find(name, type))
        refusal.explain("there is a server of that name for " + kzFirstInterfaceName(polymorph) + " already");
    CServerList::instance().add(name, type, polymorph, tags);
    updateHost(refusal);
    if (isNeverCalled(*type))
        refusal.explain("this host never calls servers of the kind " + kzFirstInterfaceName(polymorph));
}

// The result of a dry run: the server's type as a number, and whether the name is taken.
PyObject* checkFunction(PyObject* /*self*/, PyObject* args) {
    return kzPythonEntry([args]() -> PyObject* {
        CRefusal("kz.bless").unlessMainThread();
        PyObject* pythonClass = nullptr;
        const char* name = nullptr;
        PyObject* tags = nullptr;
        PyObject* meta = nullptr;
        if (PyArg_ParseTuple(args, "OsOO", &pythonClass, &name, &tags, &meta) == 0) return kzParseFailed();
        const KzGuid* type = examine(CRefusal("kz.bless", name), pythonClass, tags, meta).type;
        const bool isAccepted = CServerList::instance().find(name, type).has_value();
        return Py_BuildValue("NO", PyLong_FromVoidPtr(const_cast<KzGuid*>(type)), isAccepted ? Py_True : Py_False);
    });
}

PyObject* isCalledFunction(PyObject* /*self*/, PyObject* name) {
    return kzPythonEntry([name]() -> PyObject* {
        const KzAdapterRow* adapter = kzFindAdapter(kzNonNull(PyString_AsString(name)));
        return PyBool_FromLong(isNeverCalled(kzNonNull(adapter, KZe_INVALIDARG)->make()->iid()) ? 0 : 1);
    });
}

PyMethodDef servingFunctions[] = {
    {"check", checkFunction, METH_VARARGS,
     "(type, taken) = check(cls, name, tags, meta)\n\nChecks a blessing as kz.bless does, without blessing."},
    {"is_called", isCalledFunction, METH_O,
     "called = is_called(kind)\n\nWhether the host calls servers of that kind. True if it does not say."},
    {nullptr, nullptr, 0, nullptr},
};

// A host object for a Python object whose class implements an interface; null for any other Python object.
IKzUnknown* serveObject(PyObject* object) {
    try {
        CPyRefNull meta(PyObject_GetAttrString(object, "_meta"));
        if (meta.get() == nullptr) PyErr_Clear();
        auto* pythonClass = reinterpret_cast<PyObject*>(Py_TYPE(object));
        return kzPolymorphFor(pythonClass, metaOrNone(meta)).spawnFor(object);
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

PyObject* kzBlessFunction(PyObject* /*self*/, PyObject* args) {
    kzSetQuiet(false);
    return kzPythonEntry([args]() -> PyObject* {
        CRefusal("kz.bless").unlessMainThread();
        PyObject* pythonClass = nullptr;
        const char* name = nullptr;
        PyObject* tags = Py_None;
        PyObject* meta = Py_None;
        if (PyArg_ParseTuple(args, "Os|OO", &pythonClass, &name, &tags, &meta) == 0) return kzParseFailed();
        const CRefusal refusal("kz.bless", name);
        refusal.unlessClass(pythonClass);
        if (name[0] == ':') markBase(refusal, pythonClass, name + 1);
        else blessServer(refusal, pythonClass, name, tags, meta);
        Py_RETURN_NONE;
    });
}

PyObject* kzTestifcFunction(PyObject* /*self*/, PyObject* args) {
    kzSetQuiet(false);
    return kzPythonEntry([args]() -> PyObject* {
        const CRefusal refusal("kz.testifc");
        refusal.unlessMainThread();
        PyObject* pythonClass = nullptr;
        const char* text = nullptr;
        PyObject* meta = Py_None;
        if (PyArg_ParseTuple(args, "Os|O", &pythonClass, &text, &meta) == 0) return kzParseFailed();
        refusal.unlessClass(pythonClass);
        const KzGuid iid = guidOf(refusal, text);
        return PyBool_FromLong(refusal.polymorphFor(pythonClass, meta).testInterface(iid) ? 1 : 0);
    });
}

KzServing kzPythonServing() noexcept { return {serveObject, kzPythonObjectOf}; }

void kzAddServingModule() {
    kzNonNull(Py_InitModule3("_kzserv", servingFunctions, "The functions that the package kzserv needs."));
}

void kzReleaseServers() {
    kzTellLeftovers();
    CServerList::instance().releaseTags();
    kzReleaseClasses();
}

void kzForgetServers() noexcept {
    kzForgetMethodNames();
    kzReleaseServerServices();
}
