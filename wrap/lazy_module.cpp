// The type of modules that create their attributes on first use.
#include "wrap/lazy_module.h"

#include "module/checks.h"
#include "module/pending_exception.h"
#include "wrap/result_codes.h"

#include <cstring>

namespace {

// RAII guard that disables the cycle collector while thousands of permanent objects are created.
class CCollectorPause {
public:
    CCollectorPause() : m_collector(PyImport_ImportModule("gc")), m_formerState(call("isenabled")) { call("disable"); }
    ~CCollectorPause() {
        if (m_formerState.get() == Py_True) call("enable");
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
    CPyRefNull m_formerState;
};

// An instance is an ordinary module object, followed by a pointer to its names: null once all attributes exist.
const KzLazyNames*& namesOf(PyObject* module) {
    return *reinterpret_cast<const KzLazyNames**>(reinterpret_cast<char*>(module) + PyModule_Type.tp_basicsize);
}

// Attributes that a script has set meanwhile are kept. The names are not interned, which would double the time.
void fill(PyObject* module) {
    const KzLazyNames* names = std::exchange(namesOf(module), nullptr);
    if (names == nullptr) return;
    const CCollectorPause pause;
    PyObject* dictionary = PyModule_GetDict(module);
    const CPyRef all(PyDict_New(), CPyRef::owned);
    names->makeAll([&](const char* name, PyObject* value) {
        const CPyRef owned(value, CPyRef::owned);
        const CPyRef key(PyString_FromString(name), CPyRef::owned);
        kzNonNegative(PyDict_SetItem(all, key, owned));
    });
    kzNonNegative(PyDict_Merge(dictionary, all, 0));
}

PyObject* find(PyObject* module, PyObject* name) {
    const KzLazyNames* names = namesOf(module);
    const CPyRefNull value(names != nullptr ? names->find(PyString_AS_STRING(name)) : nullptr);
    if (value.get() == nullptr) return nullptr;
    kzNonNegative(PyDict_SetItem(PyModule_GetDict(module), name, value));
    Py_INCREF(value.get());
    return value;
}

PyObject* getAttribute(PyObject* module, PyObject* name) {
    return kzPythonEntry([=]() -> PyObject* {
        if (PyString_Check(name) && std::strcmp(PyString_AS_STRING(name), "__dict__") == 0) fill(module);
        PyObject* value = PyObject_GenericGetAttr(module, name);
        if (value != nullptr || PyString_Check(name) == 0 || PyErr_ExceptionMatches(PyExc_AttributeError) == 0)
            return value;
        {
            const CPendingException pending;
            value = find(module, name);
        }
        if (value != nullptr) PyErr_Clear();
        return value;
    });
}

PyTypeObject& lazyType() {
    static PyTypeObject type = [] {
        PyTypeObject fields{};
        Py_REFCNT(&fields) = 1;
        fields.tp_name = "module";
        fields.tp_base = &PyModule_Type;
        fields.tp_basicsize = PyModule_Type.tp_basicsize + static_cast<Py_ssize_t>(sizeof(KzLazyNames*));
        fields.tp_getattro = getAttribute;
        fields.tp_flags = Py_TPFLAGS_DEFAULT;
        return fields;
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
