// Reasons for failed calls. None of this runs for a call that succeeds, so it may look up everything by name:
// signatures come from the docstrings of the package kzifc, which every server file imports.
#include "serve/reasons.h"

#include "module/error_report.h"
#include "module/explain.h"
#include "module/pending_exception.h"
#include "serve/adapters.h"
#include "wrap/refusal.h"
#include "wrap/result_codes.h"

#include "kz/result.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

std::string quoted(const std::string& text) { return "'" + text + "'"; }

const char* interfaceOf(const KzForwardedMethod& method) noexcept {
    const auto owns = [&method](const KzAdapterRow* row) {
        return std::ranges::any_of(row->methods, [&method](const auto& each) { return &each == &method; });
    };
    const auto adapter = std::ranges::find_if(kzAdapters, owns);
    return adapter != kzAdapters.end() ? (*adapter)->name : "?";
}

// "Command.cmd_ArgFlags of kzserv.servers.watch.Watch".
std::string placeOf(PyObject* self, const KzForwardedMethod& method) {
    return std::string(interfaceOf(method)) + "." + method.name + " of " +
           kzClassName(reinterpret_cast<PyObject*>(Py_TYPE(self)));
}

// Null, without an exception, if the object is null or has no such attribute.
CPyRefNull attribute(PyObject* object, const char* name) {
    CPyRefNull value(object != nullptr ? PyObject_GetAttrString(object, name) : nullptr);
    if (value.get() == nullptr) PyErr_Clear();
    return value;
}

std::string stringOf(const CPyRefNull& object) {
    return object.get() != nullptr && PyString_Check(object.get()) ? PyString_AS_STRING(object.get()) : std::string();
}

// The method of the base class in kzifc.
CPyRefNull baseMethod(const KzForwardedMethod& method) {
    PyObject* modules = PyImport_GetModuleDict();
    return attribute(attribute(PyDict_GetItemString(modules, "kzifc"), interfaceOf(method)), method.name);
}

std::string nameOfInput(const KzForwardedMethod& method, int index) {
    const CPyRefNull names = attribute(attribute(attribute(baseMethod(method), "im_func"), "func_code"), "co_varnames");
    if (names.get() == nullptr || !PyTuple_Check(names.get()) || index + 1 >= PyTuple_GET_SIZE(names.get())) return {};
    PyObject* name = PyTuple_GET_ITEM(names.get(), index + 1);
    return PyString_Check(name) ? " " + quoted(PyString_AS_STRING(name)) : std::string();
}

// The declared outputs, "integer type" and "string text" of "(integer type,string text) = stag_ByIndex(integer index)".
std::vector<std::string> declaredOutputs(const KzForwardedMethod& method) {
    const std::string text = stringOf(attribute(baseMethod(method), "__doc__"));
    const std::size_t end = text.find(" = ");
    if (end == std::string::npos) return {};
    std::vector<std::string> outputs(1);
    for (const char letter : text.substr(0, end)) {
        if (letter == ',') outputs.emplace_back();
        else if (letter != '(' && letter != ')') outputs.back() += letter;
    }
    return outputs;
}

// What each output letter of the signature stands for; empty for a K, whose class notes what it expects.
std::vector<std::string> expectedOutputs(const KzForwardedMethod& method) {
    std::vector<std::string> expected;
    for (const char* letter = std::strchr(method.signature, ':') + 1; *letter != '\0'; ++letter) {
        switch (*letter) {
        case 'f':
        case 'd': expected.emplace_back("a number"); break;
        case 'z': expected.emplace_back("a string or None"); break;
        case 'T': expected.emplace_back("a string"); break;
        case 'O': expected.emplace_back("an object of the host or one that implements an interface"); break;
        case 'P': expected.emplace_back("an address or a storage"); break;
        case 'h': expected.emplace_back("a dictionary or pairs of integers and strings"); break;
        case 'K': expected.emplace_back(), ++letter; break;
        default: expected.emplace_back("an integer");
        }
    }
    return expected;
}

std::string reasonSuffix() {
    const std::string reason = kzPendingReason();
    return reason.empty() ? reason : " (" + reason + ")";
}

bool isWorthTelling(PyObject* type, PyObject* value) {
    const KzResult code = kzResultOfException(type, value);
    return kzFailed(code) && !kzIsSilent(code);
}

// With the innermost line of the traceback.
std::string textOf(const KzException& exception) {
    const std::string lines = kzTracebackText(exception.traceback, "\n");
    return lines.empty() ? exception.summary() : exception.summary() + " (" + lines.substr(0, lines.find('\n')) + ")";
}

}  // namespace

std::string kzPendingReason() {
    std::string text;
    if (PyErr_Occurred() != nullptr) kzWithPending([&](const KzException& exception) { text = textOf(exception); });
    return text;
}

std::string kzClassName(PyObject* pythonClass) {
    const std::string module = stringOf(attribute(pythonClass, "__module__"));
    const std::string name = stringOf(attribute(pythonClass, "__name__"));
    return (module.empty() ? module : module + ".") + (name.empty() ? "?" : name);
}

std::string kzMention(PyObject* object) {
    constexpr Py_ssize_t longest = 60;
    const std::string type = Py_TYPE(object)->tp_name;
    if (object == Py_None || PyBool_Check(object) || PyInt_CheckExact(object) || PyLong_CheckExact(object) ||
        PyFloat_CheckExact(object) || PyString_CheckExact(object) || PyUnicode_CheckExact(object)) {
        const CPyRefNull repr(PyObject_Repr(object));
        if (repr.get() != nullptr && PyString_GET_SIZE(repr.get()) <= longest) return PyString_AS_STRING(repr.get());
        PyErr_Clear();
    }
    if (PyTuple_Check(object)) return "a tuple of " + std::to_string(PyTuple_GET_SIZE(object)) + " items";
    if (PyType_Check(object)) return "the class " + kzClassName(object);
    return "an object of the type " + type;
}

void kzExplainRaised(PyObject* self, const KzForwardedMethod& method, bool isReported) noexcept {
    kzValueBoundary([=, &method] {
        bool isTold = false;
        std::string text;
        kzWithPending([&](const KzException& exception) {
            const bool hasPlace = exception.traceback != nullptr;
            isTold = !(isReported && hasPlace) && isWorthTelling(exception.type, exception.value);
            if (isTold) text = textOf(exception);
        });
        const CPendingException pending;
        if (isTold) kzExplain(placeOf(self, method), "it raised " + text);
    });
}

void kzExplainArgument(PyObject* self, const KzForwardedMethod& method, int index) noexcept {
    kzValueBoundary([=, &method] {
        const std::string reason = kzPendingReason();
        const CPendingException pending;
        kzExplain(placeOf(self, method) + ", argument " + std::to_string(index + 1) + nameOfInput(method, index),
                  "the host passed a value that has no Python form, such as null for an object: " + reason);
    });
}

void kzExplainOutput(PyObject* self, const KzForwardedMethod& method, PyObject* result, int index,
                     KzResult code) noexcept {
    // A buffer that is too short is no failure, because the host retries with a longer one.
    if (code == KZe_SHORTBUFFER || kzQuietFlag) return;
    kzValueBoundary([=, &method] {
        const std::string reason = reasonSuffix();
        const std::string notedReason = kzRefusedReason();
        const CPendingException pending;
        const std::vector<std::string> outputs = declaredOutputs(method);
        const std::vector<std::string> expected = expectedOutputs(method);
        const std::size_t place = static_cast<std::size_t>(std::max(index, 0));
        std::string where = placeOf(self, method) + ", result";
        std::string expectation = place < expected.size() ? expected[place] : "something else";
        PyObject* actual = result;
        if (index < 0) {
            expectation = "a tuple of " + std::to_string(expected.size()) + " items";
            for (std::size_t each = 0; each < outputs.size(); ++each)
                expectation += (each == 0 ? ": " : ", ") + outputs[each];
        } else {
            if (expected.size() > 1) {
                where += " " + std::to_string(index + 1);
                actual = PyTuple_GET_ITEM(result, index);
            }
            if (place < outputs.size()) where += " (" + outputs[place] + ")";
        }
        const bool isNoted = index >= 0 && expected[place].empty();
        kzExplain(where, isNoted ? notedReason : "expected " + expectation + ", got " + kzMention(actual) + reason);
    });
}

void kzExplainSilentInit(PyObject* pythonClass) noexcept {
    if (kzQuietFlag) return;
    kzValueBoundary([=] {
        std::string text;
        kzWithPending([&](const KzException& exception) {
            if (kzIsSilent(kzResultOfException(exception.type, exception.value))) text = textOf(exception);
        });
        const CPendingException pending;
        if (!text.empty()) kzExplain(kzClassName(pythonClass), "making an instance raised " + text);
    });
}
