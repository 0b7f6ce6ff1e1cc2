// How signatures and values read in Python.
#include "python_view.h"

#include <set>

#include <fmt/format.h>

#include "text.h"

namespace kzgen {

namespace {

// Outputs read like arguments, but a returned object says only what it is.
std::string outputDoc(const Model& model, const Parameter& output) {
    const std::string type = returnDocType(model, output.type);
    return output.type.kind == Kind::Object ? type : type + " " + output.name;
}

std::string returnsDoc(const Model& model, const Method& method) {
    std::vector<std::string> parts;
    if (method.returnsPlainValue()) parts.push_back(returnDocType(model, method.returns));
    for (const Parameter* output : method.outputs()) parts.push_back(outputDoc(model, *output));
    if (parts.empty()) return {};
    return (parts.size() == 1 ? parts.front() : fmt::format("({})", fmt::join(parts, ","))) + " = ";
}

std::string familyNames(const Type& type, std::string_view separator) {
    std::vector<std::string_view> names;
    for (const Family& family : type.families) names.push_back(family.name);
    return fmt::format("{}", fmt::join(names, separator));
}

}  // namespace

std::string argumentDocType(const Type& type) { return std::string(info(type.kind).doc); }

std::string returnDocType(const Model& model, const Type& type) {
    if (type.kind == Kind::Object && !type.name.empty()) return model.wrapperName(type) + " object";
    return argumentDocType(type);
}

std::string docString(const Model& model, const Method& method) { return docString(model, method, method.name); }

std::string docString(const Model& model, const Method& method, const std::string& name) {
    std::vector<std::string> arguments;
    for (const Parameter* input : method.inputs())
        arguments.push_back(argumentDocType(input->type) + " " + input->name);
    return fmt::format("{}{}({})", returnsDoc(model, method), name, fmt::join(arguments, ","));
}

std::string docFamilies(const Method& method) {
    std::vector<std::string> arguments;
    std::vector<std::string> results;
    for (const Parameter* input : method.inputs()) arguments.push_back(familyNames(input->type, "|"));
    if (method.returnsPlainValue()) results.push_back(familyNames(method.returns, "|"));
    for (const Parameter* output : method.outputs()) results.push_back(familyNames(output->type, "|"));
    const std::string all = fmt::format("{};{}", fmt::join(arguments, ","), fmt::join(results, ","));
    return all.find_first_not_of(",;") == std::string::npos ? "" : all;
}

std::string lengthFormula(const Type& array) {
    std::vector<std::string> factors;
    for (const Factor& factor : array.length) {
        const bool isMethod = factor.kind == Factor::Kind::Method;
        const std::string arguments = fmt::format("{}", fmt::join(factor.arguments, ", "));
        factors.push_back(isMethod                             ? fmt::format("{}({})", factor.name, arguments)
                          : factor.kind == Factor::Kind::Table ? fmt::format("{}[{}]", factor.name, arguments)
                                                               : factor.name);
    }
    return fmt::format("{}", fmt::join(factors, " * "));
}

std::string typeText(const Type& type) {
    std::string text = type.kind == Kind::Object && !type.name.empty() ? type.name : std::string(info(type.kind).name);
    if (info(type.kind).has(array)) text += "[" + lengthFormula(type) + "]";
    const std::string families = familyNames(type, " | ");
    return families.empty() ? text : text + " of " + families;
}

std::string signature(const Method& method, const std::string& name) {
    const auto named = [](const Parameter* each) { return each->name + ": " + typeText(each->type); };
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    if (method.returnsPlainValue()) outputs.push_back(typeText(method.returns));
    for (const Parameter* input : method.inputs()) inputs.push_back(named(input));
    for (const Parameter* output : method.outputs()) outputs.push_back(named(output));
    const std::string result = fmt::format("{}", fmt::join(outputs, ", "));
    return fmt::format("{}({}){}{}", name, fmt::join(inputs, ", "), outputs.empty() ? "" : " -> ",
                       outputs.size() > 1 ? "(" + result + ")" : result);
}

std::string pythonMethodName(const Interface& interface, const Method& method) {
    const bool forwarded = interface.adapter && !interface.adapter->empty() && method.inert == Inert::No;
    return forwarded ? *interface.adapter + "_" + method.name : std::string();
}

std::string pythonArgumentName(const Parameter& input) {
    static const std::set<std::string> reservedWords = {
        "and", "as", "assert", "def", "del", "elif", "except", "exec",  "finally", "from",  "global", "import",
        "in",  "is", "lambda", "not", "or",  "pass", "print",  "raise", "with",    "yield", "self",   "None"};
    return reservedWords.contains(input.name) ? input.name + "_" : input.name;
}

std::string pythonLiteral(const Value& value) {
    struct Visitor {
        std::string operator()(const IntegerValue& integer) const {
            const bool code = integer.written.starts_with('\'');  // Python has no such literal
            const std::string digits = code ? fmt::format("0x{:X}", integer.value) : integer.written;
            return digits + (integer.isLong && !digits.ends_with('L') ? "L" : "");
        }
        std::string operator()(const RealValue& real) const { return real.written; }
        std::string operator()(const TextValue& text) const { return literal(text.text, '\''); }
        std::string operator()(const Guid& guid) const { return literal(guid.text, '\''); }
    };
    return std::visit(Visitor{}, value);
}

std::vector<Symbol> symbolsOf(const Header& header) {
    std::vector<Symbol> all;
    for (const Interface& each : header.interfaces) {
        if (each.hasSymbol) all.push_back({"u_" + each.symbol, each.guid, ""});
        if (each.server) all.push_back({"a_" + each.symbol, TextValue{*each.server}, ""});
    }
    for (const Constant& each : header.constants)
        all.push_back({each.name, each.value, each.summary, &header.groups[each.group]});
    for (const Code& each : header.codes) {
        // A code of the command system is always a long, one of a header's own where it does not fit an int of 32 bits.
        const bool isLong = !each.headerOwn || each.value > std::uint32_t{INT32_MAX};
        all.push_back({each.symbol(), IntegerValue{each.value, isLong, fmt::format("0x{:X}", each.value)}, each.summary,
                       &header.groups[each.group]});
    }
    return all;
}

}  // namespace kzgen
