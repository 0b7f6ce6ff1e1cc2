// Python exceptions as texts and log entries.
#pragma once

#include "module/py_ref.h"

#include "kz/base/boundary.h"
#include <optional>
#include <string>

// A fetched and normalised exception. Type, value and traceback may each be null.
struct KzException {
    CPyRefNull type;
    CPyRefNull value;
    CPyRefNull traceback;

    // Takes the pending exception, which is then no longer pending.
    static KzException fetch();
    // As fetch; if none is pending, a copy of the one that the calling Python code is handling.
    static KzException fetchOrHandled();
    // Makes it the pending exception again. This object is empty afterwards.
    void restore() noexcept;

    // Whether there is a value other than None.
    bool hasValue() const noexcept { return value.get() != nullptr && value.get() != Py_None; }
    // "Type: text", or the type alone if the value has no text or an empty one.
    std::string summary() const;
};

// Passes the pending exception to an action, normalised, and leaves it pending. What the action throws is dropped.
template <class Action> void kzWithPending(Action&& action) {
    KzException exception = KzException::fetch();
    kzValueBoundary([&] { action(exception); });
    exception.restore();
}

// The object's str(), or its UTF-8 form if it is a unicode text outside ASCII. Throws FAILED if there is neither, with
// the Python error that says why still pending.
std::string kzStringOf(PyObject* object);
// As above, but swallows the error: returns nothing if the object has no text.
std::optional<std::string> kzReadableText(PyObject* object);

// The name of an exception's class as headings show it; empty when it has none.
std::string kzExceptionName(PyObject* type, PyObject* value);

// "FILE: line LINE" for each frame, innermost first, joined by the separator.
std::string kzTracebackText(PyObject* traceback, const char* separator);

// Writes the heading and one " .. FILE: LINE" entry per frame, innermost first. If the exception's value has no text, the
// heading is written without it, and FAILED is thrown at the end.
void kzReportException(const KzException& exception);

// Writes and clears the pending exception, under an optional heading.
void kzTellException(const char* heading = nullptr) noexcept;
