// The quick way to call a method, and the general one.
#include "serve/method_call.h"

#include "module/py_ref.h"

#include <frameobject.h>

namespace {

// The function that calling the method comes down to, when the object's class finds its attributes in the usual way, has
// a plain function under that name, and the object itself has nothing under it. Null otherwise. A new reference: looking
// into the object's dictionary may run code, and so may the call, and the class may lose the method meanwhile.
CPyRefNull plainMethod(PyObject* object, PyObject* name) noexcept {
    PyTypeObject* type = Py_TYPE(object);
    PyObject* found = type->tp_getattro == PyObject_GenericGetAttr ? _PyType_Lookup(type, name) : nullptr;
    if (found == nullptr || !PyFunction_Check(found)) return CPyRefNull();
    Py_INCREF(found);
    CPyRefNull function(found);
    PyObject** own = _PyObject_GetDictPtr(object);
    if (own != nullptr && *own != nullptr && PyDict_GetItem(*own, name) != nullptr) return CPyRefNull();
    return function;
}

// Whether a call needs nothing but its positional arguments in the frame: no defaults, no cells, no *args, no generator.
bool isSimple(PyObject* function, const PyCodeObject* code, int count) noexcept {
    return code->co_flags == (CO_OPTIMIZED | CO_NEWLOCALS | CO_NOFREE) && code->co_argcount == count &&
           PyFunction_GET_DEFAULTS(function) == nullptr;
}

PyObject* callSimple(PyObject* function, PyCodeObject* code, PyObject** items, int count) noexcept {
    PyThreadState* thread = PyThreadState_GET();
    PyFrameObject* frame = PyFrame_New(thread, code, PyFunction_GET_GLOBALS(function), nullptr);
    if (frame == nullptr) return nullptr;
    for (int index = 0; index < count; ++index) {
        Py_INCREF(items[index]);
        frame->f_localsplus[index] = items[index];
    }
    PyObject* result = PyEval_EvalFrameEx(frame, 0);
    // Frames are freed one inside another; the depth keeps a long chain of them from overflowing the stack.
    ++thread->recursion_depth;
    Py_DECREF(frame);
    --thread->recursion_depth;
    return result;
}

PyObject* callFunction(PyObject* function, PyObject** items, int count) noexcept {
    auto* code = reinterpret_cast<PyCodeObject*>(PyFunction_GET_CODE(function));
    if (isSimple(function, code, count)) return callSimple(function, code, items, count);
    PyObject* defaults = PyFunction_GET_DEFAULTS(function);
    const int defaultCount = defaults != nullptr ? static_cast<int>(PyTuple_GET_SIZE(defaults)) : 0;
    return PyEval_EvalCodeEx(code, PyFunction_GET_GLOBALS(function), nullptr, items, count, nullptr, 0,
                             defaultCount > 0 ? &PyTuple_GET_ITEM(defaults, 0) : nullptr, defaultCount,
                             PyFunction_GET_CLOSURE(function));
}

PyObject* callAttribute(PyObject** items, int count, PyObject* name) noexcept {
    const CPyRefNull method(PyObject_GetAttr(items[0], name));
    if (method.get() == nullptr) return nullptr;
    const CPyRefNull arguments(PyTuple_New(count - 1));
    if (arguments.get() == nullptr) return nullptr;
    for (int index = 1; index < count; ++index) {
        Py_INCREF(items[index]);
        PyTuple_SET_ITEM(arguments.get(), index - 1, items[index]);
    }
    return PyObject_Call(method, arguments, nullptr);
}

}  // namespace

PyObject* kzCallByName(PyObject** items, int count, PyObject* name) noexcept {
    const CPyRefNull function = plainMethod(items[0], name);
    return function.get() != nullptr ? callFunction(function, items, count) : callAttribute(items, count, name);
}
