// The rules for the lengths of arrays.
#include "check_lengths.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

namespace kzgen {

namespace {

const Parameter* find(const Method& method, const std::string& name) {
    const auto parameter = std::find_if(method.parameters.begin(), method.parameters.end(),
                                        [&](const Parameter& each) { return each.name == name; });
    return parameter == method.parameters.end() ? nullptr : &*parameter;
}

bool isCount(const std::string& digits) {
    return digits.size() < 10 && digits[0] != '0' &&
           std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

class LengthChecker {
public:
    LengthChecker(const Header& header, const Interface& interface, const Method& method, const Parameter& array,
                  Diagnostics& errors)
        : m_header(header), m_interface(interface), m_method(method), m_array(array), m_errors(errors) {}

    void run() {
        if (m_array.type.length.empty()) {
            if (m_array.type.unsized.empty()) {
                m_errors.error(m_array.type.at, "array " + inQuotes(m_array.name) + " without a length",
                               "one in the brackets, or the reason in quotes why there is none");
            }
            return;
        }
        for (const Factor& each : m_array.type.length) factor(each);
    }

private:
    void factor(const Factor& each) {
        switch (each.kind) {
        case Factor::Kind::Number: number(each); break;
        case Factor::Kind::Parameter: integerParameter(each.name, each); break;
        case Factor::Kind::Table:
            if (m_header.findTable(each.name) == nullptr)
                error(each, "table " + inQuotes(each.name), "a table of this header");
            integerParameter(each.arguments[0], each);
            break;
        case Factor::Kind::Method: methodFactor(each); break;
        }
    }

    void number(const Factor& each) {
        if (!isCount(each.name)) {
            error(each, "length " + inQuotes(each.name), "a positive decimal number without leading zeros");
            return;
        }
        m_product *= std::stoull(each.name);
        if (m_product > std::uint64_t{INT32_MAX}) {
            error(each, "a length of more than 31 bits", "a smaller one");
            m_product = 1;
        }
    }

    // An output is known only after the call: it can tell the length of outputs alone.
    void integerParameter(const std::string& name, const Factor& at) {
        const Parameter* counting = find(m_method, name);
        if (counting == nullptr || !info(counting->type.kind).has(integer) || (counting->output && !m_array.output)) {
            error(at, "length " + inQuotes(name),
                  m_array.output ? "an integer parameter" : "a positive number or an integer input");
        }
    }

    // The object is methodFactor right before or after the call, with inputs of the call.
    void methodFactor(const Factor& each) {
        const auto& all = m_interface.methods;
        const auto method = std::find_if(all.begin(), all.end(), [&](const Method& m) { return m.name == each.name; });
        if (method == all.end() || !info(method->returns.kind).has(integer) || !method->outputs().empty() ||
            method->inputs().size() != each.arguments.size() || method->name == m_method.name) {
            error(each, fmt::format("length '{}' with {} arguments", each.name, each.arguments.size()),
                  "a method of this interface that takes them and returns only an integer");
            return;
        }
        for (std::size_t at = 0; at < each.arguments.size(); ++at) {
            const Parameter* argument = find(m_method, each.arguments[at]);
            if (argument == nullptr || argument->output || argument->type.kind != method->parameters[at].type.kind) {
                error(each, inQuotes(each.arguments[at]) + " for " + inQuotes(each.name),
                      "an input of the kind that it takes");
            }
        }
        if (m_interface.adapter && m_method.inert == Inert::No && !m_array.output) {
            error(each, "length " + inQuotes(each.name) + " of a forwarded method",
                  "an input as the length: a Python method is not asked for it");
        }
    }

    void error(const Factor& each, std::string_view found, std::string_view expected) {
        m_errors.error(each.at, found, expected);
    }

    const Header& m_header;
    const Interface& m_interface;
    const Method& m_method;
    const Parameter& m_array;
    Diagnostics& m_errors;
    std::uint64_t m_product = 1;
};

}  // namespace

void checkLengths(const Header& header, const Interface& interface, const Method& method, Diagnostics& diagnostics) {
    for (const Parameter& parameter : method.parameters)
        if (info(parameter.type.kind).has(array))
            LengthChecker(header, interface, method, parameter, diagnostics).run();
}

}  // namespace kzgen
