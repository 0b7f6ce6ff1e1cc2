// Trace lines and exceptions of one call of a kz function.
#include "kzmod/call.h"

#include "module/output.h"
#include "wrap/result_codes.h"

void CCall::traceAs(const char* label, const char* message) noexcept {
    if (!kzTracing()) return;
    const CPendingException keep;  // log listeners may be written in Python
    kzTrace(label, message, 1);
}

PyObject* CCall::raise(std::string text, PyObject* type) {
    m_text = std::move(text);
    m_exception = type;
    return nullptr;
}

PyObject* CCall::failAs(const char* label, std::string text, PyObject* type) {
    traceAs(label, text.c_str());
    return raise(std::move(text), type);
}

PyObject* CCall::keepPending() noexcept {
    if (!m_pending) m_pending.emplace();
    return nullptr;
}

PyObject* CCall::finish(PyObject* result) noexcept {
    if (m_exception == nullptr) return result;
    const CPyRefNull unused(result);
    if (!kzRaiseInterrupt()) raiseNoted();
    return nullptr;
}

void CCall::raiseNoted() const noexcept {
    if (kzSucceeded(m_code)) return PyErr_SetString(m_exception, m_text.c_str());
    kzSetLastResult(m_code);
    const CPyRefNull error(PyObject_CallFunction(m_exception, const_cast<char*>("s"), m_text.c_str()));
    if (error.get() == nullptr) return;
    const CPyRefNull code(PyLong_FromUnsignedLong(m_code));
    const CPyRefNull reason(PyString_FromStringAndSize(m_reason.data(), static_cast<Py_ssize_t>(m_reason.size())));
    if (code.get() != nullptr && reason.get() != nullptr &&
        PyObject_SetAttrString(error.get(), "code", code.get()) == 0 &&
        PyObject_SetAttrString(error.get(), "reason", reason.get()) == 0)
        PyErr_SetObject(m_exception, error.get());
}

std::string kzFormat(const char* format, const std::string& first, const std::string& second) {
    std::string text = format;
    std::size_t at = 0;
    for (const std::string* value : {&first, &second}) {
        at = text.find("%s", at);
        if (at == std::string::npos) break;
        text.replace(at, 2, *value);
        at += value->size();
    }
    return text;
}
