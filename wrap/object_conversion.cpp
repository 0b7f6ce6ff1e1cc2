// How any Python object becomes a host object, and the methods that every object type has.
#include "wrap/wrapper.h"

#include "module/checks.h"
#include "wrap/address.h"
#include "wrap/refusal.h"
#include "wrap/result_codes.h"

#include "kz/result.h"

#include <bit>

namespace {

KzServing theServing;

bool isZero(PyObject* object) noexcept { return PyInt_Check(object) && PyInt_AS_LONG(object) == 0; }

// A pointer that an object's own __peekobj__ gives; null when it gives none.
IKzUnknown* peekByAttribute(PyObject* object) {
    const CPyRefNull method(PyObject_GetAttrString(object, "__peekobj__"));
    if (method.get() == nullptr) {
        PyErr_Clear();
        return nullptr;
    }
    const CPyRefNull result(PyObject_CallObject(method, nullptr));
    kzNonNull(result.get());
    if (!PyInt_Check(result.get()) && !PyLong_Check(result.get())) return nullptr;
    void* pointer = PyLong_AsVoidPtr(result);
    if (PyErr_Occurred() != nullptr) throw KZe_FAILED;
    if (!kzMayBeAddress(pointer)) throw KZe_NOINTERFACE;
    return static_cast<IKzUnknown*>(pointer);
}

// The host object for "O" of a generic method, with a new reference, or null.
CKzLoc_Unknown& convertArgument(PyObject* self, const char* method, PyObject* args, CKzLoc_Unknown& found) {
    PyObject* source = nullptr;
    if (PyArg_ParseTuple(args, "O", &source) == 0) {
        kzParseFailed();
        throw KZe_FAILED;
    }
    const KzResult code = kzObjectToInterface(source, true, found.out());
    if (kzFailed(code)) {
        kzRefuseArgument(std::string(kzRowOf(Py_TYPE(self)).type.tp_name) + "." + method, 0, "source", code);
        throw code;
    }
    return found;
}

}  // namespace

void kzSetServing(const KzServing& serving) noexcept { theServing = serving; }

IKzUnknown* kzPeek(PyObject* object) {
    if (object == Py_None || isZero(object)) return nullptr;
    if (kzIsWrapper(object)) return kzNonNull(kzWrapper(object)->held, KZe_NOINTERFACE);
    return peekByAttribute(object);
}

KzResult kzObjectToInterface(PyObject* object, bool noneAllowed, IKzUnknown** found) noexcept {
    if (kzIsWrapper(object)) {  // most arguments are wrappers, and those that hold something need no more than this
        *found = kzWrapper(object)->held;
        if (*found != nullptr) return (*found)->AddRef(), KZe_OK;
    }
    *found = nullptr;
    if (noneAllowed && (object == Py_None || isZero(object))) return KZe_OK;
    const KzResult code = kzBoundary([=] {
        IKzUnknown* known = kzPeek(object);
        if (known != nullptr) known->AddRef();
        else if (theServing.serve != nullptr && object != Py_None && !isZero(object)) known = theServing.serve(object);
        *found = known;
        if (known != nullptr) return KZe_OK;
        if (PyErr_Occurred() == nullptr) PyErr_SetString(PyExc_RuntimeError, "Object cannot be converted to interface");
        return KZe_NOTFOUND;
    });
    if (kzFailed(code)) kzNoteRefused(object, "an object of the host or one that can be served to it");
    return code;
}

PyObject* kzExtractFunction(PyObject* /*self*/, PyObject* args) {
    return kzPythonEntry([args]() -> PyObject* {
        PyObject* source = nullptr;
        if (PyArg_ParseTuple(args, "O", &source) == 0) return kzParseFailed();
        IKzUnknown* object = kzPeek(source);
        if (object == nullptr) Py_RETURN_NONE;
        PyObject* instance = theServing.extract != nullptr ? theServing.extract(object) : nullptr;
        if (instance == nullptr) {
            PyErr_SetString(PyExc_TypeError, "kz.extract: the object is not implemented in Python");
            return nullptr;
        }
        Py_INCREF(instance);
        return instance;
    });
}

PyObject* kzWrapperSet(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    return kzPythonEntry([=] {
        CKzLoc_Unknown source;
        convertArgument(self, "set", args, source);
        return PyBool_FromLong(kzHold(self, source.raw()) ? 1 : 0);
    });
}

PyObject* kzWrapperTest(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
    return PyBool_FromLong(kzWrapper(self)->held != nullptr ? 1 : 0);
}

PyObject* kzWrapperEq(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    return kzPythonEntry([=] {
        CKzLoc_Unknown other;
        return PyBool_FromLong(convertArgument(self, "__eq__", args, other).raw() == kzWrapper(self)->held ? 1 : 0);
    });
}

PyObject* kzWrapperHash(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
    // Objects are aligned: the low four bits of their addresses say nothing.
    return PyLong_FromUnsignedLongLong(std::rotr(std::bit_cast<std::uint64_t>(kzWrapper(self)->held), 4));
}

PyObject* kzWrapperPeek(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
    return PyLong_FromVoidPtr(kzWrapper(self)->held);
}
