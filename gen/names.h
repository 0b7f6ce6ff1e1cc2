// Rules for names: what is described must be a usable name in every generated language.
#pragma once

#include <string_view>

namespace kzgen {

// Interfaces, services, methods and tables: a capital, then letters and digits. That keeps them apart from the words of
// the languages, from what every wrapper has (`set`, `test`) and from names that a language gives a meaning (`__eq__`).
[[nodiscard]] bool isTypeName(std::string_view name);
[[nodiscard]] bool isMethodName(std::string_view name);
// Parameters: a small letter, then letters and digits; no word of C++, and nothing that generated code calls its own.
[[nodiscard]] bool isParameterName(std::string_view name);
// Constants and codes, which get a prefix: C++ keeps names with two underscores in a row for itself.
[[nodiscard]] bool isSymbolName(std::string_view name);

}  // namespace kzgen
