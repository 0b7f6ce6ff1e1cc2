// Letter case and quoted text, for every language that the generator reads or writes.
#pragma once

#include <string>
#include <string_view>

namespace kzgen {

[[nodiscard]] bool isUpper(char c);
[[nodiscard]] char toLower(char c);
[[nodiscard]] std::string toLower(std::string_view text);
[[nodiscard]] std::string toUpper(std::string_view text);

// The text with backslashes before backslashes and quotes, and with escapes for line feeds and tabs: what stands between
// such quotes in C++ and in Python.
[[nodiscard]] std::string escaped(std::string_view text, char quote);
// As above, with the quotes.
[[nodiscard]] std::string literal(std::string_view text, char quote);

}  // namespace kzgen
