// Calling a method of a Python object by its name.
#pragma once

#include "module/py_ref.h"

// `items` has the object followed by the arguments, `count` items in all; `name` is an interned string. The result is that
// of an attribute look-up and a call, whatever the attribute is, but calling a plain method of the object's class makes
// neither a bound method nor a tuple.
PyObject* kzCallByName(PyObject** items, int count, PyObject* name) noexcept;

// The same in two steps: the plain method of the object's class, null if only the general way leads to a method, and the
// call of what was found.
CPyRefNull kzPlainMethod(PyObject* object, PyObject* name) noexcept;
PyObject* kzCallMethod(PyObject* plainMethod, PyObject** items, int count, PyObject* name) noexcept;
// Whether a plain method is one of a base class of kzifc, which only raises that it is not implemented, so that calling it
// would be in vain.
bool kzIsUnimplemented(PyObject* plainMethod) noexcept;
