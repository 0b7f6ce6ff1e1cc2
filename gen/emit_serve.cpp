// Part "serve": for each header the adapters by which Python implements its interfaces, and the list of all adapters.
// Part "loopback": every operation of every adapter as a row by which a test can call it.
#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

#include <fmt/format.h>

#include "cpp_view.h"
#include "emit.h"
#include "python_view.h"

namespace kzgen {

namespace {

using Text = std::back_insert_iterator<std::string>;

// The letters by which the hand-written relay knows a kind as an input and as an output.
struct Letters {
    Kind kind;
    std::string_view input;
    std::string_view output;
};

constexpr std::array letters = {
    Letters{Kind::Bool, "", "b"},        Letters{Kind::Int, "i", "i"},         Letters{Kind::Uint, "I", "I"},
    Letters{Kind::Size, "n", "n"},       Letters{Kind::Float, "f", "f"},       Letters{Kind::Double, "d", "d"},
    Letters{Kind::String, "z", "z"},     Letters{Kind::Text, "", "T"},         Letters{Kind::Object, "O", "O"},
    Letters{Kind::Vector2, "", "V2"},    Letters{Kind::Vector3, "V", "V3"},    Letters{Kind::Vector4, "", "V4"},
    Letters{Kind::FVector2, "", "v2"},   Letters{Kind::FVector3, "v", "v3"},   Letters{Kind::FVector4, "", "v4"},
    Letters{Kind::Id, "n", "p"},         Letters{Kind::Pointer, "n", "P"},     Letters{Kind::Hints, "", "h"},
    Letters{Kind::FloatArray, "Af", ""}, Letters{Kind::DoubleArray, "Ad", ""}, Letters{Kind::IntArray, "Ai", ""},
    Letters{Kind::UintArray, "Au", ""},  Letters{Kind::ByteArray, "Ab", ""},   Letters{Kind::IdArray, "Ap", ""},
    Letters{Kind::DataArray, "A*", ""},
};

const Letters& lettersOf(Kind kind) {
    return *std::find_if(letters.begin(), letters.end(), [kind](const Letters& row) { return row.kind == kind; });
}

// "r" or "v", the inputs, a colon, the outputs; a plain value is the first output.
std::string signatureOf(const Method& method) {
    std::string signature = method.returns.kind == Kind::Result ? "r" : "v";
    for (const Parameter* input : method.inputs()) {
        signature += lettersOf(input->type.kind).input;
    }
    signature += ":";
    if (method.returnsPlainValue()) {
        signature += lettersOf(method.returns.kind).output;
    }
    for (const Parameter* output : method.outputs()) {
        signature += lettersOf(output->type.kind).output;
    }
    return signature;
}

// The length of an array in C++. What it could ask the object is refused by the check: the object is in Python.
std::string lengthText(const Type& array) {
    std::vector<std::string> factors;
    for (const Factor& factor : array.length) {
        const bool looked = factor.kind == Factor::Kind::Looked;
        factors.push_back(looked ? fmt::format("kz{}({})", factor.name, factor.arguments[0]) : factor.name);
    }
    return factors.empty() ? "-1" : fmt::format("kzLength({})", fmt::join(factors, ", "));
}

// The arguments of the relay: the inputs, each array followed by its length, then the places of the outputs.
std::string words(const Method& method) {
    std::string words;
    for (const Parameter* input : method.inputs()) {
        words += ", " + input->name;
        if (isArray(input->type.kind)) {
            words += ", " + lengthText(input->type);
        }
    }
    if (method.returnsPlainValue()) {
        words += ", &kzValue";
    }
    for (const Parameter* output : method.outputs()) {
        words += ", " + output->name + (output->type.kind == Kind::Text ? ", " + output->name + "Length" : "");
    }
    return words;
}

std::string methodTable(const Interface& each) {
    std::string name = each.name + "Methods";
    name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
    return name;
}

bool forwardsAnything(const Interface& each) {
    return std::any_of(each.methods.begin(), each.methods.end(),
                       [&](const Method& method) { return !pythonMethodName(each, method).empty(); });
}

void emitMethodTable(const Interface& each, Text out) {
    fmt::format_to(out, "KzForwardedMethod {}[] = {{\n", methodTable(each));
    for (const Method& method : each.methods) {
        if (const std::string name = pythonMethodName(each, method); !name.empty()) {
            fmt::format_to(out, "    {{\"{}\", \"{}\"}},\n", name, signatureOf(method));
        }
    }
    fmt::format_to(out, "}};\n\n");
}

std::string relayBody(const Interface& each, const Method& method, size_t index) {
    std::string call = fmt::format("kzRelay(this->object(), {}[{}]{});", methodTable(each), index, words(method));
    switch (method.returns.kind) {
    case Kind::Result: return "return " + call;
    case Kind::Void: return call;
    default: return fmt::format("{} kzValue{{}}; {} return kzValue;", returnType(method.returns), call);
    }
}

std::string_view inertBody(const Method& method) {
    switch (method.inert) {
    case Inert::NotImplemented: return "return kzNotImplemented;";
    case Inert::Zero: return "return {};";
    default: return "";
    }
}

void emitAdapter(const Interface& each, Text out) {
    fmt::format_to(out, "// {}\n\nnamespace {{\n\n", each.name);
    if (forwardsAnything(each)) {
        emitMethodTable(each, out);
    }
    fmt::format_to(out,
                   "class CPythonIfc_{0} final : public CKzSlot<IKz{0}> {{\npublic:\n"
                   "    using CKzSlot<IKz{0}>::CKzSlot;\n",
                   each.name);
    size_t index = 0;
    for (const Method& method : each.methods) {
        const bool inert = pythonMethodName(each, method).empty();
        const std::string body = inert ? std::string(inertBody(method)) : relayBody(each, method, index++);
        fmt::format_to(out, "    {} {}({}) final {{{}{}{}}}\n", returnType(method.returns), method.name,
                       parameterList(method, inert ? Names::Commented : Names::Declared), body.empty() ? "" : " ", body,
                       body.empty() ? "" : " ");
    }
    fmt::format_to(out,
                   "}};\n\n}}  // namespace\n\n"
                   "extern constinit const KzAdapterRow kzAdapter_{0}{{\n"
                   "    \"{0}\", [] {{ return kzMakeRecord<CPythonIfc_{0}>(KZu_{1}); }}, {2}}};\n\n",
                   each.name, each.symbol, forwardsAnything(each) ? methodTable(each) : "{}");
}

std::string headerText(const Header& header) {
    std::string text = openingLines("//", "Adapters: " + header.summary, header);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"serve/adapters.h\"\n\n#include \"kz/{}.h\"\n\n", header.name);
    for (const Interface& each : header.interfaces) {
        if (each.adapter) {
            emitAdapter(each, out);
        }
    }
    return text;
}

std::string listText(const Model& model) {
    std::vector<std::string> names;
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) {
            if (each.adapter) {
                names.push_back(each.name);
            }
        }
    }
    std::sort(names.begin(), names.end());
    std::string text = openingLines("//", "All adapters, ordered by name.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"serve/adapters.h\"\n\n");
    for (const std::string& name : names) {
        fmt::format_to(out, "extern const KzAdapterRow kzAdapter_{};\n", name);
    }
    fmt::format_to(out, "\nnamespace {{\n\nconst KzAdapterRow* const rows[] = {{\n");
    for (const std::string& name : names) {
        fmt::format_to(out, "    &kzAdapter_{},\n", name);
    }
    fmt::format_to(out, "}};\n\n}}  // namespace\n\nconst std::span<const KzAdapterRow* const> kzAdapters(rows);\n");
    return text;
}

// What Python is told of each array's length: -1 when unknown, or the fixed factor and, each after an @, the inputs to
// multiply it by. Raw data has no elements to count.
std::string lengthsOf(const Method& method) {
    std::string lengths;
    for (const Parameter* input : method.inputs()) {
        if (!isArray(input->type.kind)) {
            continue;
        }
        const Length length = method.lengthOf(*input);
        const bool known = length.fixed != 0 && input->type.kind != Kind::DataArray;
        lengths += known ? fmt::format("{}", length.fixed) : "-1";
        for (const Length::Term& term : known ? length.terms : std::vector<Length::Term>()) {
            lengths += fmt::format("@{}", term.places[0]);
        }
        lengths += ' ';
    }
    return lengths;
}

std::string_view inertSignature(Inert inert) {
    switch (inert) {
    case Inert::NotImplemented: return "NOTIMPL";
    case Inert::Zero: return "0";
    default: return "";
    }
}

void emitLoopback(const Interface& each, Text out) {
    for (const Method& method : each.methods) {
        const std::string name = pythonMethodName(each, method);
        fmt::format_to(out, "    loopbackRow(\"{0}\", \"{1}\", \"{2}\", \"{3}\", &IKz{0}::{4}),\n", each.name, name,
                       name.empty() ? inertSignature(method.inert) : signatureOf(method), lengthsOf(method),
                       method.name);
    }
}

}  // namespace

void emitLoopback(const Model& model, Output& output) {
    std::string text =
        openingLines("//", "Every operation of every adapter, to be called through its interface.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"tests/serve/loopback.h\"\n\n#include \"kz/all.h\"\n\n"
                        "const std::vector<LoopbackRow>& loopbackRows() {{\n"
                        "    static const std::vector<LoopbackRow> rows = {{\n");
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) {
            if (each.adapter) {
                emitLoopback(each, out);
            }
        }
    }
    fmt::format_to(out, "    }};\n    return rows;\n}}\n");
    output.write("loopback.cpp", text);
}

void emitServe(const Model& model, Output& output) {
    for (const Header& header : model.headers) {
        output.write(header.name + ".cpp", headerText(header));
    }
    output.write("adapters.cpp", listText(model));
}

}  // namespace kzgen
