// Result codes and Python exceptions: both mappings, the texts of codes, and the functions of kz that show them.
// Everything here needs the interpreter lock.
#pragma once

#include "module/error_report.h"

#include "kz/base/boundary.h"
#include "kz/message.h"

#include <optional>
#include <string>

// The two name tables. A later name for the same code replaces the earlier one, and so does a later code for a name.
void kzAddResultName(const char* name, KzResult code);
std::optional<KzResult> kzResultByName(const std::string& name);
// The name, or "<unknown code>".
const char* kzResultName(KzResult code);
void kzForgetResultNames() noexcept;

// NOTIMPL, DISABLED and CMD_DISABLED: failures that are never reported when they cross back to the host.
bool kzIsSilent(KzResult code) noexcept;

// The code of the most recent host call that a wrapper method made.
[[gnu::visibility("hidden")]] extern KzResult kzLastResultCode;
inline void kzSetLastResult(KzResult code) noexcept { kzLastResultCode = code; }

// If set, the next conversion of a pending exception to a code is not reported.
[[gnu::visibility("hidden")]] extern bool kzQuietFlag;
inline void kzSetQuiet(bool quiet) noexcept { kzQuietFlag = quiet; }

// Makes a failure code the pending Python exception, unless one is pending already. Always null, so that a
// Python-callable function can return it.
[[gnu::visibility("hidden")]] PyObject* kzRaise(KzResult code) noexcept;

// A KeyboardInterrupt in a Python method that the host called passes through the host as a code, like any exception. If
// Python code had called the host, it must see the interrupt again, and not an error that it might handle. Makes the
// interrupt pending, once; false if the call that has just failed was not interrupted.
[[gnu::visibility("hidden")]] bool kzRaiseInterrupt() noexcept;

// The code for an exception.
KzResult kzResultOfException(PyObject* type, PyObject* value);
// Takes the pending exception, reports it unless it is silent or the quiet flag is set (and then clears the flag).
KzResult kzResultOfPending() noexcept;
// As kzResultOfException, and fills the message: table "pythonintr", key "exception". Throws FAILED, with the Python
// error pending, if the exception's value has no text.
KzResult kzReportToMessage(const KzException& exception, IKzMessage* message);

// A code written as text: a name after "KZe_", hexadecimal after "0x", else decimal; a message after a colon.
struct KzCodeText {
    KzResult code = 0;
    bool hasCode = false;
    std::string message;
};
// Throws FAILED, with the Python error pending, if the object has no text.
KzCodeText kzResultOfText(PyObject* object);

// Logs a caught code that cannot be passed on (in a destructor or during clean-up), unless it is a success or silent.
void kzLostException(KzResult code) noexcept;

// Runs the body of a Python-callable function: a thrown code becomes the pending exception (unless a failed Python call
// has set one already) and the result is null.
template <class Body> PyObject* kzPythonEntry(Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        return kzRaise(kzCodeOfException());
    }
}

// After a failed argument parse: RuntimeError "Error parsing argument list" unless the parser has set an exception.
// Null.
PyObject* kzParseFailed() noexcept;

// The functions throw, notimpl, excResult, outEx and lastResult of kz.
PyObject* kzThrowFunction(PyObject* self, PyObject* args);
PyObject* kzNotimplFunction(PyObject* self, PyObject* args);
PyObject* kzExcResultFunction(PyObject* self, PyObject* args);
PyObject* kzOutExFunction(PyObject* self, PyObject* args);
PyObject* kzLastResultFunction(PyObject* self, PyObject* args);
