// A method call has a general way, an attribute look-up and a call of what it finds, and a fast path for the common case:
// a plain Python function in the object's class. The fast path needs no bound method and no argument tuple. If the
// function takes just as many positional arguments, it also fills the frame itself, as the interpreter's own call opcode
// does, so that the frame cached in the code object is reused. Any condition that does not hold leads to the general way,
// whose result is the same.
#include "serve/method_call.h"

#include "module/py_ref.h"

#include <frameobject.h>

namespace {

// The function to call, if the object's class looks attributes up in the default way and has a plain function of that
// name, and the object's own dictionary has nothing of that name. Null otherwise. An owned reference, because the look-up
// in the dictionary and the call may run code that removes the method from the class.
CPyRefNull plainMethod(PyObject* object, PyObject* name) noexcept {
    PyTypeObject* type = Py_TYPE(object);
    PyObject* attribute = type->tp_getattro == PyObject_GenericGetAttr ? _PyType_Lookup(type, name) : nullptr;
    if (attribute == nullptr || !PyFunction_Check(attribute)) return CPyRefNull();
    Py_INCREF(attribute);
    CPyRefNull function(attribute);
    PyObject** own = _PyObject_GetDictPtr(object);
    if (own != nullptr && *own != nullptr && PyDict_GetItem(*own, name) != nullptr) return CPyRefNull();
    return function;
}

// Whether the frame needs nothing but the positional arguments: no defaults, no cells, no *args, no generator.
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
    // Freeing a frame may free others recursively; counting the depth keeps a long chain from overflowing the stack.
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

CPyRefNull kzPlainMethod(PyObject* object, PyObject* name) noexcept { return plainMethod(object, name); }

PyObject* kzCallMethod(PyObject* plainMethod, PyObject** items, int count, PyObject* name) noexcept {
    return plainMethod != nullptr ? callFunction(plainMethod, items, count) : callAttribute(items, count, name);
}

PyObject* kzCallByName(PyObject** items, int count, PyObject* name) noexcept {
    const CPyRefNull function = plainMethod(items[0], name);
    return kzCallMethod(function, items, count, name);
}

bool kzIsUnimplemented(PyObject* plainMethod) noexcept {
    static PyObject* const package = PyString_InternFromString("kzifc");  // as each of its modules is called
    return plainMethod != nullptr && package != nullptr &&
           reinterpret_cast<PyFunctionObject*>(plainMethod)->func_module == package;
}
