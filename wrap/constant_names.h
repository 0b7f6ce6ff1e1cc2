// Constants by name, for people who read the log or a trace.
#pragma once

#include "module/python.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The families of constants that one argument, or one result, of a wrapper's own method takes: "fFIND|fFILTER"; empty if the
// description names none. The method is one of the generated tables.
std::string_view kzArgumentFamilies(const PyMethodDef& method, std::size_t index) noexcept;
std::string_view kzResultFamilies(const PyMethodDef& method, std::size_t index) noexcept;

// The method of that name that a wrapper's interface has; null for the generic ones and for everything that is no wrapper.
const PyMethodDef* kzWrapperMethod(PyObject* self, const char* name) noexcept;

// "fFIND_CASE|fFIND_WORD", "iENVSIDE_IN"; bits that no constant stands for follow in hexadecimal. Empty if no constant of
// these families has the value. Needs the interpreter lock.
std::string kzConstantName(std::string_view families, std::int64_t value);
