// Explains why arguments of wrapper methods were refused. The names of the parameters come from the method's docstring,
// which contains its signature, and the families of constants from behind it.
#include "wrap/method_refusal.h"

#include "module/explain.h"
#include "module/pending_exception.h"
#include "wrap/constant_names.h"
#include "wrap/refusal.h"
#include "wrap/result_codes.h"
#include "wrap/wrapper.h"

#include "kz/base/boundary.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace {

struct Signature {
    std::string method;                   // "kz.object.Mesh.AddPoint"
    std::vector<std::string> parameters;  // "vector pos", "integer flags : fMESHMERGE"
};

// The docstring reads "OUTPUTS = NAME(KIND NAME,KIND NAME)".
std::vector<std::string> parametersOf(const PyMethodDef& method) {
    std::vector<std::string> parameters;
    std::string_view documentation = method.ml_doc;
    if (const std::size_t equals = documentation.find(" = "); equals != std::string_view::npos)
        documentation.remove_prefix(equals + 3);
    const std::size_t open = documentation.find('(');
    std::string_view rest = documentation.substr(open + 1, documentation.size() - open - 2);
    while (!rest.empty()) {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        const std::string_view families = kzArgumentFamilies(method, parameters.size());
        parameters.emplace_back(rest.substr(0, comma));
        if (!families.empty()) parameters.back().append(" : ").append(families);
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
    return parameters;
}

// The method table is in the order of the interface, whose table of operations starts with those of IKzUnknown.
Signature signatureOf(PyObject* self, std::intptr_t slot) {
    constexpr std::intptr_t inherited = 3;
    const KzWrapperType& row = kzRowOf(Py_TYPE(self));
    const std::intptr_t index = slot / static_cast<std::intptr_t>(sizeof(void*)) - inherited;
    const PyMethodDef& method = kzOwnMethods(row)[index];
    return {std::string(row.type.tp_name) + "." + method.ml_name, parametersOf(method)};
}

const char* expectedBy(char letter) noexcept {
    switch (letter) {
    case 'z': return "a string without NUL bytes, or None";
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
    const bool isParsed = PyArg_ParseTuple(args, format.c_str(), to[0], to[1], to[2], to[3], to[4], to[5], to[6], to[7],
                                           to[8], to[9], to[10], to[11], to[12], to[13], to[14], to[15]) != 0;
    PyErr_Clear();
    return !isParsed;
}

// The index of the argument that the parser refused. The parser does not tell, so each argument is parsed again, except
// those whose conversion may run Python code; the first of those is blamed if no other fails.
std::size_t refusedIndex(PyObject* args, const std::string& format) {
    std::size_t culprit = format.size();
    for (std::size_t index = 0; index < format.size(); ++index) {
        if (format[index] == 'O') continue;
        PyObject* item = PyTuple_GET_ITEM(args, static_cast<Py_ssize_t>(index));
        const bool hasCode = PyInstance_Check(item) || PyType_HasFeature(Py_TYPE(item), Py_TPFLAGS_HEAPTYPE);
        if (!hasCode && isRefused(args, format, index)) return index;
        if (hasCode && culprit == format.size()) culprit = index;
    }
    return culprit;
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
        kzExplainRefused(signature.method, index, signature.parameters.at(index));
        return;
    }
    std::string expected;
    for (const std::string& parameter : signature.parameters) expected += (expected.empty() ? "" : ", ") + parameter;
    kzExplain(signature.method, "expected (" + expected + "), got " + std::to_string(count) + " arguments");
}

}  // namespace

PyObject* kzRefuse(PyObject* self, std::intptr_t slot, KzResult code, std::size_t index) noexcept {
    kzValueBoundary([=] {
        const Signature signature = signatureOf(self, slot);
        kzExplainRefused(signature.method, index, signature.parameters.at(index));
    });
    return kzRaise(code);
}

PyObject* kzRefuseParsed(PyObject* self, PyObject* args, std::intptr_t slot, const char* format) noexcept {
    kzValueBoundary([=] { explainParsed(self, args, slot, format); });
    return kzParseFailed();
}
