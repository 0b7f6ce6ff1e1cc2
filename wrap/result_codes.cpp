// Result codes and Python exceptions.
#include "wrap/result_codes.h"

#include "module/checks.h"
#include "module/output.h"

#include "kz/base/forever.h"
#include "kz/command.h"
#include "kz/result.h"

#include <frameobject.h>

#include <cstdlib>
#include <map>
#include <utility>

KzResult kzLastResultCode = 0;
bool kzQuietFlag = false;

namespace {

CKzForever<std::map<std::string, KzResult>> theCodes;
CKzForever<std::map<KzResult, std::string>> theNames;

constexpr std::string_view badResult = "bad result: ";

struct Translation {
    KzResult code;
    PyObject** exception;
    const char* text;
};

// Codes that have an exception of their own, and its text.
const Translation translations[] = {
    {KZe_NOTIMPL, &PyExc_NotImplementedError, "not implemented"},
    {KZe_OUTOFMEMORY, &PyExc_MemoryError, "out of memory"},
    {KZe_OUTOFBOUNDS, &PyExc_IndexError, "out of bounds"},
    {KZe_NOTFOUND, &PyExc_LookupError, "not found"},
    {KZe_NOINTERFACE, &PyExc_TypeError, "no interface"},
    {KZe_INVALIDARG, &PyExc_TypeError, "invalid argument"},
};

// The text of an exception's value; empty when there is none to be had.
std::string valueText(PyObject* value) {
    if (value == nullptr || value == Py_None) return {};
    const CPyRefNull text(PyObject_Str(value));
    if (text.get() == nullptr) {
        PyErr_Clear();
        return {};
    }
    return {PyString_AS_STRING(text.get()), static_cast<std::size_t>(PyString_GET_SIZE(text.get()))};
}

// For the host's ears: throws FAILED when there is no text, and leaves no Python error.
std::string textOrThrow(PyObject* value) {
    std::optional<std::string> text = kzReadableText(value);
    kzTrue(text.has_value());
    return *std::move(text);
}

KzResult codeOfTypeError(const std::string& text) {
    if (text == "no interface") return KZe_NOINTERFACE;
    if (text == "invalid argument") return KZe_INVALIDARG;
    return KZe_FAILED;
}

KzResult codeOfRuntimeError(const std::string& text) {
    if (text.compare(0, badResult.size(), badResult) != 0) return KZe_FAILED;
    return kzResultByName(text.substr(badResult.size())).value_or(KZe_FAILED);
}

KzResult codeOfCodeText(const std::string& text) {
    if (text.compare(0, 4, "KZe_") == 0) return kzResultByName(text.substr(4)).value_or(KZe_FAILED);
    if (text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0)
        return static_cast<KzResult>(std::strtoul(text.c_str() + 2, nullptr, 16));
    return static_cast<KzResult>(std::strtol(text.c_str(), nullptr, 10));
}

// The call of Python code during which a KeyboardInterrupt became a code: its frame and the instruction that it is at.
struct InterruptedCall {
    const PyFrameObject* frame = nullptr;
    int instruction = 0;

    static InterruptedCall current() {
        const PyFrameObject* frame = PyThreadState_GET()->frame;
        return {frame, frame != nullptr ? frame->f_lasti : 0};
    }
};
InterruptedCall theInterruptedCall;

}  // namespace

bool kzRaiseInterrupt() noexcept {
    if (theInterruptedCall.frame == nullptr) return false;
    const InterruptedCall interrupted = std::exchange(theInterruptedCall, {});
    const InterruptedCall call = InterruptedCall::current();
    if (call.frame != interrupted.frame || call.instruction != interrupted.instruction) return false;
    PyErr_SetNone(PyExc_KeyboardInterrupt);
    return true;
}

void kzAddResultName(const char* name, KzResult code) {
    (*theCodes)[name] = code;
    (*theNames)[code] = name;
}

std::optional<KzResult> kzResultByName(const std::string& name) {
    const auto entry = theCodes->find(name);
    if (entry == theCodes->end()) return std::nullopt;
    return entry->second;
}

const char* kzResultName(KzResult code) {
    const auto entry = theNames->find(code);
    return entry == theNames->end() ? "<unknown code>" : entry->second.c_str();
}

void kzForgetResultNames() noexcept {
    theCodes->clear();
    theNames->clear();
}

bool kzIsSilent(KzResult code) noexcept {
    return code == KZe_NOTIMPL || code == KZe_DISABLED || code == KZe_CMD_DISABLED;
}

PyObject* kzRaise(KzResult code) noexcept {
    if (kzSucceeded(code) || PyErr_Occurred() != nullptr || kzRaiseInterrupt()) return nullptr;
    for (const Translation& row : translations) {
        if (row.code != code) continue;
        PyErr_SetString(*row.exception, row.text);
        return nullptr;
    }
    PyErr_Format(PyExc_RuntimeError, "bad result: %s", kzResultName(code));
    return nullptr;
}

KzResult kzResultOfException(PyObject* type, PyObject* value) {
    const auto is = [type](PyObject* kind) { return type != nullptr && PyErr_GivenExceptionMatches(type, kind) != 0; };
    // IndexError is a LookupError, so it is asked first.
    if (is(PyExc_NotImplementedError)) return KZe_NOTIMPL;
    if (is(PyExc_MemoryError)) return KZe_OUTOFMEMORY;
    if (is(PyExc_IndexError)) return KZe_OUTOFBOUNDS;
    if (is(PyExc_LookupError)) return KZe_NOTFOUND;
    if (is(PyExc_TypeError)) return codeOfTypeError(valueText(value));
    if (is(PyExc_RuntimeError)) return codeOfRuntimeError(valueText(value));
    return KZe_FAILED;
}

KzResult kzResultOfPending() noexcept {
    return kzBoundary([] {
        const KzException exception = KzException::fetch();
        const KzResult code = kzResultOfException(exception.type, exception.value);
        const bool isInterrupt = exception.type.get() != nullptr &&
                                 PyErr_GivenExceptionMatches(exception.type, PyExc_KeyboardInterrupt) != 0;
        theInterruptedCall = isInterrupt ? InterruptedCall::current() : InterruptedCall();
        if (kzQuietFlag) kzQuietFlag = false;
        else if (kzFailed(code) && !kzIsSilent(code)) kzReportException(exception);
        return code;
    });
}

KzResult kzReportToMessage(const KzException& exception, IKzMessage* message) {
    const KzResult code = kzResultOfException(exception.type, exception.value);
    if (kzSucceeded(code) || kzIsSilent(code) || message == nullptr) return code;
    PyObject* value = exception.value;
    PyObject* type = exception.type;
    if ((type == nullptr || !PyType_Check(type)) && value != nullptr)
        type = reinterpret_cast<PyObject*>(Py_TYPE(value));
    std::string text = kzExceptionName(type, value);
    if (value != nullptr && value != Py_None) text += "; " + textOrThrow(value);
    const std::string lines = "        .." + kzTracebackText(exception.traceback, "\n        ..");
    message->SetCode(code);
    message->SetMessage("pythonintr", "exception", 0);
    message->SetArgumentString(1, text.c_str());
    message->SetArgumentString(2, lines.c_str());
    return code;
}

KzCodeText kzResultOfText(PyObject* object) {
    KzCodeText result;
    if (object == nullptr || object == Py_None) return result;
    const std::string text = textOrThrow(object);
    if (text.empty()) return result;
    const std::size_t colon = text.find(':');
    const std::string codeText = text.substr(0, colon);
    if (colon != std::string::npos) result.message = text.substr(colon + 1);
    result.hasCode = !codeText.empty();
    result.code = result.hasCode ? codeOfCodeText(codeText) : KZe_FAILED;
    return result;
}

void kzLostException(KzResult code) noexcept {
    if (kzFailed(code) && !kzIsSilent(code)) kzWrite("lost C++ exception", code);
}

PyObject* kzParseFailed() noexcept {
    if (PyErr_Occurred() == nullptr) PyErr_SetString(PyExc_RuntimeError, "Error parsing argument list");
    return nullptr;
}

PyObject* kzThrowFunction(PyObject* /*self*/, PyObject* args) {
    unsigned int code = 0;
    int quiet = -1;
    if (PyArg_ParseTuple(args, "I|i", &code, &quiet) == 0) return nullptr;
    if (quiet >= 1) kzQuietFlag = true;
    // A success code raises nothing, and the interpreter then complains about the missing exception: scripts that throw
    // a code without looking at it rely on being told.
    return kzRaise(code);
}

PyObject* kzNotimplFunction(PyObject* /*self*/, PyObject* /*args*/) { return kzRaise(KZe_NOTIMPL); }

PyObject* kzExcResultFunction(PyObject* /*self*/, PyObject* /*args*/) {
    return kzPythonEntry([] {
        const KzException exception = KzException::fetchOrHandled();
        return PyLong_FromUnsignedLong(kzResultOfException(exception.type, exception.value));
    });
}

PyObject* kzOutExFunction(PyObject* /*self*/, PyObject* args) {
    const char* heading = nullptr;
    if (PyArg_ParseTuple(args, "|s", &heading) == 0) return nullptr;
    return kzPythonEntry([&] {
        const KzException exception = KzException::fetchOrHandled();
        if (heading != nullptr) kzWrite(heading, 2);
        kzReportException(exception);
        Py_RETURN_NONE;
    });
}

PyObject* kzLastResultFunction(PyObject* /*self*/, PyObject* /*args*/) {
    return PyLong_FromUnsignedLong(kzLastResultCode);
}
