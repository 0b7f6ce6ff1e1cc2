// Blessing.
#include "serve/bless.h"

#include "module/checks.h"
#include "module/runtime.h"
#include "serve/adapters.h"
#include "serve/class_interfaces.h"
#include "serve/server_list.h"
#include "wrap/result_codes.h"

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

// Servers belong to the thread state that Python was started with: another one may be gone tomorrow.
void checkInterpreter() {
    PythonRuntime* runtime = kzNonNull(PythonRuntime::current());
    const MainInterpreter* interpreter = kzNonNull(runtime->interpreter());
    kzTrue(interpreter->mainThread() == PyThreadState_GET());
}

PyObject* metaOrNone(PyObject* meta) noexcept { return meta != nullptr ? meta : Py_None; }

void blessServer(PyObject* pythonClass, const char* name, PyObject* tags, PyObject* meta) {
    CKzPythonPolymorph& polymorph = kzPolymorphFor(pythonClass, meta);
    kzTrue(tags == Py_None || PyDict_Check(tags), KZe_INVALIDARG);
    const KzGuid* type = kzNonNull(kzServerType(*polymorph.firstInterface()), KZe_NOTFOUND);
    CServerList::instance().add(name, type, polymorph, tags);
    CKzUser_HostService().ModuleUpdate("python");
}

// An object whose class implements some interface, as a host object; null when it does not.
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
        checkInterpreter();
        PyObject* pythonClass = nullptr;
        const char* name = nullptr;
        PyObject* tags = Py_None;
        PyObject* meta = Py_None;
        if (PyArg_ParseTuple(args, "Os|OO", &pythonClass, &name, &tags, &meta) == 0) return kzParseFailed();
        kzTrue(PyType_Check(pythonClass));
        if (name[0] == ':') kzMarkInterfaceBase(pythonClass, name + 1);
        else blessServer(pythonClass, name, tags, meta);
        Py_RETURN_NONE;
    });
}

PyObject* kzTestifcFunction(PyObject* /*self*/, PyObject* args) {
    kzSetQuiet(false);
    return kzPythonEntry([args]() -> PyObject* {
        checkInterpreter();
        PyObject* pythonClass = nullptr;
        const char* text = nullptr;
        PyObject* meta = Py_None;
        if (PyArg_ParseTuple(args, "Os|O", &pythonClass, &text, &meta) == 0) return kzParseFailed();
        kzTrue(PyType_Check(pythonClass));
        const KzGuid iid = kzGuidOfText(text);
        return PyBool_FromLong(kzPolymorphFor(pythonClass, meta).testInterface(iid) ? 1 : 0);
    });
}

KzServing kzPythonServing() noexcept { return {serveObject, kzPythonObjectOf}; }

void kzReleaseServers() {
    CServerList::instance().releaseTags();
    kzReleaseClasses();
}

void kzForgetServers() noexcept {
    kzForgetMethodNames();
    kzReleaseServerServices();
}
