// Part "serve": for each header the adapters by which Python implements its interfaces, the list of all
// adapters, and how the kinds that the relay does not know itself get to Python and back.
// Part "loopback": every operation of every adapter as a row by which a test can call it.
#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "cpp_view.h"
#include "emit.h"
#include "python_view.h"
#include "text.h"

namespace kzgen {

namespace {

// "r" or "v", the inputs, a colon, the outputs. A plain return value is the first output.
std::string signatureOf(const Method& method) {
    std::string signature = method.returns.kind == Kind::Result ? "r" : "v";
    for (const Parameter* input : method.inputs()) signature += info(input->type.kind).relayLetters(false);
    signature += ":";
    if (method.returnsPlainValue()) signature += info(method.returns.kind).relayLetters(true);
    for (const Parameter* output : method.outputs()) signature += info(output->type.kind).relayLetters(true);
    return signature;
}

// The length of an array in C++. The check refuses lengths that would have to be asked of an object in Python.
std::string lengthText(const Type& array) {
    std::vector<std::string> factors;
    for (const Factor& factor : array.length) {
        const bool isTable = factor.kind == Factor::Kind::Table;
        factors.push_back(isTable ? fmt::format("kz{}({})", factor.name, factor.arguments[0]) : factor.name);
    }
    return factors.empty() ? "-1" : fmt::format("kzLength({})", fmt::join(factors, ", "));
}

// The arguments of the relay: the inputs, each array followed by its length, then the addresses of the outputs.
std::string words(const Method& method) {
    std::string words;
    for (const Parameter* input : method.inputs()) {
        words += ", " + input->name;
        if (info(input->type.kind).has(array)) words += ", " + lengthText(input->type);
    }
    if (method.returnsPlainValue()) words += ", &kzValue";
    for (const Parameter* output : method.outputs())
        words += ", " + output->name + (output->type.kind == Kind::Text ? ", " + output->name + "Length" : "");
    return words;
}

std::string methodTable(const Interface& each) {
    std::string name = each.name + "Methods";
    name[0] = toLower(name[0]);
    return name;
}

bool forwardsAnything(const Interface& each) {
    return std::any_of(each.methods.begin(), each.methods.end(),
                       [&](const Method& method) { return !pythonMethodName(each, method).empty(); });
}

void emitMethodTable(const Interface& each, Text out) {
    fmt::format_to(out, "KzForwardedMethod {}[] = {{\n", methodTable(each));
    for (const Method& method : each.methods)
        if (const std::string name = pythonMethodName(each, method); !name.empty())
            fmt::format_to(out, "    {{\"{}\", \"{}\"}},\n", name, signatureOf(method));
    fmt::format_to(out, "}};\n\n");
}

std::string relayBody(const Interface& each, const Method& method, std::size_t index) {
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
    if (forwardsAnything(each)) emitMethodTable(each, out);
    fmt::format_to(out,
                   "class CPythonIfc_{0} final : public CKzSlot<IKz{0}> {{\npublic:\n"
                   "    using CKzSlot<IKz{0}>::CKzSlot;\n",
                   each.name);
    std::size_t index = 0;
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

std::string adapterSource(const Header& header) {
    std::string text = openingLines("//", "Adapters: " + header.summary, header);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"serve/adapters.h\"\n\n#include \"kz/{}.h\"\n\n", header.name);
    for (const Interface& each : header.interfaces)
        if (each.adapter) emitAdapter(each, out);
    return text;
}

// Where the relay does not know the letters of a kind, the build stops here with the kind's name.
void emitAdapterChecks(Text out) {
    for (const KindInfo& kind : allKinds()) {
        for (const auto& [check, letters] : {std::pair("Input", kind.from), std::pair("Output", kind.to)}) {
            if (!letters.empty() && letters != "K") {
                fmt::format_to(out,
                               "static_assert(kzCarries{}(\"{}\"), \"{}: gen/kinds.def and serve/relay.h differ\");\n",
                               check, letters, kind.fullName());
            }
        }
    }
    fmt::format_to(out, "\n");
}

std::string adapterList(const Model& model) {
    std::vector<std::string> names;
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces)
            if (each.adapter) names.push_back(each.name);
    }
    std::sort(names.begin(), names.end());
    std::string text = openingLines("//", "All adapters, ordered by name.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"serve/adapters.h\"\n\n");
    emitAdapterChecks(out);
    for (const std::string& name : names) fmt::format_to(out, "extern const KzAdapterRow kzAdapter_{};\n", name);
    fmt::format_to(out, "\nnamespace {{\n\nconst KzAdapterRow* const rows[] = {{\n");
    for (const std::string& name : names) fmt::format_to(out, "    &kzAdapter_{},\n", name);
    fmt::format_to(out, "}};\n\n}}  // namespace\n\nconst std::span<const KzAdapterRow* const> kzAdapters(rows);\n");
    return text;
}

// The classes that carry a kind are checked when the row is compiled, which names the kind.
std::string carriersText(const Model& model) {
    std::string text = openingLines("//", "The kinds that their classes carry, in the order of their letters.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"serve/carrier.h\"\n\nusing namespace kz_marshal;\n\n"
                        "constexpr KzCarrier kzCarriers[] = {{\n");
    for (const KindInfo& kind : allKinds())
        if (kind.isCarriedByClass())
            fmt::format_to(out, "    kzCarrierOf<{}, {}>(\"{}\"),\n", kind.in, kind.out, kind.name);
    fmt::format_to(out, "}};\n");
    return text;
}

// The lengths of the arrays that Python sees: -1 if unknown, otherwise the constant factor and, each after an @, the
// places of the inputs that multiply it. Raw data has no elements to count.
std::string lengthsOf(const Method& method) {
    std::string lengths;
    for (const Parameter* input : method.inputs()) {
        if (!info(input->type.kind).has(array)) continue;
        const Length length = method.lengthOf(*input);
        const bool hasLength = length.fixed != 0 && input->type.kind != Kind::DataArray;
        lengths += hasLength ? fmt::format("{}", length.fixed) : "-1";
        for (const Length::Term& term : hasLength ? length.terms : std::vector<Length::Term>())
            lengths += fmt::format("@{}", term.places[0]);
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
        for (const Interface& each : header.interfaces)
            if (each.adapter) emitLoopback(each, out);
    }
    fmt::format_to(out, "    }};\n    return rows;\n}}\n");
    output.write("loopback.cpp", text);
}

void emitServe(const Model& model, Output& output) {
    for (const Header& header : model.headers) output.write(header.name + ".cpp", adapterSource(header));
    output.write("adapters.cpp", adapterList(model));
    output.write("carriers.cpp", carriersText(model));
}

}  // namespace kzgen
