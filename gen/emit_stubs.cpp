// Part "stubs": what editors and type checkers read about kz.object, kz.service, kz.symbol, kz.result and kzifc. What
// does not follow from the description stands beside it in python/stubs, where kz/_kinds.pyi has the types named here.
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "emit.h"
#include "python_view.h"
#include "text.h"

namespace kzgen {

namespace {

constexpr std::string_view imports = "from typing import Optional, Sequence, Tuple, Union\n"
                                     "import kz\nimport kz.object\nimport kzifc\n"
                                     "from kz import _kinds, _returned\n";

// The types of values without those of objects, which depend on the model.
struct PythonTypes {
    std::string_view input;   // what Python may pass
    std::string_view output;  // what Python gets
};

PythonTypes pythonTypes(Kind kind) {
    switch (kind) {
    case Kind::Bool: return {"bool", "bool"};
    case Kind::Int:
    case Kind::Uint:
    case Kind::Size:
    case Kind::Id:
    case Kind::Pointer: return {"int", "int"};
    case Kind::Float:
    case Kind::Double: return {"float", "float"};
    case Kind::String:
    case Kind::Text: return {"_kinds.Text", "str"};
    case Kind::Guid: return {"str", "str"};
    case Kind::Vector2:
    case Kind::FVector2: return {"Sequence[float]", "_kinds.Vector2"};
    case Kind::Vector3:
    case Kind::FVector3: return {"Sequence[float]", "_kinds.Vector3"};
    case Kind::Vector4:
    case Kind::FVector4:
    case Kind::Quaternion: return {"Sequence[float]", "_kinds.Vector4"};
    case Kind::Matrix3:
    case Kind::FMatrix3: return {"_kinds.Matrix", "_kinds.Matrix3"};
    case Kind::Matrix4:
    case Kind::FMatrix4: return {"_kinds.Matrix", "_kinds.Matrix4"};
    case Kind::Bounds: return {"_kinds.Matrix", "_kinds.Bounds"};
    case Kind::Hints: return {"_kinds.Hints", "_kinds.HintPairs"};
    case Kind::Blocks: return {"object", "object"};
    default: return {"Optional[kz.Storage]", "kz.Storage"};
    }
}

// What a script passes: a wrapper of the type, an object whose type is not known, or an instance of a Python class.
std::string objectInput(const Model& model, const Type& type) {
    const Interface* interface = type.name.empty() ? nullptr : model.find(type.name);
    if (interface == nullptr) return "object";
    std::string types;
    if (interface->wrapped) types += "kz.object." + type.name + ", ";
    if (interface->adapter) types += "kzifc." + type.name + ", ";
    return types.empty() ? "object" : "Union[" + types + "kz.object.Unknown, None]";
}

std::string inputType(const Model& model, const Type& type) {
    return type.kind == Kind::Object ? objectInput(model, type) : std::string(pythonTypes(type.kind).input);
}

std::string outputType(const Model& model, const Type& type) {
    if (type.kind != Kind::Object) return std::string(pythonTypes(type.kind).output);
    const std::string wrapper = model.wrapperName(type);
    return wrapper.empty() || wrapper == unknownName ? "kz.object.Unknown" : "_returned." + wrapper;
}

// The direct value and the outputs: nothing, one value, or a tuple.
std::string results(const Model& model, const Method& method, std::string (*each)(const Model&, const Type&)) {
    std::vector<std::string> types;
    if (method.returnsPlainValue()) types.push_back(each(model, method.returns));
    for (const Parameter* output : method.outputs()) types.push_back(each(model, output->type));
    if (types.empty()) return "None";
    return types.size() == 1 ? types[0] : fmt::format("Tuple[{}]", fmt::join(types, ", "));
}

// Python 3 has reserved more words since, and stubs are read as Python 3.
std::string stubName(const Parameter& input) {
    static const std::set<std::string> newWords = {"async", "await", "nonlocal", "True", "False"};
    return newWords.contains(input.name) ? input.name + "_" : pythonArgumentName(input);
}

// "    def Name(self, a: int, b: str) -> None:" with the texts of the method.
void emitMethod(const Model& model, const Method& method, const std::string& name, bool served, Text out) {
    const auto taken = served ? &outputType : &inputType;
    const auto answered = served ? &inputType : &outputType;
    fmt::format_to(out, "    def {}(self", name);
    for (const Parameter* input : method.inputs()) {
        const std::string inputName = served ? stubName(*input) : "__" + input->name;  // a wrapper takes no keywords
        fmt::format_to(out, ", {}: {}", inputName, taken(model, input->type));
    }
    fmt::format_to(out, ") -> {}:\n        \"\"\"{}", results(model, method, answered),
                   escaped(signature(method, name), '"'));
    if (!method.summary.empty()) fmt::format_to(out, "\n\n        {}\n        ", escaped(method.summary, '"'));
    fmt::format_to(out, "\"\"\"\n");
}

void emitClass(const Model& model, const Interface& each, std::string_view base, bool served, Text out) {
    fmt::format_to(out, "\nclass {}({}):\n    \"\"\"{}\"\"\"\n", each.name, base, escaped(each.summary, '"'));
    for (const Method& method : each.methods) {
        const std::string name = served ? pythonMethodName(each, method) : method.name;
        if (!name.empty()) emitMethod(model, method, name, served, out);
    }
}

std::string startOf(const Model& model, std::string_view contents) {
    return openingLines("#", contents, model) + std::string(imports);
}

std::string wrappersText(const Model& model, bool services) {
    std::string text = startOf(model, services ? "The host's services." : "Wrapper types of the host's objects.");
    text += services ? ""
                     : "\nclass Unknown(_kinds.Wrapper):\n    \"\"\"An object of the host, whatever its type.\"\"\"\n"
                       "storage = kz.Storage\n";
    for (const Header& header : model.headers)
        for (const Interface& each : header.interfaces)
            if (each.wrapped && each.service == services)
                emitClass(model, each, services ? "_kinds.Service" : "_kinds.Wrapper", false, std::back_inserter(text));
    return text;
}

std::string serversText(const Model& model) {
    std::string text = startOf(model, "Base classes for Python servers: each stands for one interface.");
    for (const Header& header : model.headers)
        for (const Interface& each : header.interfaces)
            if (each.adapter) emitClass(model, each, "object", true, std::back_inserter(text));
    return text;
}

std::string constantsText(const Model& model) {
    std::string text = openingLines("#", "The constants of the SDK.", model);
    const Text out = std::back_inserter(text);
    for (const Header& header : model.headers) {
        const Group* last = nullptr;
        fmt::format_to(out, "\n# {}: {}\n", header.name, header.summary);
        for (const Symbol& each : symbolsOf(header)) {
            if (each.group != last && !each.group->summary.empty())
                text += "\n" + commentLines("", "#", each.group->summary);
            last = each.group;
            std::string literal = pythonLiteral(each.value);
            if (literal.ends_with('L')) literal.pop_back();  // stubs are read as Python 3
            constexpr std::string_view types[] = {"int", "float", "str", "str"};
            fmt::format_to(out, "{}: {} = {}{}{}\n", each.name, types[each.value.index()], literal,
                           each.summary.empty() ? "" : "  # ", each.summary);
        }
    }
    return text;
}

std::string codesText(const Model& model) {
    std::string text = openingLines("#", "Result codes by name.", model);
    for (const Header& header : model.headers)
        for (const Code& each : header.codes)
            fmt::format_to(std::back_inserter(text), "{}: int = 0x{:08X}{}{}\n", each.name, each.value,
                           each.summary.empty() ? "" : "  # ", each.summary);
    return text;
}

}  // namespace

void emitStubs(const Model& model, Output& output) {
    output.write("kz/object.pyi", wrappersText(model, false));
    output.write("kz/service.pyi", wrappersText(model, true));
    output.write("kz/symbol.pyi", constantsText(model));
    output.write("kz/result.pyi", codesText(model));
    output.write("kzifc/__init__.pyi", serversText(model));
}

}  // namespace kzgen
