// Why a wrapper refused an argument before the host was called. The exceptions are fixed and say little; the rest goes
// to the event log. Everything here needs the interpreter lock.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <string>

// Notes what an argument should have been and what it is, for the next explanation. A note may remain unused.
[[gnu::cold, gnu::format(printf, 2, 3)]] void kzNoteRefused(PyObject* actual, const char* expected, ...) noexcept;
// Adds to the note where in the argument the fault is: "item 3", counted from 1.
[[gnu::cold]] void kzNoteWithin(const char* part, Py_ssize_t index) noexcept;

// "expected X, got Y", as noted, and the text of the pending exception, which stays pending.
std::string kzRefusedReason();

// Writes the noted reason to the event log, under the name of the function and that of the argument at that index.
void kzExplainRefused(const std::string& function, std::size_t index, const std::string& name);
// As above, and raises the code. Null.
PyObject* kzRefuseArgument(const std::string& function, std::size_t index, const std::string& name,
                           KzResult code) noexcept;
