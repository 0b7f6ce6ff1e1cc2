// kz/tables.h: every identity and every result code of the SDK with its name, for hosts that look them up. kz/methods.h:
// the names of all methods, for hosts that report what they offer and use. kz/absent.h: services that a host cannot offer.
#include "emit_tables.h"

#include <fmt/format.h>

#include <iterator>

#include "cpp_view.h"
#include "python_view.h"
#include "sha1.h"
#include "text.h"

namespace kzgen {

namespace {

// Everything that a call through the interface's table of operations depends on: names, types and order of the methods.
std::string signatureText(const Interface& each) {
    std::string text;
    for (const Method& method : each.methods) {
        text +=
            fmt::format("{} {}({})\n", returnType(method.returns), method.name, parameterList(method, Names::Declared));
    }
    return text;
}

std::string identityRow(const Interface& each) {
    const std::string server = each.server ? literal(*each.server, '\"') : "nullptr";
    return fmt::format("    {{{}, \"{}\", \"{}\", {}, {}, 0x{}}},\n", guidInitialiser(each.guid), each.name,
                       each.symbol, server, each.service, toHex(sha1(signatureText(each))).substr(0, 16));
}

std::string methodsRow(const Interface& each) {
    std::vector<std::string> methods;
    std::vector<std::string> operations;
    std::vector<std::string> plain;
    for (const Method& method : each.methods) {
        methods.push_back(method.name);
        if (method.returns.kind != Kind::Result) plain.push_back(method.name);
        if (std::string operation = pythonMethodName(each, method); !operation.empty())
            operations.push_back(std::move(operation));
    }
    return fmt::format("    {{{}, \"{}\", {}, {}, {}, \"{}\",\n     \"{}\",\n     \"{}\"}},\n",
                       guidInitialiser(each.guid), each.name, each.service, each.wrapped, each.adapter.has_value(),
                       fmt::join(methods, " "), fmt::join(operations, " "), fmt::join(plain, " "));
}

void emitMethods(const Model& model, Output& output) {
    std::string text = openingLines("//", "Every interface with the names of its methods.", model);
    text +=
        "#pragma once\n\n#include \"kz/base/unknown.h\"\n\n"
        "// The lists are separated by spaces, and in the order of the description.\n"
        "struct KzMethodsRow {\n    KzGuid iid;\n    const char* name;\n    bool isService;\n"
        "    bool isWrapped;          // scripts have a type for it\n"
        "    bool isServed;           // Python classes can implement it\n    const char* methods;\n"
        "    const char* operations;  // the names of a Python class's methods\n"
        "    const char* plain;       // the methods without a result code, which cannot say that they failed\n};\n\n"
        "inline constexpr KzMethodsRow kzMethodsRows[] = {\n";
    for (const Header& header : model.headers)
        for (const Interface& each : header.interfaces) text += methodsRow(each);
    output.write("kz/methods.h", text + "};\n");
}

// Every operation asks the host for its answer; a plain value is zero.
std::string absentService(const Interface& each) {
    std::string names;
    std::string operations;
    for (const Method& method : each.methods) {
        names += fmt::format("{}\"{}\"", names.empty() ? "" : ", ", method.name);
        const std::string refusal = fmt::format("Host::refuse(\"{}.{}\");", each.name, method.name);
        const bool hasCode = method.returns.kind == Kind::Result;
        operations += fmt::format("    {} {}_{}({}) override {{ {}{} }}\n", returnType(method.returns), each.prefix(),
                                  method.name, parameterList(method, Names::Commented), hasCode ? "return " : "",
                                  hasCode || method.returns.kind == Kind::Void ? refusal : refusal + " return {};");
    }
    return fmt::format("\ntemplate <class Host> class CKzAbsent_{0} : public CKzImpl_{0} {{\npublic:\n"
                       "    static constexpr std::string_view needsWindow[] = {{{1}}};\n{2}}};\n\n"
                       "template <class T> class CKzAbsentIfc_{0} : public CKzIfc_{0}<T> {{\npublic:\n"
                       "    using Implementation = CKzAbsent_{0}<T>;\n"
                       "    using CKzIfc_{0}<T>::CKzIfc_{0};\n}};\n",
                       each.stem(), names, operations);
}

void emitAbsent(const Model& model, Output& output) {
    std::string includes;
    std::string services;
    for (const Header& header : model.headers) {
        const std::size_t before = services.size();
        for (const Interface& each : header.interfaces)
            if (each.service) services += absentService(each);
        if (services.size() > before)
            fmt::format_to(std::back_inserter(includes), "#include \"kz/{}.h\"\n", header.name);
    }
    output.write("kz/absent.h",
                 openingLines("//",
                              "Services that a host cannot offer: each operation answers what the host's class refuses "
                              "it with.",
                              model) +
                     "#pragma once\n\n" + includes + "\n#include <string_view>\n" + services);
}

}  // namespace

void emitTables(const Model& model, Output& output) {
    std::string text = openingLines("//", "Identities and result codes by name.", model);
    text += "#pragma once\n\n#include \"kz/base/unknown.h\"\n\n"
            "// `server` is the class's name among servers; null for what is never one.\n"
            "struct KzIdentityRow {\n    KzGuid iid;\n    const char* name;\n    const char* symbol;\n"
            "    const char* server;\n    bool isService;\n"
            "    std::uint64_t signature;  // of the methods: names, types and order\n};\n\n";
    fmt::format_to(std::back_inserter(text), "inline constexpr char kzDescriptionHash[] = \"{}\";\n\n", model.hash);
    text += "inline constexpr KzIdentityRow kzIdentityRows[] = {\n"
            "    {KZu_UNKNOWN, \"Unknown\", \"UNKNOWN\", nullptr, false, 0},\n";
    for (const Header& header : model.headers)
        for (const Interface& each : header.interfaces) text += identityRow(each);
    text += "};\n\n// Where codes share a value, the last name is the code's own.\n"
            "struct KzCodeRow {\n    KzResult code;\n    const char* name;\n};\n\n"
            "inline constexpr KzCodeRow kzCodeRows[] = {\n";
    for (const Header& header : model.headers)
        for (const Code& code : header.codes)
            fmt::format_to(std::back_inserter(text), "    {{0x{:08X}, \"{}\"}},\n", code.value, code.name);
    output.write("kz/tables.h", text + "};\n");
    emitMethods(model, output);
    emitAbsent(model, output);
}

}  // namespace kzgen
