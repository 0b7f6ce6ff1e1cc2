// Where the Python threads of the process stand, as text.
#pragma once

#include "module/python.h"

#include <string>

// One paragraph for each thread of the interpreter that runs Python code: its name, and a line for each frame, innermost
// first. It can be made without the interpreter lock, while code in C does not let go of it. Then the names are missing,
// and a thread that goes on running meanwhile may be shown wrongly, but nothing worse happens: all that is read may be gone.
std::string kzStackReport(PyInterpreterState* interpreter, bool holdsLock) noexcept;
