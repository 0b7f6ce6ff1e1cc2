// The interpreter's headers, included the same way everywhere.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

// Several functions of the interpreter take char* without ever writing to the text.
inline char* kzText(const char* text) noexcept { return const_cast<char*>(text); }
