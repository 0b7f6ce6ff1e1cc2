// Statements of the console as the compiler sees them.
#include "script/statement.h"

#include <optional>
#include <string_view>

namespace Python_LineInterp {

namespace {

struct CompileError {
    bool isSyntax;
    std::string text;
};

// One failed compilation; nullopt when there is nothing wrong.
std::optional<CompileError> compileError(const std::string& text, int futures) {
    const CPyRefNull code(compileStatement(text, Py_file_input, futures));
    if (code.get() != nullptr) return std::nullopt;
    const KzException exception = KzException::fetch();
    const bool isSyntax =
        exception.type.get() != nullptr && PyErr_GivenExceptionMatches(exception.type, PyExc_SyntaxError) != 0;
    return CompileError{isSyntax, exception.value.get() != nullptr ? kzReadableText(exception.value).value_or("")
                                                                   : std::string()};
}

// The exception's attribute, or null. None has no text and no number, so it needs no check of its own.
CPyRefNull attributeOf(PyObject* exception, const char* name) {
    CPyRefNull attribute(PyObject_GetAttrString(exception, name));
    if (attribute.get() == nullptr) PyErr_Clear();
    return attribute;
}

// Blanks as wide as the text: a character may have several bytes, and a tab stays one.
std::string blanksFor(std::string_view text) {
    std::string blanks;
    for (const char c : text)
        if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U) blanks += c == '\t' ? '\t' : ' ';
    return blanks;
}

}  // namespace

// What is typed is UTF-8, as all of the host's texts are. A comment that comes first may name another encoding, which the
// compiler refuses where it has been told of one.
PyObject* compileStatement(const std::string& text, int start, int& futures) {
    PyCompilerFlags flags{futures | (text.starts_with('#') ? 0 : PyCF_SOURCE_IS_UTF8)};
    PyObject* code = Py_CompileStringFlags(text.c_str(), "<stdin>", start, &flags);
    if (code != nullptr) futures = flags.cf_flags & PyCF_MASK;
    return code;
}

Completeness checkCompleteness(std::string& text, int futures) {
    std::optional<CompileError> error = compileError(text, futures);
    if (!error) return Completeness::complete;
    if (!error->isSyntax) return Completeness::error;
    text += '\n';
    const std::optional<CompileError> second = compileError(text, futures);
    if (!second || !second->isSyntax) return Completeness::incomplete;
    text += "\n\n";
    const std::optional<CompileError> third = compileError(text, futures);
    if (!third) return Completeness::incomplete;
    return second->text == third->text ? Completeness::error : Completeness::incomplete;
}

std::string markedSource(const KzException& exception) {
    if (exception.value.get() == nullptr || PyErr_GivenExceptionMatches(exception.value, PyExc_SyntaxError) == 0)
        return {};
    const CPyRefNull text = attributeOf(exception.value, "text"), offset = attributeOf(exception.value, "offset");
    if (text.get() == nullptr || offset.get() == nullptr || !PyString_Check(text.get()) || !PyInt_Check(offset.get()))
        return {};
    // Several lines when a string is open. The offset counts bytes from 1, and may be behind the line.
    std::string_view line = PyString_AS_STRING(text.get());
    auto at = static_cast<std::size_t>(std::max(PyInt_AS_LONG(offset.get()), 1L)) - 1;
    for (std::size_t feed; (feed = line.find('\n')) < at; at -= feed + 1) line.remove_prefix(feed + 1);
    line = line.substr(0, line.find('\n'));
    const std::size_t indent = line.find_first_not_of(" \t");
    if (indent == std::string_view::npos) return {};
    at = std::min(std::max(at, indent), line.size() - 1);
    line.remove_prefix(indent);
    return "    " + std::string(line) + "\n    " + blanksFor(line.substr(0, at - indent)) + "^";
}

}  // namespace Python_LineInterp
