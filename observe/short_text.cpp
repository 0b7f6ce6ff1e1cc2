// Python values in short.
#include "observe/short_text.h"

#include "module/pending_exception.h"
#include "module/py_ref.h"
#include "wrap/constant_names.h"
#include "wrap/result_codes.h"
#include "wrap/wrapper_object.h"

#include <frameobject.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr std::size_t longestText = 60;
constexpr Py_ssize_t mostItems = 6;
constexpr int deepest = 3;

template <class... Values> std::string format(const char* text, Values... values) {
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), text, values...);
    return buffer.data();
}

std::string quoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text.substr(0, longestText))
        if (c == '\n') result += "\\n";
        else if (static_cast<unsigned char>(c) < ' ') result += format("\\x%02x", c);
        else result += c;
    return result + (text.size() > longestText ? "...'" : "'");
}

std::string textOfUnicode(PyObject* value) {
    std::string text = "u'";
    const Py_UNICODE* characters = PyUnicode_AS_UNICODE(value);
    const Py_ssize_t size = PyUnicode_GET_SIZE(value);
    for (Py_ssize_t at = 0; at < size && at < static_cast<Py_ssize_t>(longestText); ++at)
        text += characters[at] >= ' ' && characters[at] < 0x7F
                    ? std::string(1, static_cast<char>(characters[at]))
                    : format("\\u%04x", static_cast<unsigned>(characters[at]));
    return text + (size > static_cast<Py_ssize_t>(longestText) ? "...'" : "'");
}

std::string textOf(PyObject* value, int depth);

std::string textOfItems(PyObject* sequence, const char* brackets, int depth) {
    const Py_ssize_t size = PySequence_Fast_GET_SIZE(sequence);
    std::string text(1, brackets[0]);
    for (Py_ssize_t at = 0; at < size && at < mostItems; ++at)
        text += (at != 0 ? ", " : "") + textOf(PySequence_Fast_GET_ITEM(sequence, at), depth + 1);
    return text + (size > mostItems ? ", ..." : "") + brackets[1];
}

std::string textOfDict(PyObject* dict, int depth) {
    std::string text = "{";
    PyObject* key = nullptr;
    PyObject* value = nullptr;
    Py_ssize_t count = 0;
    for (Py_ssize_t place = 0; PyDict_Next(dict, &place, &key, &value) != 0 && count < mostItems; ++count)
        text += (count != 0 ? ", " : "") + textOf(key, depth + 1) + ": " + textOf(value, depth + 1);
    return text + (PyDict_Size(dict) > mostItems ? ", ...}" : "}");
}

// Only of exact types: what a subclass does would be Python code.
std::string textOf(PyObject* value, int depth) {
    if (value == nullptr) return "null";
    if (value == Py_None) return "None";
    if (PyBool_Check(value)) return value == Py_True ? "True" : "False";
    if (PyInt_CheckExact(value)) return format("%ld", PyInt_AS_LONG(value));
    if (PyFloat_CheckExact(value)) return format("%.12g", PyFloat_AS_DOUBLE(value));
    if (PyString_CheckExact(value))
        return quoted({PyString_AS_STRING(value), static_cast<std::size_t>(PyString_GET_SIZE(value))});
    if (PyUnicode_CheckExact(value)) return textOfUnicode(value);
    if (PyLong_CheckExact(value)) {
        int overflow = 0;
        const long long number = PyLong_AsLongLongAndOverflow(value, &overflow);
        return overflow == 0 ? format("%lld", number) : "a long integer";
    }
    if (depth < deepest && PyTuple_CheckExact(value)) return textOfItems(value, "()", depth);
    if (depth < deepest && PyList_CheckExact(value)) return textOfItems(value, "[]", depth);
    if (depth < deepest && PyDict_CheckExact(value)) return textOfDict(value, depth);
    if (PyType_Check(value)) return reinterpret_cast<PyTypeObject*>(value)->tp_name;
    return std::string("<") + Py_TYPE(value)->tp_name + ">";
}

using Families = std::string_view (*)(const PyMethodDef& method, std::size_t index) noexcept;

// A number by the name of a constant, where the description says which these are.
std::string textOfNamed(PyObject* value, const PyMethodDef* method, Families families, Py_ssize_t index) {
    if (method != nullptr && (PyInt_CheckExact(value) || PyLong_CheckExact(value))) {
        int overflow = 0;
        const long long number = PyLong_AsLongLongAndOverflow(value, &overflow);
        std::string name;
        if (overflow == 0) name = kzConstantName(families(*method, static_cast<std::size_t>(index)), number);
        if (!name.empty()) return name;
    }
    return textOf(value, 0);
}

// Null for a call into Python: the host's calls go to instances, not to wrappers, and one that was released is gone.
const PyMethodDef* wrapperMethod(const KzCrossing& crossing) noexcept {
    return crossing.direction == KzCrossing::toHost ? kzWrapperMethod(crossing.self, crossing.method) : nullptr;
}

}  // namespace

std::string kzShortText(PyObject* value) { return textOf(value, 0); }

std::string kzShortArguments(const KzCrossing& crossing) {
    const PyMethodDef* method = wrapperMethod(crossing);
    std::string text = "(";
    for (Py_ssize_t at = 0; at < crossing.count; ++at)
        text += (at != 0 ? ", " : "") + textOfNamed(crossing.arguments[at], method, kzArgumentFamilies, at);
    return text + (crossing.keywords != nullptr ? ", **" + kzShortText(crossing.keywords) : "") + ")";
}

std::string kzShortResult(const KzCrossing& crossing, PyObject* result) {
    const PyMethodDef* method = wrapperMethod(crossing);
    if (!PyTuple_CheckExact(result)) return textOfNamed(result, method, kzResultFamilies, 0);
    std::string text = "(";
    for (Py_ssize_t at = 0; at < PyTuple_GET_SIZE(result); ++at)
        text += (at != 0 ? ", " : "") + textOfNamed(PyTuple_GET_ITEM(result, at), method, kzResultFamilies, at);
    return text + ")";
}

std::string kzShortException() {
    const PyThreadState* thread = PyThreadState_GET();
    if (thread->curexc_type == nullptr) return "";
    std::string text = PyType_Check(thread->curexc_type) ? reinterpret_cast<PyTypeObject*>(thread->curexc_type)->tp_name
                                                         : "an old-style exception";
    if (const std::size_t dot = text.rfind('.'); dot != std::string::npos) text.erase(0, dot + 1);
    PyObject* value = thread->curexc_value;
    if (value == nullptr) return text;
    if (PyExceptionInstance_Check(value) && !PyInstance_Check(value)) {
        PyObject* args = reinterpret_cast<PyBaseExceptionObject*>(value)->args;
        value = args != nullptr && PyTuple_GET_SIZE(args) == 1 ? PyTuple_GET_ITEM(args, 0) : args;
    }
    return text + ": " + kzShortText(value);
}

std::string kzShortCode() {
    const PyThreadState* thread = PyThreadState_GET();
    PyObject* type = thread->curexc_type;
    PyObject* value = thread->curexc_value;
    PyObject** fields = value != nullptr ? _PyObject_GetDictPtr(value) : nullptr;
    PyObject* code = fields != nullptr && *fields != nullptr ? PyDict_GetItemString(*fields, "code") : nullptr;
    if (code != nullptr && PyInt_CheckExact(code)) return kzResultName(static_cast<KzResult>(PyInt_AS_LONG(code)));
    if (code != nullptr && PyLong_CheckExact(code))
        return kzResultName(static_cast<KzResult>(PyLong_AsUnsignedLongMask(code)));
    // The text of a class of the script's own would be Python code.
    const bool isBuiltin = type != nullptr && PyType_Check(type) &&
                           (reinterpret_cast<PyTypeObject*>(type)->tp_flags & Py_TPFLAGS_HEAPTYPE) == 0;
    const CPendingException pending;
    return isBuiltin ? kzResultName(kzResultOfException(type, value)) : "";
}

std::string kzNameOf(const KzCrossing& crossing) {
    if (std::string_view(crossing.method) == "script") return std::string("script ") + crossing.owner;
    return std::string(crossing.owner) + "." + crossing.method;
}

std::string kzLineOfMethod(PyObject* self, const char* method) {
    const CPyRefNull name(PyString_FromString(method));
    PyObject* function = name.get() != nullptr ? _PyType_Lookup(Py_TYPE(self), name) : nullptr;
    if (function == nullptr || !PyFunction_Check(function)) return "";
    const auto* code = reinterpret_cast<PyCodeObject*>(PyFunction_GET_CODE(function));
    return std::string(PyString_AS_STRING(code->co_filename)) + ":" + std::to_string(code->co_firstlineno);
}

std::string kzCurrentLine() {
    PyFrameObject* frame = PyThreadState_GET()->frame;
    if (frame == nullptr) return "";
    return std::string(PyString_AS_STRING(frame->f_code->co_filename)) + ":" +
           std::to_string(PyFrame_GetLineNumber(frame));
}

std::string kzJsonString(const std::string& text) {
    std::string_view valid = text;
    CPyRefNull encoded(nullptr);
    if (std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
        // The interpreter's decoder knows what UTF-8 is; the encoder then writes valid UTF-8.
        const CPyRefNull decoded(PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
        if (decoded.get() != nullptr) encoded.adopt(PyUnicode_AsUTF8String(decoded));
        valid = encoded.get() != nullptr ? PyString_AS_STRING(encoded.get()) : "";
    }
    std::string result = "\"";
    for (const char c : valid)
        if (c == '"' || c == '\\') (result += '\\') += c;
        else if (static_cast<unsigned char>(c) < ' ') result += format("\\u%04x", c);
        else result += c;
    return result + "\"";
}
