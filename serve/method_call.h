// Calling a method of a Python object by its name.
#pragma once

#include "module/python.h"

// `items` has the object followed by the arguments, `count` items in all; `name` is an interned string. The result is that
// of an attribute look-up and a call, whatever the attribute is, but calling a plain method of the object's class makes
// neither a bound method nor a tuple.
PyObject* kzCallByName(PyObject** items, int count, PyObject* name) noexcept;

// Whether the object's method of that name is the one of a base class of kzifc, which only raises that it is not
// implemented, so that calling it would be in vain.
bool kzIsUnimplemented(PyObject* object, PyObject* name) noexcept;
