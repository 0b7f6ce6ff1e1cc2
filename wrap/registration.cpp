// The submodules of kz, filled header by header.
#include "wrap/registration.h"

#include "module/checks.h"
#include "wrap/result_codes.h"

namespace {

PyObject* addSubmodule(PyObject* kz, const char* name) {
    const std::string full = std::string(PyModule_GetName(kz)) + "." + name;
    PyObject* module = kzNonNull(PyImport_AddModule(full.c_str()));  // borrowed: the import system keeps it
    Py_INCREF(module);
    kzNonNegative(PyModule_AddObject(kz, name, module));
    return module;
}

PyObject* makeSymbol(const KzSymbolRow& row) {
    switch (row.kind) {
    case KzSymbolRow::integer: return PyInt_FromLong(row.number);
    case KzSymbolRow::longInteger: return PyLong_FromLongLong(row.number);
    case KzSymbolRow::real: return PyFloat_FromDouble(row.realNumber);
    case KzSymbolRow::text: return PyString_FromString(row.string);
    }
    return nullptr;
}

// A later value under the same name takes the place of the earlier one. The names are not interned, which would take as
// long again as everything else about them, for thousands of names of which a script uses a few.
void add(PyObject* module, const char* name, PyObject* value) {
    const CPyRef owned(value, CPyRef::owned);
    const CPyRef key(PyString_FromString(name), CPyRef::owned);
    kzNonNegative(PyDict_SetItem(PyModule_GetDict(module), key, owned));
}

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

struct Submodules {
    PyObject* service;
    PyObject* object;
    PyObject* result;
    PyObject* symbol;
};

void addHeader(const KzHeaderRows& header, const Submodules& modules) {
    for (KzWrapperType* row : header.objects) kzRegisterObjectType(modules.object, *row);
    for (KzWrapperType* row : header.services) kzRegisterServiceType(modules.service, *row);
    for (const KzSymbolRow& row : header.symbols) add(modules.symbol, row.name, makeSymbol(row));
    for (const KzResultRow& row : header.results) {
        add(modules.result, row.name, PyLong_FromUnsignedLong(row.code));
        kzAddResultName(row.name, row.code);
    }
}

}  // namespace

void kzAddSubmodules(PyObject* kz, PyTypeObject& storage) {
    const CCollectorPause pause;
    Submodules modules{};
    modules.service = addSubmodule(kz, "service");
    modules.object = addSubmodule(kz, "object");
    modules.result = addSubmodule(kz, "result");
    modules.symbol = addSubmodule(kz, "symbol");
    addSubmodule(kz, "ifc");
    kzRegisterObjectType(modules.object, kzUnknownType);
    kzRegisterForeignType(modules.object, "storage", storage);
    for (const KzHeaderRows* header : kzHeaders) addHeader(*header, modules);
}
