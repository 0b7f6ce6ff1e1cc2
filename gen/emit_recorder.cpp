// Part "recorder", for tests: an implementation of every wrapped interface that records its calls, and a table in Python
// of what there is to call.
#include <algorithm>
#include <iterator>
#include <map>

#include <fmt/format.h>

#include "cpp_view.h"
#include "emit.h"
#include "python_view.h"

namespace kzgen {

namespace {

template <class Visit> void eachWrapped(const Model& model, Visit&& visit) {
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces)
            if (each.wrapped) visit(header, each);
    }
}

// The call that records one parameter.
std::string step(const Parameter& parameter) {
    if (parameter.type.kind == Kind::Text) return fmt::format(".text({0}, {0}Length)", parameter.name);
    const bool isAddress = info(parameter.type.kind).has(address);
    const char* name = parameter.output ? (isAddress ? "outAddress" : "out") : (isAddress ? "address" : "in");
    return fmt::format(".{}({})", name, parameter.name);
}

std::string lastStep(const Type& returns) {
    switch (returns.kind) {
    case Kind::Result: return ".code()";
    case Kind::Void: return ".nothing()";
    default:
        return fmt::format(".{}<{}>()", info(returns.kind).has(address) ? "returnAddress" : "value",
                           returnType(returns));
    }
}

void emitClass(const Interface& each, Text out) {
    fmt::format_to(out, "struct CRecorder_{0} final : CKzSlot<IKz{0}> {{\n    using CKzSlot<IKz{0}>::CKzSlot;\n",
                   each.stem());
    for (const Method& method : each.methods) {
        std::string steps;
        for (const Parameter& parameter : method.parameters) steps += step(parameter);
        fmt::format_to(out, "    {0} {1}({2}) override {{ return CRecord(this, \"{3}.{1}\"){4}{5}; }}\n",
                       returnType(method.returns), method.name, parameterList(method, Names::Declared), each.stem(),
                       steps, lastStep(method.returns));
    }
    fmt::format_to(out, "}};\n\n");
}

std::string recordersText(const Model& model) {
    std::string text = openingLines("//", "Recording implementations of all wrapped interfaces.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"tests/wrap/recorder.h\"\n\n#include \"kz/all.h\"\n\nnamespace {{\n\n");
    eachWrapped(model, [&](const Header&, const Interface& each) { emitClass(each, out); });
    fmt::format_to(out, "constexpr KzRecorderRow rows[] = {{\n");
    eachWrapped(model, [&](const Header&, const Interface& each) {
        fmt::format_to(out, "    {{\"{0}\", &KZu_{1}, kzMakeRecord<CRecorder_{0}>}},\n", each.stem(), each.symbol);
    });
    fmt::format_to(out, "}};\n\n}}  // namespace\n\nconst std::span<const KzRecorderRow> kzRecorders(rows);\n");
    return text;
}

// The kind as the description writes it; of an object that Python gets, the name of its wrapper.
std::string kindText(const Model& model, const Type& type) {
    const std::string name = info(type.kind).fullName();
    return type.kind == Kind::Object && !type.name.empty() ? name + ":" + model.wrapperName(type) : name;
}

std::string pairs(const Model& model, const std::vector<const Parameter*>& parameters) {
    std::string text;
    for (const Parameter* parameter : parameters)
        text += fmt::format("('{}', '{}'), ", kindText(model, parameter->type), parameter->name);
    return "[" + text + "]";
}

const Table::Row& largestRow(const Header& header, const Length::Term& term) {
    const auto& rows = header.findTable(term.name)->rows;
    return *std::max_element(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.size < b.size; });
}

// By the place of each array whose length is known: its elements when every count is 2 and every table is asked for its
// largest row; then the parameters, by their places, and the methods that say so.
std::string lengths(const Header& header, const Interface& each, const Method& method) {
    std::string text;
    for (std::size_t at = 0; at < method.parameters.size(); ++at) {
        Length length = method.lengthOf(method.parameters[at]);
        std::string inputs;
        std::string methods;
        for (const Length::Term& term : length.terms) {
            length.fixed *= term.kind == Factor::Kind::Table ? largestRow(header, term).size : 2;
            if (term.kind == Factor::Kind::Method) methods += fmt::format("'{}.{}', ", each.stem(), term.name);
            else if (term.kind == Factor::Kind::Table)
                inputs += fmt::format("{}: SYMBOLS['{}'], ", term.places[0], largestRow(header, term).constant);
            else inputs += fmt::format("{}: 2, ", term.places[0]);
        }
        if (length.fixed != 0) text += fmt::format("{}: ({}, {{{}}}, [{}]), ", at, length.fixed, inputs, methods);
    }
    return "{" + text + "}";
}

void emitConstants(const Model& model, Text out) {
    std::map<std::string, std::string> symbols;
    std::map<std::string, std::string> results;
    for (const Header& header : model.headers) {
        for (const Symbol& each : symbolsOf(header)) symbols[each.name] = pythonLiteral(each.value);
        for (const Code& code : header.codes) results[code.name] = fmt::format("0x{:X}L", code.value);
    }
    for (const auto& [title, values] : {std::pair("SYMBOLS", &symbols), std::pair("RESULTS", &results)}) {
        fmt::format_to(out, "\n{} = {{\n", title);
        for (const auto& [name, value] : *values) fmt::format_to(out, "    '{}': {},\n", name, value);
        fmt::format_to(out, "}}\n");
    }
}

std::string manifestText(const Model& model) {
    std::string text = openingLines("#",
                                    "Every wrapped type: C++ stem, Python name, whether it is a service, and its "
                                    "methods with what they return, take and give; every constant and code.",
                                    model);
    const Text out = std::back_inserter(text);
    emitConstants(model, out);
    fmt::format_to(out, "\nTYPES = [\n");
    eachWrapped(model, [&](const Header& header, const Interface& each) {
        fmt::format_to(out, "    ('{}', '{}', {}, [\n", each.stem(), each.name, each.service ? "True" : "False");
        for (const Method& method : each.methods)
            fmt::format_to(out, "        ('{}', '{}', {}, {}, {}),\n", method.name, kindText(model, method.returns),
                           pairs(model, method.inputs()), pairs(model, method.outputs()),
                           lengths(header, each, method));
        fmt::format_to(out, "    ]),\n");
    });
    fmt::format_to(out, "]\n");
    return text;
}

}  // namespace

void emitRecorder(const Model& model, Output& output) {
    output.write("recorders.cpp", recordersText(model));
    output.write("manifest.py", manifestText(model));
}

}  // namespace kzgen
