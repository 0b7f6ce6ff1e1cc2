// kz.Service: what a script asks a script service of the host.
#include "kzmod/types.h"
#include "kzmod/value_conversion.h"
#include "module/pending_exception.h"
#include "wrap/uncopyable.h"

#include "kz/application.h"
#include "kz/base/global_cache.h"
#include "kz/command.h"
#include "kz/script.h"

#include <memory>
#include <new>

namespace {

struct CServiceState {
    std::string name;
    CKzUser_ScriptQuery query;
};
using ServicePointer = std::shared_ptr<CServiceState>;

struct ServiceObject {
    PyObject_HEAD ServicePointer state;  // null until the object has been constructed
};

// Methods work on a share of the state: the host may run Python code that constructs the object anew.
ServicePointer& stateOf(PyObject* self) { return reinterpret_cast<ServiceObject*>(self)->state; }

PyObject* serviceNew(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
    PyObject* self = type->tp_alloc(type, 0);
    if (self != nullptr) new (&stateOf(self)) ServicePointer();
    return self;
}

void serviceDealloc(PyObject* self) {
    {
        const CPendingException keep;
        stateOf(self).~ServicePointer();
    }
    Py_TYPE(self)->tp_free(self);
}

bool findQuery(CCall& call, CServiceState& state) {
    CKzUser_ApplicationService application;
    kzTakeService(application);
    CKzLoc_Unknown service;
    if (kzFailed(kzObtain(service,
                          [&](IKzUnknown** found) { return application.ServiceByName(state.name.c_str(), found); }))) {
        call.fail(kzFormat("service '%s' not found.", state.name), PyExc_NameError);
        return false;
    }
    const CKzUser_ServiceExtension extension(service.raw());
    if (kzSucceeded(kzObtain(state.query, [&](IKzUnknown** found) { return extension.ScriptQuery(found); })))
        return true;
    state.query.clear();
    call.fail(kzFormat("service '%s' has no script interface.", state.name));
    return false;
}

int serviceInit(PyObject* self, PyObject* args, PyObject* keywords) {
    return kzInitCall("kz.Service", [=](CCall& call) {
        const char* name = nullptr;
        if (!kzRefuseKeywords(self, keywords)) return false;
        if (PyArg_ParseTuple(args, "s", &name) == 0) return kzParseFailed() != nullptr;
        const auto state = std::make_shared<CServiceState>();
        state->name = name;
        const ServicePointer old = std::exchange(stateOf(self), state);
        return findQuery(call, *state);
    });
}

PyObject* serviceName(PyObject* self, PyObject* /*args*/) {
    const ServicePointer& state = stateOf(self);
    if (!state) Py_RETURN_NONE;
    return PyString_FromStringAndSize(state->name.data(), static_cast<Py_ssize_t>(state->name.size()));
}

// Runs a method on the state of an object that holds its query interface.
template <class Body> PyObject* serviceCall(PyObject* self, Body&& body) noexcept {
    return kzCall("kz.Service", [&](CCall& call) -> PyObject* {
        const ServicePointer state = stateOf(self);
        if (!state || !state->query) return call.fail("no active service interface.");
        return body(call, *state);
    });
}

PyObject* serviceSelect(PyObject* self, PyObject* args) {
    return serviceCall(self, [args](CCall& call, const CServiceState& state) -> PyObject* {
        const char* attribute = "";
        const char* which = nullptr;
        if (PyArg_ParseTuple(args, "|ss", &attribute, &which) == 0) return kzParseFailed();
        if (kzFailed(state.query.Select(attribute, which)))
            return call.fail(kzFormat("select failed on service '%s' for '%s'.", state.name, attribute));
        Py_RETURN_NONE;
    });
}

// The answer to a query for one attribute; a failure code when any step fails.
KzResult queryAttribute(const CKzUser_ScriptQuery& query, const char* attribute, CKzUser_ValueArray& values) {
    std::uint32_t index = 0;
    const char* type = nullptr;
    if (const KzResult code = query.Lookup(attribute, &index); kzFailed(code)) return code;
    if (const KzResult code = query.TypeName(index, &type); kzFailed(code)) return code;
    const std::string typeName = type != nullptr ? type : "";
    CKzUser_CommandService commands;
    kzTakeService(commands);
    const KzResult code =
        kzObtain(values, [&](IKzUnknown** found) { return commands.CreateQueryObject(typeName.c_str(), found); });
    return kzFailed(code) ? code : query.Query(index, values.raw());
}

PyObject* queryInShape(PyObject* self, PyObject* args, KzShape shape) noexcept {
    return serviceCall(self, [=](CCall& call, const CServiceState& state) -> PyObject* {
        const char* attribute = "";
        if (PyArg_ParseTuple(args, "|s", &attribute) == 0) return kzParseFailed();
        CKzUser_ValueArray values;
        if (kzFailed(queryAttribute(state.query, attribute, values)))
            return call.fail(kzFormat("query failed on service '%s' for attribute '%s'.", state.name, attribute));
        return kzConvertValues(call, values, nullptr, shape);
    });
}

PyObject* serviceQuery(PyObject* self, PyObject* args) { return queryInShape(self, args, KzShape::natural); }
PyObject* serviceQuery1(PyObject* self, PyObject* args) { return queryInShape(self, args, KzShape::single); }
PyObject* serviceQueryN(PyObject* self, PyObject* args) { return queryInShape(self, args, KzShape::tuple); }

PyMethodDef methods[] = {
    {"name", serviceName, METH_NOARGS, "Return the name of the script service."},
    {"select", serviceSelect, METH_VARARGS, "Select a an attribute (and element) for query."},
    {"query", serviceQuery, METH_VARARGS, "Query an attribute from the selection."},
    {"query1", serviceQuery1, METH_VARARGS, "Query an attribute from the selection, returning a single value."},
    {"queryN", serviceQueryN, METH_VARARGS, "Query an attribute from the selection, returning a tuple."},
    {nullptr, nullptr, 0, nullptr},
};

KzUncopyable uncopyable("kz.Service(name) makes another one");

PyTypeObject describe() {
    PyTypeObject type{};
    Py_REFCNT(&type) = 1;
    type.tp_name = "kz.Service";
    type.tp_basicsize = sizeof(ServiceObject);
    type.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE;
    type.tp_doc = "Script query objects";
    type.tp_methods = methods;
    type.tp_base = &uncopyable.type;
    type.tp_new = serviceNew;
    type.tp_init = serviceInit;
    type.tp_dealloc = serviceDealloc;
    return type;
}

}  // namespace

PyTypeObject kzServiceType = describe();
