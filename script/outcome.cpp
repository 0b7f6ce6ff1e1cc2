// Reports how scripts and console lines end.
#include "script/outcome.h"

#include "module/output.h"

#include <cstdlib>

namespace {

// Whether the text up to a colon is a number or the name of a code.
bool isCode(std::string text) {
    text.resize(std::min(text.find(':'), text.size()));
    if (text.starts_with("KZe_")) return kzResultByName(text.substr(4)).has_value();
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    char* end = nullptr;
    std::strtol(text.c_str(), &end, isHexadecimal ? 16 : 10);
    return end != text.c_str() && *end == '\0';
}

}  // namespace

void CScriptOutcome::exit(const KzException& exception, KzResult code) const {
    if (!m_listener) return;
    std::string text;
    const CPyRefNull value(exception.value.get() != nullptr ? PyObject_GetAttrString(exception.value, "code")
                                                            : nullptr);
    if (value.get() == nullptr) PyErr_Clear();
    if (exception.value.get() != nullptr && value.get() != Py_None) text = kzReadableText(exception.value).value_or("");
    m_listener->Exit(code, text.empty() || isCode(text), kzVisible(text).c_str());
}

void CScriptOutcome::fail(const KzException& exception) const {
    if (!m_listener) return;
    PyObject* type = exception.type;
    if (type != nullptr && PyErr_GivenExceptionMatches(type, PyExc_KeyboardInterrupt) != 0) m_listener->Interrupted();
    else m_listener->Reported();
}
