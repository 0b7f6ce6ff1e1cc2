// What all functions of the kz module that call the host have in common: trace lines, and how they raise exceptions.
#pragma once

#include "kz/base/object_output.h"
#include "module/pending_exception.h"
#include "wrap/result_codes.h"

#include "kz/base/object.h"

#include <optional>
#include <string>

// One call of a kz function. An error is only noted at first, and becomes the pending exception at the very end, when the
// call has released all host objects: releasing one may run Python code, which must not see a pending exception.
class CCall {
public:
    // The label identifies the call in trace lines. It is not copied.
    explicit CCall(const char* label) noexcept : m_label(label) {}
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

    void setLabel(const char* label) noexcept { m_label = label; }
    void trace(const char* message) noexcept { traceAs(m_label, message); }
    void traceAs(const char* label, const char* message) noexcept;

    // Notes the exception to be raised. Always returns null, so that the caller can return it.
    PyObject* raise(std::string text, PyObject* type = PyExc_RuntimeError);
    // As raise, with a trace line of the same text.
    PyObject* fail(std::string text, PyObject* type = PyExc_RuntimeError) {
        return failAs(m_label, std::move(text), type);
    }
    PyObject* failAs(const char* label, std::string text, PyObject* type = PyExc_RuntimeError);

    // Notes why the host has failed, for the last result and for the exception's attributes `code` and `reason`: the texts
    // of the exceptions themselves are fixed.
    void blame(KzResult code, std::string reason = {}) {
        m_code = code;
        m_reason = std::move(reason);
    }

    // Sets the pending exception of a failed Python call aside until the kz function has released everything. Always null.
    PyObject* keepPending() noexcept;

    // Raises the noted exception, if any, and returns null; otherwise returns the result. Consumes the result.
    PyObject* finish(PyObject* result) noexcept;

private:
    void raiseNoted() const noexcept;

    const char* m_label;
    PyObject* m_exception = nullptr;  // borrowed: one of the interpreter's own classes
    std::string m_text;
    KzResult m_code = 0;
    std::string m_reason;
    std::optional<CPendingException> m_pending;
};

// Runs the body of a kz function, which gets the CCall. Thrown codes are raised as Python exceptions.
template <class Body> PyObject* kzCall(const char* label, Body&& body) noexcept {
    return kzPythonEntry([&] {
        CCall call(label);
        return call.finish(body(call));
    });
}

// As above for slots that return 0 or -1, such as constructors. The body returns whether it succeeded.
template <class Body> int kzInitCall(const char* label, Body&& body) noexcept {
    const CPyRefNull result(kzCall(label, [&](CCall& call) -> PyObject* {
        if (!body(call)) return nullptr;
        Py_RETURN_NONE;
    }));
    return result.get() != nullptr ? 0 : -1;
}

// The format with its one or two "%s" replaced.
std::string kzFormat(const char* format, const std::string& first, const std::string& second = {});
