// Why a wrapper refused an argument before the host was called. The exceptions are fixed and say little; the rest goes
// to the event log. Everything here needs the interpreter lock.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <string>

// Notes what an argument had to be and what actual, for whoever explains the failure next. Nobody need do so.
[[gnu::cold, gnu::format(printf, 2, 3)]] void kzNoteRefused(PyObject* actual, const char* expected, ...) noexcept;
// Puts the note where it belongs within the argument: "item 3", counted from 1.
[[gnu::cold]] void kzNoteWithin(const char* part, Py_ssize_t index) noexcept;

// "expected X, got Y", as noted, and the text of the pending exception, which stays pending.
std::string kzRefusedReason();

// Writes the noted reason to the event log, under what was called and the name of the argument at that index.
void kzExplainRefused(const std::string& called, std::size_t index, const std::string& name);
// Does the same, and raises the code. Null.
PyObject* kzRefuseArgument(const std::string& called, std::size_t index, const std::string& name,
                           KzResult code) noexcept;
