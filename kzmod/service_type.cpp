// kz.Service: the queries of a script to a service of the host.
#include "kzmod/types.h"
#include "kzmod/value_conversion.h"
#include "module/crossing_watch.h"
#include "module/pending_exception.h"

#include "kz/application.h"
#include "kz/base/global_cache.h"
#include "kz/base/text.h"
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
    PyObject_HEAD ServicePointer state;  // null until __init__ has run
};

// Methods keep the state alive themselves, because the host may run Python code that calls __init__ again.
ServicePointer& stateOf(PyObject* self) { return reinterpret_cast<ServiceObject*>(self)->state; }

PyObject* serviceNew(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
    PyObject* self = type->tp_alloc(type, 0);
    if (self != nullptr) new (&stateOf(self)) ServicePointer();
    return kzTellMade(self);
}

void serviceDealloc(PyObject* self) {
    kzTellGone(self);
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
    if (kzFailed(kzObtain(
            service, [&](IKzUnknown** object) { return application.ServiceByName(state.name.c_str(), object); }))) {
        call.fail(kzFormat("service '%s' not found.", state.name), PyExc_NameError);
        return false;
    }
    const CKzUser_ServiceExtension extension(service.raw());
    if (kzSucceeded(kzObtain(state.query, [&](IKzUnknown** object) { return extension.ScriptQuery(object); })))
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

// Runs a method on the object's state, if that has a query interface.
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
        if (const KzResult code = state.query.Select(attribute, which); kzFailed(code)) {
            call.blame(code, kzResultName(code));
            return call.fail(kzFormat("select failed on service '%s' for '%s'.", state.name, attribute));
        }
        Py_RETURN_NONE;
    });
}

// Queries one attribute. Returns the code of the first step that fails.
KzResult queryAttribute(const CKzUser_ScriptQuery& query, const char* attribute, CKzUser_ValueArray& values) {
    std::uint32_t index = 0;
    const char* type = nullptr;
    if (const KzResult code = query.Lookup(attribute, &index); kzFailed(code)) return code;
    if (const KzResult code = query.TypeName(index, &type); kzFailed(code)) return code;
    const std::string typeName(kzTextOf(type));
    CKzUser_CommandService commands;
    kzTakeService(commands);
    const KzResult code =
        kzObtain(values, [&](IKzUnknown** object) { return commands.CreateQueryObject(typeName.c_str(), object); });
    return kzFailed(code) ? code : query.Query(index, values.raw());
}

PyObject* queryInShape(PyObject* self, PyObject* args, KzShape shape) noexcept {
    return serviceCall(self, [=](CCall& call, const CServiceState& state) -> PyObject* {
        const char* attribute = "";
        if (PyArg_ParseTuple(args, "|s", &attribute) == 0) return kzParseFailed();
        CKzUser_ValueArray values;
        if (const KzResult code = queryAttribute(state.query, attribute, values); kzFailed(code)) {
            call.blame(code, kzResultName(code));
            return call.fail(kzFormat("query failed on service '%s' for attribute '%s'.", state.name, attribute));
        }
        return kzConvertValues(call, values, nullptr, shape);
    });
}

PyObject* serviceQuery(PyObject* self, PyObject* args) { return queryInShape(self, args, KzShape::natural); }
PyObject* serviceQuery1(PyObject* self, PyObject* args) { return queryInShape(self, args, KzShape::single); }
PyObject* serviceQueryN(PyObject* self, PyObject* args) { return queryInShape(self, args, KzShape::tuple); }

PyMethodDef serviceMethods[] = {
    {"name", serviceName, METH_NOARGS, "Return the name of the script service."},
    {"select", serviceSelect, METH_VARARGS, "Select a an attribute (and element) for query."},
    {"query", serviceQuery, METH_VARARGS, "Query an attribute from the selection."},
    {"query1", serviceQuery1, METH_VARARGS, "Query an attribute from the selection, returning a single value."},
    {"queryN", serviceQueryN, METH_VARARGS, "Query an attribute from the selection, returning a tuple."},
    {nullptr, nullptr, 0, nullptr},
};

KzUncopyable uncopyableService("kz.Service(name) makes another one");

}  // namespace

PyTypeObject kzServiceType = KzTypeRow{"kz.Service",   "Script query objects", sizeof(ServiceObject),
                                       serviceMethods, uncopyableService,      serviceNew,
                                       serviceInit,    serviceDealloc}
                                 .type();
