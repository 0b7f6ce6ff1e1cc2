// Wrapper objects: one Python type for each host interface and service, and how any Python object becomes a host
// object. Everything here needs the interpreter lock.
#pragma once

#include "module/py_ref.h"
#include "wrap/wrapper_object.h"

#include "kz/base/object.h"

// Makes a type usable, if it is not yet: when a script first asks for it, or for its first instance. Throws FAILED.
void kzReadyObjectType(KzWrapperType& row);
void kzReadyServiceType(KzWrapperType& row);
// Readies a type and adds it to a module.
void kzAddType(PyObject* module, const char* name, PyTypeObject& type);

// Called for each type once, when it has been readied. Null for none; set before Python starts.
using KzTypeHook = void (*)(PyTypeObject& type, bool isService) noexcept;
extern KzTypeHook kzTypeHook;

extern KzWrapperType kzUnknownType;

// The generated row of a type, or of the type that a Python class derives from.
const KzWrapperType& kzRowOf(PyTypeObject* type) noexcept;

// The interface's own methods, which follow the generic ones of an object type, in the order of its table of operations.
const PyMethodDef* kzOwnMethods(const KzWrapperType& row) noexcept;

// True for the type of objects or services, and for a Python class that derives from one.
bool kzIsWrapperType(const PyTypeObject* type) noexcept;

// Makes a wrapper refer to the object by its type's interface, with a reference of its own, instead of its previous target.
// True if it then refers to anything. An object that is released during a call on it lives until that call has returned.
bool kzHold(PyObject* wrapper, IKzUnknown* object);

// A new wrapper that consumes the reference. Null with an exception set if the object lacks the interface.
PyObject* kzNewWrapper(const KzWrapperType& type, IKzUnknown* owned) noexcept;
// The Python object for an object that a host call returned; consumes the reference. It is an instance of the class of
// that name in kzu.object if there is one, else a wrapper. Without a type it is an Unknown wrapper, or None for null.
[[gnu::visibility("hidden")]] PyObject* kzNewReturned(const KzWrapperType* type, IKzUnknown* owned) noexcept;
// A new wrapper of the Unknown type with a reference of its own. Null with an exception set on failure.
PyObject* kzNewUnknown(IKzUnknown* object) noexcept;

// The host object behind a Python object as a borrowed reference, or null. Throws NOINTERFACE for an empty wrapper.
IKzUnknown* kzPeek(PyObject* object);
// Converts any Python object to a host object with a new reference. An object that is not a wrapper is served by a server
// instance of its class. On failure `result` is null, and a Python exception may be set.
[[gnu::visibility("hidden")]] KzResult kzObjectToInterface(PyObject* object, bool noneAllowed,
                                                           IKzUnknown** result) noexcept;

// Callbacks by which the part that serves Python objects to the host extends this one, which stands below it.
struct KzServing {
    IKzUnknown* (*serve)(PyObject* object) = nullptr;    // a host object that the Python object implements; may throw
    PyObject* (*extract)(IKzUnknown* object) = nullptr;  // borrowed; null when the object is not one of ours
};
void kzSetServing(const KzServing& serving) noexcept;
// The Python instance that implements the host object, as a borrowed reference; null if none does.
PyObject* kzInstanceServedAs(IKzUnknown* object) noexcept;

// kz.extract.
PyObject* kzExtractFunction(PyObject* self, PyObject* args);

// The five methods of every object type. Generated method tables start with their rows.
PyObject* kzWrapperSet(PyObject* self, PyObject* args);
PyObject* kzWrapperTest(PyObject* self, PyObject* args);
PyObject* kzWrapperEq(PyObject* self, PyObject* args);
PyObject* kzWrapperHash(PyObject* self, PyObject* args);
PyObject* kzWrapperPeek(PyObject* self, PyObject* args);

#define KZ_GENERIC_METHODS                                                                                             \
    {"set", kzWrapperSet, METH_VARARGS, "bool = set(object source)"},                                                  \
        {"test", kzWrapperTest, METH_VARARGS, "bool = test()"}, {"__eq__", kzWrapperEq, METH_VARARGS, nullptr},        \
        {"__hash__", kzWrapperHash, METH_VARARGS, nullptr}, {                                                          \
        "__peekobj__", kzWrapperPeek, METH_VARARGS, "obj id = __peekobj__()"                                           \
    }

// Frees the memory of past wrappers, when the interpreter ends.
void kzForgetTypes() noexcept;
