// What a wrapper object looks like in memory, and how one is told from other objects.
#pragma once

#include "module/python.h"

#include "kz/base/unknown.h"

// What a generated type is made of. The rows live as long as the process; the interpreter fills in `type`.
struct KzWrapperType {
    PyTypeObject type;
    const char* name;
    const KzGuid* iid;
    PyMethodDef* methods;
    const char* doc;
    PyObject* nameObject = nullptr;  // the name for lookups, from the type's registration on
};

// The one layout of all wrapper objects: a reference to the interface or service that the type stands for, or null.
struct KzWrapper {
    PyObject_HEAD IKzUnknown* held;
};

inline KzWrapper* kzWrapper(PyObject* object) noexcept { return reinterpret_cast<KzWrapper*>(object); }

// Whether the object's very type is a registered object type; an instance of a Python subclass is not.
[[gnu::visibility("hidden")]] void kzDeallocObject(PyObject* self);
inline bool kzIsWrapper(PyObject* object) noexcept {
    // Only registered object types have this deallocator themselves; a Python subclass has the interpreter's.
    return Py_TYPE(object)->tp_dealloc == kzDeallocObject;
}
