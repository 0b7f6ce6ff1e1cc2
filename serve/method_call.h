// A method of a Python object called by its name.
#pragma once

#include "module/python.h"

// `items` holds the object and then the arguments, `count` of them in all; `name` is an interned string. What happens
// is what an attribute look-up and a call would do, whatever the attribute is; a plain method of the object's class is
// called without making a bound method and a tuple on the way.
PyObject* kzCallByName(PyObject** items, int count, PyObject* name) noexcept;
