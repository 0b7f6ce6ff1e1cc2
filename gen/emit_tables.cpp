// kz/tables.h: every identity and every result code of the SDK with its name, for hosts that look them up. kz/methods.h:
// the names of all methods, for hosts that report what they offer and use.
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
    for (const Method& method : each.methods) {
        methods.push_back(method.name);
        if (std::string operation = pythonMethodName(each, method); !operation.empty())
            operations.push_back(std::move(operation));
    }
    return fmt::format("    {{{}, \"{}\", {}, {}, {}, \"{}\",\n     \"{}\"}},\n", guidInitialiser(each.guid), each.name,
                       each.service, each.wrapped, each.adapter.has_value(), fmt::join(methods, " "),
                       fmt::join(operations, " "));
}

void emitMethods(const Model& model, Output& output) {
    std::string text = openingLines("//", "Every interface with the names of its methods.", model);
    text += "#pragma once\n\n#include \"kz/base/unknown.h\"\n\n"
            "// Both lists are separated by spaces, and in the order of the description.\n"
            "struct KzMethodsRow {\n    KzGuid iid;\n    const char* name;\n    bool isService;\n"
            "    bool isWrapped;          // scripts have a type for it\n"
            "    bool isServed;           // Python classes can implement it\n    const char* methods;\n"
            "    const char* operations;  // the names of a Python class's methods\n};\n\n"
            "inline constexpr KzMethodsRow kzMethodsRows[] = {\n";
    for (const Header& header : model.headers)
        for (const Interface& each : header.interfaces) text += methodsRow(each);
    output.write("kz/methods.h", text + "};\n");
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
}

}  // namespace kzgen
