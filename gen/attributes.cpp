// Reads attributes and checks them against the rules for their place.
#include "attributes.h"

#include <algorithm>

#include <fmt/format.h>

namespace kzgen {

namespace {

void rejectUnknown(const Attribute& attribute, const AttributeRules& rules, Diagnostics& diagnostics) {
    std::vector<std::string_view> names;
    for (const AttributeRule& rule : rules) names.push_back(rule.name);
    const std::string expected =
        names.empty() ? "attributes only on interfaces, services, methods and groups of constants"
                      : fmt::format("one of {}{}", fmt::join(names, ", "), didYouMean(attribute.name.text, names));
    diagnostics.error(attribute.name.at, "attribute " + inQuotes(attribute.name.text), expected);
}

bool hasRightArgument(const Attribute& attribute, Argument expected, Diagnostics& diagnostics) {
    const bool has = attribute.argument.has_value();
    if (expected == Argument::Text && (!has || attribute.argument->kind != TokenKind::Text)) {
        diagnostics.error(has ? attribute.argument->at : attribute.name.at,
                          has ? describe(*attribute.argument) : inQuotes(attribute.name.text) + " without a value",
                          fmt::format("{}(\"TEXT\")", attribute.name.text));
        return false;
    }
    if (expected == Argument::None && has) {
        diagnostics.error(attribute.argument->at, describe(*attribute.argument),
                          inQuotes(attribute.name.text) + " without a value");
        return false;
    }
    return true;
}

}  // namespace

Attributes readAttributes(TokenStream& tokens) {
    Attributes all;
    if (!tokens.accept("[")) return all;
    do {
        Attribute attribute{tokens.expectName("an attribute"), std::nullopt};
        if (tokens.accept("(")) {
            attribute.argument = tokens.take();
            tokens.expect(")");
        }
        all.push_back(std::move(attribute));
    } while (tokens.accept(","));
    tokens.expect("]");
    return all;
}

Attributes fitting(const Attributes& attributes, const AttributeRules& rules, Diagnostics& diagnostics) {
    Attributes good;
    for (const Attribute& attribute : attributes) {
        const auto isNamed = [&](std::string_view name) { return name == attribute.name.text; };
        const auto rule = std::find_if(rules.begin(), rules.end(), [&](const auto& r) { return isNamed(r.name); });
        const bool again = std::any_of(good.begin(), good.end(), [&](const auto& a) { return isNamed(a.name.text); });
        if (rule == rules.end()) rejectUnknown(attribute, rules, diagnostics);
        else if (again)
            diagnostics.error(attribute.name.at, "attribute " + inQuotes(attribute.name.text) + " again",
                              "each attribute once");
        else if (hasRightArgument(attribute, rule->argument, diagnostics)) good.push_back(attribute);
    }
    return good;
}

}  // namespace kzgen
