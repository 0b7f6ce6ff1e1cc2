// The bracketed attributes in front of a declaration.
#pragma once

#include <optional>
#include <vector>

#include "token_stream.h"

namespace kzgen {

struct Attribute {
    Token name;
    std::optional<Token> argument;
};

using Attributes = std::vector<Attribute>;

// What may follow an attribute's name in parentheses.
enum class Argument { None, Text, Optional };

struct AttributeRule {
    std::string_view name;
    Argument argument;
};

using AttributeRules = std::vector<AttributeRule>;

// "[NAME, NAME(ARGUMENT), ...]", or nothing.
Attributes readAttributes(TokenStream& tokens);

// The attributes that may stand here, each once and with what it needs; the others are reported.
Attributes fitting(const Attributes& given, const AttributeRules& rules, Diagnostics& diagnostics);

}  // namespace kzgen
