// The submodules of kz. Their attributes are created on first use, because a script uses only a few of thousands.
#include "wrap/registration.h"

#include "module/checks.h"
#include "wrap/lazy_module.h"
#include "wrap/result_codes.h"

#include <cstring>

namespace {

// For each kind of row that a header has: the list of rows, the name of a row, and a new reference to its attribute.
struct Symbols {
    static constexpr auto rows = &KzHeaderRows::symbols;
    static const char* nameOf(const KzSymbolRow& row) { return row.name; }
    static PyObject* make(const KzSymbolRow& row) {
        switch (row.kind) {
        case KzSymbolRow::integer: return PyInt_FromLong(row.number);
        case KzSymbolRow::longInteger: return PyLong_FromLongLong(row.number);
        case KzSymbolRow::real: return PyFloat_FromDouble(row.realNumber);
        case KzSymbolRow::text: return PyString_FromString(row.string);
        }
        return nullptr;
    }
};

struct Results {
    static constexpr auto rows = &KzHeaderRows::results;
    static const char* nameOf(const KzResultRow& row) { return row.name; }
    static PyObject* make(const KzResultRow& row) { return PyLong_FromUnsignedLong(row.code); }
};

struct Objects {
    static constexpr auto rows = &KzHeaderRows::objects;
    static const char* nameOf(const KzWrapperType* row) { return row->name; }
    static PyObject* make(KzWrapperType* row) {
        kzReadyObjectType(*row);
        Py_INCREF(&row->type);
        return reinterpret_cast<PyObject*>(&row->type);
    }
};

struct Services : Objects {
    static constexpr auto rows = &KzHeaderRows::services;
    static PyObject* make(KzWrapperType* row) {
        kzReadyServiceType(*row);
        Py_INCREF(&row->type);
        return reinterpret_cast<PyObject*>(&row->type);
    }
};

// The last row of that name counts.
template <class Kind> PyObject* find(const char* name) {
    for (auto header = kzHeaders.rbegin(); header != kzHeaders.rend(); ++header) {
        const auto rows = (*header)->*Kind::rows;
        for (auto row = rows.rbegin(); row != rows.rend(); ++row)
            if (std::strcmp(Kind::nameOf(*row), name) == 0) return kzNonNull(Kind::make(*row));
    }
    return nullptr;
}

template <class Kind> void makeAll(const std::function<void(const char* name, PyObject* value)>& take) {
    for (const KzHeaderRows* header : kzHeaders)
        for (const auto& row : header->*Kind::rows) take(Kind::nameOf(row), Kind::make(row));
}

void document(PyObject* module, const char* text) {
    kzNonNegative(PyObject_SetAttrString(module, "__doc__", CPyRef(PyString_FromString(text), CPyRef::owned)));
}

template <class Kind> PyObject* addSubmodule(PyObject* kz, const char* name, const char* text) {
    static constexpr KzLazyNames names{find<Kind>, makeAll<Kind>};
    PyObject* module = kzAddLazyModule(kz, name, names);
    document(module, text);
    return module;
}

}  // namespace

void kzAddSubmodules(PyObject* kz, PyTypeObject& storage) {
    addSubmodule<Services>(kz, "service", "The host's services: kz.service.Scene() and the like.");
    PyObject* object = addSubmodule<Objects>(kz, "object", "Types of the host's objects, one for each interface.");
    addSubmodule<Results>(kz, "result", "The result codes that operations of the host end with.");
    addSubmodule<Symbols>(kz, "symbol", "The constants of the host's SDK. help('kz.symbol.NAME') shows one.");
    PyObject* ifc = kzNonNull(PyImport_AddModule((std::string(PyModule_GetName(kz)) + ".ifc").c_str()));
    document(ifc, "Empty: base classes for servers are in the package kzifc.");
    Py_INCREF(ifc);
    kzNonNegative(PyModule_AddObject(kz, "ifc", ifc));
    kzReadyObjectType(kzUnknownType);
    kzAddType(object, "Unknown", kzUnknownType.type);
    kzAddType(object, "storage", storage);
    for (const KzHeaderRows* header : kzHeaders)
        for (const KzResultRow& row : header->results) kzAddResultName(row.name, row.code);
}
