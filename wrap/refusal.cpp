// Reasons for refused arguments.
#include "wrap/refusal.h"

#include "module/error_report.h"
#include "module/explain.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"
#include "wrap/wrapper_object.h"

#include "kz/base/boundary.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// Fixed buffers, because notes are also made when memory is short.
char theExpected[120];
char theActual[160];

// "a tuple of length 2". Runs no code of the object.
void describe(PyObject* object, char* text, std::size_t size) noexcept {
    const char* type = Py_TYPE(object)->tp_name;
    if (object == Py_None) std::snprintf(text, size, "None");
    else if (PyTuple_Check(object) || PyList_Check(object) || PyString_Check(object))
        std::snprintf(text, size, "a %s of length %zd", type, Py_SIZE(object));
    else if (kzIsStorage(object))
        std::snprintf(text, size, "a %s of %zu bytes", type, kzStorageBuffer(object).readableBytes());
    else
        std::snprintf(text, size, "%s %s",
                      kzIsWrapper(object) && kzWrapper(object)->target == nullptr ? "an empty" : "a value of type",
                      type);
}

}  // namespace

void kzNoteRefused(PyObject* actual, const char* expected, ...) noexcept {
    va_list values;
    va_start(values, expected);
    std::vsnprintf(theExpected, sizeof theExpected, expected, values);
    va_end(values);
    describe(actual, theActual, sizeof theActual);
}

void kzNoteWithin(const char* part, Py_ssize_t index) noexcept {
    char text[sizeof theActual];
    std::snprintf(text, sizeof text, "%s %zd: %.120s", part, index + 1, theActual);
    std::memcpy(theActual, text, sizeof text);
}

std::string kzRefusedReason() {
    std::string reason = std::string("expected ") + theExpected + ", got " + theActual;
    if (PyErr_Occurred() != nullptr)
        kzWithPending([&](const KzException& exception) { reason += " (" + exception.summary() + ")"; });
    return reason;
}

void kzExplainRefused(const std::string& function, std::size_t index, const std::string& name) {
    kzExplain(function + ", argument " + std::to_string(index + 1) + " '" + name + "'", kzRefusedReason());
}

PyObject* kzRefuseArgument(const std::string& function, std::size_t index, const std::string& name,
                           KzResult code) noexcept {
    kzValueBoundary([&] { kzExplainRefused(function, index, name); });
    return kzRaise(code);
}
