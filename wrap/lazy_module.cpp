// The type of modules that are filled as they are used.
#include "wrap/lazy_module.h"

#include "module/checks.h"
#include "module/pending_exception.h"
#include "wrap/result_codes.h"

#include <cstring>

namespace {

// Keeps the cycle collector away while thousands of objects are made that all stay.
class CCollectorPause {
public:
    CCollectorPause() : m_collector(PyImport_ImportModule("gc")), m_was(call("isenabled")) { call("disable"); }
    ~CCollectorPause() {
        if (m_was.get() == Py_True) call("enable");
        PyErr_Clear();
    }
    CCollectorPause(const CCollectorPause&) = delete;
    CCollectorPause& operator=(const CCollectorPause&) = delete;

private:
    CPyRefNull call(const char* function) {
        if (m_collector.get() == nullptr) return CPyRefNull();
        return CPyRefNull(PyObject_CallMethod(m_collector, kzText(function), nullptr));
    }

    CPyRefNull m_collector;
    CPyRefNull m_was;
};

// An instance is one of the interpreter's modules with the names behind it; null once all of them are there.
const KzLazyNames*& namesOf(PyObject* module) {
    return *reinterpret_cast<const KzLazyNames**>(reinterpret_cast<char*>(module) + PyModule_Type.tp_basicsize);
}

// Names that somebody has set since stay as they are. The names are not interned, which would take as long again as
// everything else about them.
void fill(PyObject* module) {
    const KzLazyNames* names = std::exchange(namesOf(module), nullptr);
    if (names == nullptr) return;
    const CCollectorPause pause;
    PyObject* known = PyModule_GetDict(module);
    const CPyRef all(PyDict_New(), CPyRef::owned);
    names->makeAll([&](const char* name, PyObject* made) {
        const CPyRef owned(made, CPyRef::owned);
        const CPyRef key(PyString_FromString(name), CPyRef::owned);
        kzNonNegative(PyDict_SetItem(all, key, owned));
    });
    kzNonNegative(PyDict_Merge(known, all, 0));
}

PyObject* find(PyObject* module, PyObject* name) {
    const KzLazyNames* names = namesOf(module);
    const CPyRefNull made(names != nullptr ? names->find(PyString_AS_STRING(name)) : nullptr);
    if (made.get() == nullptr) return nullptr;
    kzNonNegative(PyDict_SetItem(PyModule_GetDict(module), name, made));
    Py_INCREF(made.get());
    return made;
}

PyObject* getAttribute(PyObject* module, PyObject* name) {
    return kzPythonEntry([=]() -> PyObject* {
        if (PyString_Check(name) && std::strcmp(PyString_AS_STRING(name), "__dict__") == 0) fill(module);
        PyObject* found = PyObject_GenericGetAttr(module, name);
        if (found != nullptr || PyString_Check(name) == 0 || PyErr_ExceptionMatches(PyExc_AttributeError) == 0)
            return found;
        {
            const CPendingException pending;
            found = find(module, name);
        }
        if (found != nullptr) PyErr_Clear();
        return found;
    });
}

PyTypeObject& lazyType() {
    static PyTypeObject type = [] {
        PyTypeObject made{};
        Py_REFCNT(&made) = 1;
        made.tp_name = "module";
        made.tp_base = &PyModule_Type;
        made.tp_basicsize = PyModule_Type.tp_basicsize + static_cast<Py_ssize_t>(sizeof(KzLazyNames*));
        made.tp_getattro = getAttribute;
        made.tp_flags = Py_TPFLAGS_DEFAULT;
        return made;
    }();
    kzNonNegative(PyType_Ready(&type));
    return type;
}

}  // namespace

PyObject* kzAddLazyModule(PyObject* parent, const char* name, const KzLazyNames& names) {
    const std::string full = std::string(PyModule_GetName(parent)) + "." + name;
    auto* type = reinterpret_cast<PyObject*>(&lazyType());
    const CPyRef module(PyObject_CallFunction(type, kzText("s"), full.c_str()), CPyRef::owned);
    namesOf(module) = &names;
    kzNonNegative(PyDict_SetItemString(PyImport_GetModuleDict(), full.c_str(), module));
    Py_INCREF(module.get());
    kzNonNegative(PyModule_AddObject(parent, name, module));
    return module;
}
