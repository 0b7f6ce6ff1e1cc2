// Why a wrapper method refused its arguments before the host was called.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <cstdint>

// Writes the noted reason to the event log, under the method in that slot of the wrapper's interface and the name of the
// parameter at that index, and raises the code. Null.
[[gnu::cold, gnu::visibility("hidden")]] PyObject* kzRefuse(PyObject* self, std::intptr_t slot, KzResult code,
                                                            std::size_t index) noexcept;
// After the interpreter's parser, which has set its exception, has refused the arguments. Null.
[[gnu::cold]] PyObject* kzRefuseParsed(PyObject* self, PyObject* args, std::intptr_t slot, const char* format) noexcept;
