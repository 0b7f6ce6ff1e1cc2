// Python exceptions as texts and log entries.
#include "module/error_report.h"

#include "module/checks.h"
#include "module/output.h"

#include "kz/base/boundary.h"

#include <frameobject.h>

#include <algorithm>
#include <vector>

KzException KzException::fetch() {
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    return {CPyRefNull(type), CPyRefNull(value), CPyRefNull(traceback)};
}

KzException KzException::fetchOrHandled() {
    const PyThreadState* thread = PyThreadState_GET();
    if (PyErr_Occurred() == nullptr && thread->exc_type != nullptr && thread->exc_type != Py_None) {
        Py_INCREF(thread->exc_type);
        Py_XINCREF(thread->exc_value);
        Py_XINCREF(thread->exc_traceback);
        PyErr_Restore(thread->exc_type, thread->exc_value, thread->exc_traceback);
    }
    return fetch();
}

std::string kzStringOf(PyObject* object) {
    CPyRefNull text(PyObject_Str(object));
    if (text.get() == nullptr && PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) != 0) {
        PyErr_Clear();
        // A unicode text outside ASCII has no str() form, but its meaning must not be lost on the way to the log.
        const CPyRefNull wide(PyObject_Unicode(object));
        if (wide.get() != nullptr) text.adopt(PyUnicode_AsUTF8String(wide));
    }
    kzNonNull(text.get());
    return {PyString_AS_STRING(text.get()), static_cast<std::size_t>(PyString_GET_SIZE(text.get()))};
}

std::optional<std::string> kzReadableText(PyObject* object) {
    try {
        return kzStringOf(object);
    } catch (KzResult) {
        PyErr_Clear();
        return std::nullopt;
    }
}

std::string kzExceptionName(PyObject* type, PyObject* value) {
    if (type != nullptr && PyType_Check(type)) {
        CPyRefNull name(PyObject_GetAttrString(type, "__name__"));
        if (name.get() != nullptr && PyString_Check(name.get())) return PyString_AS_STRING(name.get());
        PyErr_Clear();
        return {};
    }
    return value != nullptr ? Py_TYPE(value)->tp_name : std::string();
}

namespace {

struct Frame {
    std::string file;
    int line;
};

// Innermost first; the traceback itself runs from the outermost frame inward.
std::vector<Frame> framesOf(PyObject* traceback) {
    std::vector<Frame> frames;
    for (auto* entry = reinterpret_cast<PyTracebackObject*>(traceback); entry != nullptr; entry = entry->tb_next) {
        PyObject* file = entry->tb_frame->f_code->co_filename;
        frames.push_back({PyString_Check(file) ? PyString_AS_STRING(file) : "?", entry->tb_lineno});
    }
    std::reverse(frames.begin(), frames.end());
    return frames;
}

// `isReadable` becomes false when the value has no text.
std::string headingOf(const KzException& exception, bool& isReadable) {
    PyObject* type = exception.type;
    PyObject* value = exception.value;
    if (type == nullptr) {
        std::string heading = "Unexpected or NULL exception";
        if (value != nullptr) heading += std::string(" (") + Py_TYPE(value)->tp_name + ")";
        return heading;
    }
    if (PyErr_GivenExceptionMatches(type, PyExc_SystemExit)) return "sys.exit() exception";
    std::string heading = "Unhandled exception";
    if (const std::string name = kzExceptionName(type, value); !name.empty()) heading += " \"" + name + "\"";
    if (value == nullptr || value == Py_None) return heading;
    const std::optional<std::string> text = kzReadableText(value);
    isReadable = text.has_value();
    return text && !text->empty() ? heading + "; " + *text : heading;
}

bool isExit(const KzException& exception) {
    return exception.type != nullptr && PyErr_GivenExceptionMatches(exception.type, PyExc_SystemExit);
}

}  // namespace

std::string kzTracebackText(PyObject* traceback, const char* separator) {
    std::string text;
    for (const Frame& frame : framesOf(traceback)) {
        if (!text.empty()) text += separator;
        text += frame.file;
        if (!text.empty()) text += ": line " + std::to_string(frame.line);
    }
    return text;
}

void kzReportException(const KzException& exception) {
    bool isReadable = true;
    const std::string heading = kzVisible(headingOf(exception, isReadable));
    // The exit code of a script says the rest; leaving is no failure of the module.
    kzWriteFrom(kzFromReport, heading.c_str(), isExit(exception) ? 1U : kzFailedCode);
    for (const Frame& frame : framesOf(exception.traceback))
        kzWriteFrom(kzFromReport, (" .. " + frame.file + ": " + std::to_string(frame.line)).c_str(), 1);
    kzTrue(isReadable);
}

void kzTellException(const char* heading) noexcept {
    kzValueBoundary([heading] { kzPrintException(heading); });
}

void kzPrintException(const char* heading) {
    const KzException exception = KzException::fetch();
    if (heading != nullptr) kzWrite(heading, 2);
    kzReportException(exception);
}
