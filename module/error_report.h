// Python exceptions as texts and log entries.
#pragma once

#include "module/py_ref.h"

#include <string>

// A fetched and normalised exception. Type, value and traceback may each be null.
struct KzException {
    CPyRefNull type;
    CPyRefNull value;
    CPyRefNull traceback;

    // Takes the pending exception, which is then no longer pending.
    static KzException fetch();
    // As fetch; when none is pending, takes the one that the calling Python code is handling in an except clause.
    static KzException fetchOrHandled();
};

// The string form of an object; throws FAILED when it has none, and the Python error is cleared.
std::string kzStringOf(PyObject* object);

// The name of an exception's class as headings show it; empty when it has none.
std::string kzExceptionName(PyObject* type, PyObject* value);

// "FILE: line LINE" for each frame, innermost first, joined by the separator.
std::string kzTracebackText(PyObject* traceback, const char* separator);

// Writes the heading and one " .. FILE: LINE" entry for each frame, innermost first.
void kzReportException(const KzException& exception);

// Writes and clears the pending exception, under an optional heading. Throws FAILED when its texts cannot be made.
void kzPrintException(const char* heading = nullptr);
