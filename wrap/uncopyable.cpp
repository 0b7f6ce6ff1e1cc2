// Types whose objects cannot be copied.
#include "wrap/uncopyable.h"

namespace {

PyObject* reduce(PyObject* self, PyObject* /*args*/);

PyMethodDef methods[] = {{"__reduce__", reduce, METH_NOARGS, nullptr}, {nullptr, nullptr, 0, nullptr}};

PyObject* reduce(PyObject* self, PyObject* /*args*/) {
    PyTypeObject* type = Py_TYPE(self);
    while (type->tp_methods != methods) type = type->tp_base;  // the method was found there
    PyErr_Format(PyExc_TypeError, "%.200s objects cannot be copied or pickled; %s", Py_TYPE(self)->tp_name,
                 reinterpret_cast<KzUncopyable*>(type)->advice);
    return nullptr;
}

}  // namespace

KzUncopyable::KzUncopyable(const char* adviceText) noexcept : advice(adviceText) {
    Py_REFCNT(&type) = 1;
    type.tp_name = "kz.uncopyable";
    type.tp_basicsize = sizeof(PyObject);
    type.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE;
    type.tp_methods = methods;
}

bool kzRefuseKeywords(PyObject* self, PyObject* keywords) noexcept {
    if (keywords == nullptr || PyDict_Size(keywords) == 0) return true;
    PyErr_Format(PyExc_TypeError, "%.200s takes no keyword arguments", Py_TYPE(self)->tp_name);
    return false;
}
