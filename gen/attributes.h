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

// The argument that an attribute takes in parentheses.
enum class Argument { None, Text, Optional };

struct AttributeRule {
    std::string_view name;
    Argument argument;
};

using AttributeRules = std::vector<AttributeRule>;

// "[NAME, NAME(ARGUMENT), ...]", or nothing.
Attributes readAttributes(TokenStream& tokens);

// The attributes that are allowed here, each once and with the argument that it needs; reports all others.
Attributes fitting(const Attributes& attributes, const AttributeRules& rules, Diagnostics& diagnostics);

}  // namespace kzgen
