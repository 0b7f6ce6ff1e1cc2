// The interpreter's headers, included one way everywhere.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

// A static PyMethodDef or module entry wants char*, though nobody writes to it.
inline char* kzText(const char* text) noexcept { return const_cast<char*>(text); }
