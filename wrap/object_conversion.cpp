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

// The pointer that the object's __peekobj__ returns, or null.
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

// Converts the only argument of a generic method to a host object with a new reference, or null.
CKzLoc_Unknown& convertArgument(PyObject* self, const char* method, PyObject* args, CKzLoc_Unknown& object) {
    PyObject* source = nullptr;
    if (PyArg_ParseTuple(args, "O", &source) == 0) {
        kzParseFailed();
        throw KZe_FAILED;
    }
    const KzResult code = kzObjectToInterface(source, true, object.out());
    if (kzFailed(code)) {
        kzRefuseArgument(std::string(kzRowOf(Py_TYPE(self)).type.tp_name) + "." + method, 0, "source", code);
        throw code;
    }
    return object;
}

}  // namespace

void kzSetServing(const KzServing& serving) noexcept { theServing = serving; }

PyObject* kzInstanceServedAs(IKzUnknown* object) noexcept {
    return object != nullptr && theServing.extract != nullptr ? theServing.extract(object) : nullptr;
}

IKzUnknown* kzPeek(PyObject* object) {
    if (object == Py_None || isZero(object)) return nullptr;
    if (kzIsWrapper(object)) return kzNonNull(kzWrapper(object)->target, KZe_NOINTERFACE);
    return peekByAttribute(object);
}

KzResult kzObjectToInterface(PyObject* object, bool noneAllowed, IKzUnknown** result) noexcept {
    if (kzIsWrapper(object)) {  // the fast path: most arguments are wrappers that are not empty
        *result = kzWrapper(object)->target;
        if (*result != nullptr) return (*result)->AddRef(), KZe_OK;
    }
    *result = nullptr;
    if (noneAllowed && (object == Py_None || isZero(object))) return KZe_OK;
    const KzResult code = kzBoundary([=] {
        IKzUnknown* target = kzPeek(object);
        if (target != nullptr) target->AddRef();
        else if (theServing.serve != nullptr && object != Py_None && !isZero(object)) target = theServing.serve(object);
        *result = target;
        if (target != nullptr) return KZe_OK;
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
        PyObject* instance = kzInstanceServedAs(object);
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
    return PyBool_FromLong(kzWrapper(self)->target != nullptr ? 1 : 0);
}

PyObject* kzWrapperEq(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    return kzPythonEntry([=] {
        CKzLoc_Unknown other;
        return PyBool_FromLong(convertArgument(self, "__eq__", args, other).raw() == kzWrapper(self)->target ? 1 : 0);
    });
}

PyObject* kzWrapperHash(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
    // Objects are aligned, so the low four bits of their addresses carry no information.
    return PyLong_FromUnsignedLongLong(std::rotr(std::bit_cast<std::uint64_t>(kzWrapper(self)->target), 4));
}

PyObject* kzWrapperPeek(PyObject* self, PyObject* args) {
    kzSetQuiet(false);
    if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
    return PyLong_FromVoidPtr(kzWrapper(self)->target);
}
