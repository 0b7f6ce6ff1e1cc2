// The functions of the kz module that run commands and set options.
#pragma once

#include "module/python.h"

// eval, eval1 and evalN differ only in the shape of their result.
PyObject* kzEvalFunction(PyObject* self, PyObject* args);
PyObject* kzEval1Function(PyObject* self, PyObject* args);
PyObject* kzEvalNFunction(PyObject* self, PyObject* args);
PyObject* kzQueryToggleFunction(PyObject* self, PyObject* args);
PyObject* kzCommandFunction(PyObject* self, PyObject* args, PyObject* keywords);  // METH_VARARGS | METH_KEYWORDS
PyObject* kzTestFunction(PyObject* self, PyObject* args);
PyObject* kzArgFunction(PyObject* self, PyObject* args);
PyObject* kzArgsFunction(PyObject* self, PyObject* args);
PyObject* kzSetOptionFunction(PyObject* self, PyObject* args);
PyObject* kzOptionFunction(PyObject* self, PyObject* args);
PyObject* kzTraceFunction(PyObject* self, PyObject* args);
