// kz.out.
#pragma once

#include "module/python.h"

// Writes its arguments' string forms, joined by one blank, with code 1.
PyObject* kzOutFunction(PyObject* self, PyObject* args);
