// Trace lines and errors of one call of a kz function.
#include "kzmod/call.h"

#include "module/output.h"
#include "wrap/result_codes.h"

void CCall::traceAs(const char* label, const char* message) noexcept {
    if (!kzTracing()) return;
    const CPendingException keep;  // the host's log may be listened to in Python
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
    const CPyRefNull dropped(result);
    if (!kzRaiseInterrupt()) PyErr_SetString(m_exception, m_text.c_str());
    return nullptr;
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
