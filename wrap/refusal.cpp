// Reasons for refused arguments. The names come from the documentation of the method, which spells out its signature.
#include "wrap/refusal.h"

#include "module/error_report.h"
#include "module/explain.h"
#include "module/pending_exception.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"
#include "wrap/wrapper.h"

#include "kz/base/boundary.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

// Fixed room: a note is made where memory may be short.
char theExpected[120];
char theFound[160];

// "a tuple of length 2". Looks only at what no code of the object's own has to be asked for.
void describe(PyObject* object, char* text, std::size_t size) noexcept {
    const char* type = Py_TYPE(object)->tp_name;
    if (object == Py_None) std::snprintf(text, size, "None");
    else if (PyTuple_Check(object) || PyList_Check(object) || PyString_Check(object))
        std::snprintf(text, size, "a %s of length %zd", type, Py_SIZE(object));
    else if (kzIsStorage(object))
        std::snprintf(text, size, "a %s of %zu bytes", type, kzStorageBuffer(object).readableBytes());
    else
        std::snprintf(text, size, "%s %s",
                      kzIsWrapper(object) && kzWrapper(object)->held == nullptr ? "an empty" : "a value of type", type);
}

struct Signature {
    std::string called;                   // "kz.object.Mesh.AddPoint"
    std::vector<std::string> parameters;  // "vector pos"
};

// The documentation reads "OUTPUTS = NAME(KIND NAME,KIND NAME)".
std::vector<std::string> parametersOf(std::string_view documentation) {
    std::vector<std::string> parameters;
    if (const std::size_t equals = documentation.find(" = "); equals != std::string_view::npos)
        documentation.remove_prefix(equals + 3);
    const std::size_t open = documentation.find('(');
    std::string_view rest = documentation.substr(open + 1, documentation.size() - open - 2);
    while (!rest.empty()) {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        parameters.emplace_back(rest.substr(0, comma));
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
    return parameters;
}

// The method table is in the order of the interface, which begins with the methods of every object.
Signature signatureOf(PyObject* self, std::intptr_t slot) {
    constexpr std::intptr_t inherited = 3;
    constexpr std::intptr_t generic = 5;
    const KzWrapperType& row = kzRowOf(Py_TYPE(self));
    const std::intptr_t index = slot / static_cast<std::intptr_t>(sizeof(void*)) - inherited;
    const bool isObject = row.methods->ml_meth == kzWrapperSet;
    const PyMethodDef& method = row.methods[index + (isObject ? generic : 0)];
    return {std::string(row.type.tp_name) + "." + method.ml_name, parametersOf(method.ml_doc)};
}

// "ValueError: it says", of the pending exception, which stays pending.
std::string pendingText() {
    if (PyErr_Occurred() == nullptr) return {};
    KzException exception = KzException::fetch();
    std::string text = kzExceptionName(exception.type, exception.value);
    if (exception.value.get() != nullptr)
        if (const auto value = kzReadableText(exception.value); value && !value->empty()) text += ": " + *value;
    PyErr_Restore(exception.type.release(), exception.value.release(), exception.traceback.release());
    return text;
}

const char* expectedBy(char letter) noexcept {
    switch (letter) {
    case 'z': return "a text without zero bytes, or None";
    case 'd':
    case 'f': return "a number";
    default: return "an integer";
    }
}

bool isRefused(PyObject* args, std::string format, std::size_t index) {
    std::array<std::int64_t, 16> room{};
    const char letter = format[index];
    std::fill(format.begin(), format.end(), 'O');
    format[index] = letter;
    std::array<void*, 16> to{};
    for (std::size_t at = 0; at < room.size(); ++at) to[at] = &room[at];
    const bool parsed = PyArg_ParseTuple(args, format.c_str(), to[0], to[1], to[2], to[3], to[4], to[5], to[6], to[7],
                                         to[8], to[9], to[10], to[11], to[12], to[13], to[14], to[15]) != 0;
    PyErr_Clear();
    return !parsed;
}

// Which argument the parser refused. It does not say, so each is tried again; those with code of their own are not, and
// are to blame when no other is.
std::size_t refusedIndex(PyObject* args, const std::string& format) {
    std::size_t blamed = format.size();
    for (std::size_t index = 0; index < format.size(); ++index) {
        if (format[index] == 'O') continue;
        PyObject* item = PyTuple_GET_ITEM(args, static_cast<Py_ssize_t>(index));
        const bool hasCode = PyInstance_Check(item) || PyType_HasFeature(Py_TYPE(item), Py_TPFLAGS_HEAPTYPE);
        if (!hasCode && isRefused(args, format, index)) return index;
        if (hasCode && blamed == format.size()) blamed = index;
    }
    return blamed;
}

void explainArgument(const std::string& called, std::size_t index, const std::string& name) {
    kzExplain(called + ", argument " + std::to_string(index + 1) + " '" + name + "'", kzRefusedReason());
}

void explainParsed(PyObject* self, PyObject* args, std::intptr_t slot, const std::string& format) {
    const Signature signature = signatureOf(self, slot);
    const auto count = static_cast<std::size_t>(PyTuple_GET_SIZE(args));
    std::size_t index = format.size();
    if (count == format.size()) {
        const CPendingException pending;
        index = refusedIndex(args, format);
    }
    if (index < format.size()) {
        kzNoteRefused(PyTuple_GET_ITEM(args, static_cast<Py_ssize_t>(index)), "%s", expectedBy(format[index]));
        explainArgument(signature.called, index, signature.parameters.at(index));
        return;
    }
    std::string expected;
    for (const std::string& parameter : signature.parameters) expected += (expected.empty() ? "" : ", ") + parameter;
    kzExplain(signature.called, "expected (" + expected + "), got " + std::to_string(count) + " arguments");
}

}  // namespace

void kzNoteRefused(PyObject* came, const char* expected, ...) noexcept {
    va_list values;
    va_start(values, expected);
    std::vsnprintf(theExpected, sizeof theExpected, expected, values);
    va_end(values);
    describe(came, theFound, sizeof theFound);
}

void kzNoteWithin(const char* part, Py_ssize_t index) noexcept {
    char found[sizeof theFound];
    std::snprintf(found, sizeof found, "%s %zd: %.120s", part, index + 1, theFound);
    std::memcpy(theFound, found, sizeof found);
}

std::string kzRefusedReason() {
    std::string reason = std::string("expected ") + theExpected + ", got " + theFound;
    if (const std::string why = pendingText(); !why.empty()) reason += " (" + why + ")";
    return reason;
}

PyObject* kzRefuseArgument(const std::string& called, std::size_t index, const std::string& name,
                           KzResult code) noexcept {
    kzValueBoundary([&] { explainArgument(called, index, name); });
    return kzRaise(code);
}

PyObject* kzRefuse(PyObject* self, std::intptr_t slot, KzResult code, std::size_t index) noexcept {
    kzValueBoundary([=] {
        const Signature signature = signatureOf(self, slot);
        explainArgument(signature.called, index, signature.parameters.at(index));
    });
    return kzRaise(code);
}

PyObject* kzRefuseParsed(PyObject* self, PyObject* args, std::intptr_t slot, const char* format) noexcept {
    kzValueBoundary([=] { explainParsed(self, args, slot, format); });
    return kzParseFailed();
}
