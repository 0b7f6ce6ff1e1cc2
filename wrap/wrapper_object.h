// The layout of wrapper objects, and the test that tells them from other objects.
#pragma once

#include "module/python.h"

#include "kz/base/unknown.h"

// A generated type. The rows live as long as the process; the interpreter fills in `type`.
struct KzWrapperType {
    PyTypeObject type;
    const char* name;
    const KzGuid* iid;
    PyMethodDef* methods;
    const char* doc;
    PyObject* nameObject = nullptr;  // the name as a Python string, set when the type is registered
};

// The layout of every wrapper object: an owned reference to the interface or service that its type stands for, or null.
struct KzWrapper {
    PyObject_HEAD IKzUnknown* target;
};

inline KzWrapper* kzWrapper(PyObject* object) noexcept { return reinterpret_cast<KzWrapper*>(object); }

// True if the object's exact type is a registered object type; an instance of a Python subclass does not count.
[[gnu::visibility("hidden")]] void kzDeallocObject(PyObject* self);
inline bool kzIsWrapper(PyObject* object) noexcept {
    // Only registered object types have this deallocator themselves; a Python subclass has the interpreter's.
    return Py_TYPE(object)->tp_dealloc == kzDeallocObject;
}
