// Observed callables, and the descriptors and constructors that lead to them.
#include "observe/observed.h"

#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/py_ref.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"

#include <unordered_map>

namespace {

// A method or function, and a descriptor of methods, have the same fields.
struct Observed {
    PyObject_HEAD PyObject* callable;  // owned: what is called, or the descriptor that binds it
    PyObject* self;                    // owned: what it is bound to, or null
    const char* owner;
    const char* name;
};

Observed* observed(PyObject* object) { return reinterpret_cast<Observed*>(object); }

extern PyTypeObject callableType;
extern PyTypeObject descriptorType;

PyObject* make(PyTypeObject& type, PyObject* callable, PyObject* self, const char* owner, const char* name) noexcept {
    auto* object = PyObject_New(Observed, &type);
    if (object == nullptr) return nullptr;
    Py_INCREF(callable);
    Py_XINCREF(self);
    object->callable = callable;
    object->self = self;
    object->owner = owner;
    object->name = name;
    return reinterpret_cast<PyObject*>(object);
}

void destroy(PyObject* object) {
    Py_DECREF(observed(object)->callable);
    Py_XDECREF(observed(object)->self);
    PyObject_Del(object);
}

// Runs the body as one call to the host, unless a watch answers for the host.
template <class Body> PyObject* watched(const KzCrossing& crossing, Body&& body) noexcept {
    CCrossingWatch* watch = kzCrossingWatch;
    if (watch == nullptr) return body();
    PyObject* result = nullptr;
    if (watch->begin(crossing, result)) return result;
    result = body();
    watch->end(crossing, result);
    return result;
}

PyObject* call(PyObject* object, PyObject* args, PyObject* keywords) {
    const Observed& target = *observed(object);
    PyObject** items = reinterpret_cast<PyTupleObject*>(args)->ob_item;
    const KzCrossing crossing{KzCrossing::toHost,     target.owner, target.name, target.self, items,
                              PyTuple_GET_SIZE(args), keywords};
    const CPyRef keep(object);
    return watched(crossing, [&] { return PyObject_Call(target.callable, args, keywords); });
}

PyObject* bind(PyObject* descriptor, PyObject* object, PyObject* type) {
    const Observed& target = *observed(descriptor);
    const CPyRefNull bound(Py_TYPE(target.callable)->tp_descr_get(target.callable, object, type));
    if (bound.get() == nullptr) return nullptr;
    return make(callableType, bound, object, target.owner, target.name);
}

// Everything else is asked of the callable itself, so that help() and inspect see what they always see.
PyObject* attribute(PyObject* object, PyObject* name) { return PyObject_GetAttr(observed(object)->callable, name); }
PyObject* describe(PyObject* object) { return PyObject_Repr(observed(object)->callable); }
long hash(PyObject* object) { return PyObject_Hash(observed(object)->callable); }

PyObject* unwrapped(PyObject* object) { return Py_TYPE(object) == &callableType ? observed(object)->callable : object; }
PyObject* compare(PyObject* left, PyObject* right, int operation) {
    return PyObject_RichCompare(unwrapped(left), unwrapped(right), operation);
}

PyTypeObject typeOf(const char* name) {
    PyTypeObject type{};
    Py_REFCNT(&type) = 1;
    type.tp_name = name;
    type.tp_basicsize = sizeof(Observed);
    type.tp_flags = Py_TPFLAGS_DEFAULT;
    type.tp_dealloc = destroy;
    type.tp_getattro = attribute;
    type.tp_repr = describe;
    type.tp_hash = hash;
    type.tp_richcompare = compare;
    return type;
}

PyTypeObject callableType = [] {
    PyTypeObject type = typeOf("observed_method");
    type.tp_call = call;
    return type;
}();

PyTypeObject descriptorType = [] {
    PyTypeObject type = typeOf("observed_descriptor");
    type.tp_descr_get = bind;
    type.tp_call = call;
    return type;
}();

// What the types had before.
struct Constructor {
    newfunc make;
    initproc initialise;
};
CKzForever<std::unordered_map<const PyTypeObject*, Constructor>> theConstructors;

// That of the observed type which the type is or derives from.
const Constructor& constructorOf(const PyTypeObject* type) {
    while (!theConstructors->contains(type)) type = type->tp_base;
    return theConstructors->at(type);
}

KzCrossing construction(PyTypeObject* type, const char* method, PyObject* self, PyObject* args, PyObject* keywords) {
    return {KzCrossing::toHost,     type->tp_name, method, self, reinterpret_cast<PyTupleObject*>(args)->ob_item,
            PyTuple_GET_SIZE(args), keywords};
}

PyObject* watchedNew(PyTypeObject* type, PyObject* args, PyObject* keywords) {
    return watched(construction(type, "__new__", nullptr, args, keywords),
                   [=] { return constructorOf(type).make(type, args, keywords); });
}

int watchedInit(PyObject* self, PyObject* args, PyObject* keywords) {
    const CPyRefNull result(watched(construction(Py_TYPE(self), "__init__", self, args, keywords), [=]() -> PyObject* {
        if (constructorOf(Py_TYPE(self)).initialise(self, args, keywords) != 0) return nullptr;
        Py_RETURN_NONE;
    }));
    return result.get() != nullptr ? 0 : -1;
}

void replace(PyObject* names, const char* name, PyTypeObject& with, const char* owner) {
    PyObject* former = PyDict_GetItemString(names, name);
    if (former == nullptr) return;
    const CPyRef replacement(make(with, former, nullptr, owner, name), CPyRef::owned);
    kzNonNegative(PyDict_SetItemString(names, name, replacement));
}

void replaceAll(PyObject* names, const PyMethodDef* row, PyTypeObject& with, const char* owner) {
    for (; row != nullptr && row->ml_name != nullptr; ++row) replace(names, row->ml_name, with, owner);
}

void readyTypes() {
    kzNonNegative(PyType_Ready(&callableType));
    kzNonNegative(PyType_Ready(&descriptorType));
}

}  // namespace

void kzObserveType(PyTypeObject& type, KzMaking making) noexcept {
    kzValueBoundary([&type, making] {
        if (theConstructors->contains(&type)) return;
        readyTypes();
        theConstructors->emplace(&type, Constructor{type.tp_new, type.tp_init});
        replaceAll(type.tp_dict, type.tp_methods, descriptorType, type.tp_name);
        if (making == KzMaking::byNew) {
            type.tp_new = watchedNew;
        } else {
            type.tp_init = watchedInit;
            replace(type.tp_dict, "__init__", descriptorType, type.tp_name);  // for classes that derive from the type
        }
        PyType_Modified(&type);
    });
    PyErr_Clear();
}

void kzObserveFunctions(PyObject* module, const PyMethodDef* functions) noexcept {
    kzValueBoundary([=] {
        readyTypes();
        replaceAll(PyModule_GetDict(module), functions, callableType, PyModule_GetName(module));
    });
    PyErr_Clear();
}
