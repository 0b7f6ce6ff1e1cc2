// Objects that stand for those of the host while a recording is played: they have an identity and nothing else.
#pragma once

#include "module/python.h"

// A new wrapper of the type, which may be a Python class derived from one, around a new ghost of that number. The class's
// constructor does not run. Null with an exception set on failure.
PyObject* kzMakeGhost(PyTypeObject* type, long number) noexcept;
// Makes a wrapper, which its constructor has just made, refer to a new ghost.
bool kzFillWithGhost(PyObject* wrapper, long number) noexcept;
// The number of the ghost that the wrapper refers to; 0 if it does not refer to one.
long kzNumberOfGhost(PyObject* wrapper) noexcept;
