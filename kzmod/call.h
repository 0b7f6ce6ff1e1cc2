// What every function of the kz module that calls the host has in common: its trace lines, and how its errors are raised.
#pragma once

#include "module/host_output.h"
#include "module/pending_exception.h"
#include "wrap/result_codes.h"

#include "kz/base/object.h"

#include <optional>
#include <string>

// One call of a kz function. An error is only noted while the call works and becomes the pending exception at its very
// end, when everything that the call held of the host has been let go: none of that may run with an exception pending.
class CCall {
public:
    // The label heads the call's trace lines. It is not copied.
    explicit CCall(const char* label) noexcept : m_label(label) {}
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

    void setLabel(const char* label) noexcept { m_label = label; }
    void trace(const char* message) noexcept { traceAs(m_label, message); }
    void traceAs(const char* label, const char* message) noexcept;

    // Notes the exception to be raised. Always null, so that the call can return it.
    PyObject* raise(std::string text, PyObject* type = PyExc_RuntimeError);
    // As raise, with a trace line of the same text.
    PyObject* fail(std::string text, PyObject* type = PyExc_RuntimeError) {
        return failAs(m_label, std::move(text), type);
    }
    PyObject* failAs(const char* label, std::string text, PyObject* type = PyExc_RuntimeError);

    // Puts the pending exception aside until the call has let go of everything, for a failed Python call that leaves one.
    // Always null.
    PyObject* keepPending() noexcept;

    // The result, unless an exception was noted: that is raised then. Consumes the result.
    PyObject* finish(PyObject* result) noexcept;

private:
    const char* m_label;
    PyObject* m_exception = nullptr;  // borrowed: one of the interpreter's own classes
    std::string m_text;
    std::optional<CPendingException> m_pending;
};

// Runs the body of a kz function: it is given its CCall. Thrown codes are raised as result codes.
template <class Body> PyObject* kzCall(const char* label, Body&& body) noexcept {
    return kzPythonEntry([&] {
        CCall call(label);
        return call.finish(body(call));
    });
}

// The same for constructors, whose body says whether it succeeded.
template <class Body> int kzInitCall(const char* label, Body&& body) noexcept {
    const CPyRefNull done(kzCall(label, [&](CCall& call) -> PyObject* {
        if (!body(call)) return nullptr;
        Py_RETURN_NONE;
    }));
    return done.get() != nullptr ? 0 : -1;
}

// A format's only "%s", or both of them, filled in.
std::string kzFormat(const char* format, const std::string& first, const std::string& second = {});
