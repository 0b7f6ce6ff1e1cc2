// Python exceptions as texts and log entries.
#pragma once

#include "module/py_ref.h"

#include <optional>
#include <string>

// A fetched and normalised exception. Type, value and traceback may each be null.
struct KzException {
    CPyRefNull type;
    CPyRefNull value;
    CPyRefNull traceback;

    // Takes the pending exception, which is then no longer pending.
    static KzException fetch();
    // As fetch; when none is pending, the one that the calling Python code is handling, which it goes on handling.
    static KzException fetchOrHandled();
};

// The string form of an object. Throws FAILED when it has none, and leaves the Python error that says why.
std::string kzStringOf(PyObject* object);
// The same where nobody is to hear why: nothing when there is none, and no Python error either.
std::optional<std::string> kzReadableText(PyObject* object);

// The name of an exception's class as headings show it; empty when it has none.
std::string kzExceptionName(PyObject* type, PyObject* value);

// "FILE: line LINE" for each frame, innermost first, joined by the separator.
std::string kzTracebackText(PyObject* traceback, const char* separator);

// Writes the heading and one " .. FILE: LINE" entry for each frame, innermost first. When the exception's value has no
// text, the heading goes without it, and FAILED is thrown in the end.
void kzReportException(const KzException& exception);

// Writes and clears the pending exception, under an optional heading. Throws as kzReportException.
void kzPrintException(const char* heading = nullptr);
// The same where nothing depends on the exception's text.
void kzTellException(const char* heading = nullptr) noexcept;
