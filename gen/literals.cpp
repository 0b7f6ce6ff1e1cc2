// Reads numbers.
#include "literals.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace kzgen {

namespace {

bool takePrefix(std::string_view& text, std::string_view prefix) {
    const bool hasPrefix = text.starts_with(prefix);
    text.remove_prefix(hasPrefix ? prefix.size() : 0);
    return hasPrefix;
}

}  // namespace

IntegerValue integerLiteral(const Token& token, Diagnostics& diagnostics) {
    std::string_view digits = token.text;
    const bool negative = takePrefix(digits, "-");
    const bool isLong = digits.ends_with('L');
    digits.remove_suffix(isLong ? 1 : 0);
    const bool hex = takePrefix(digits, "0x") || takePrefix(digits, "0X");
    if (!hex && digits.size() > 1 && digits.front() == '0')  // C++ and Python read an octal one
        diagnostics.error(token.at, describe(token), "an integer without leading zeros");
    std::uint64_t magnitude = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, magnitude, hex ? 16 : 10);
    if (error != std::errc() || stop != end || magnitude > std::uint64_t{INT64_MAX}) {
        diagnostics.error(token.at, describe(token), "a decimal or hexadecimal integer of at most 63 bits");
        magnitude = 0;
    }
    const auto value = static_cast<std::int64_t>(magnitude);
    return {negative ? -value : value, isLong, token.text};
}

RealValue realLiteral(const Token& token, Diagnostics& diagnostics) {
    char* end = nullptr;
    const double value = std::strtod(token.text.c_str(), &end);
    if (*end != '\0' || token.text.find('.') == std::string::npos || !std::isfinite(value))
        diagnostics.error(token.at, describe(token), "a real number with a point, such as 0.5");
    return {value, token.text};
}

IntegerValue charCodeLiteral(const Token& token) {
    IntegerValue code{0, false, inQuotes(token.text)};
    for (const char c : token.text) code.value = code.value << 8 | static_cast<std::uint8_t>(c);
    return code;
}

bool looksReal(const Token& token) {
    const bool hex = token.text.find_first_of("xX") != std::string::npos;
    return !hex && token.text.find_first_of(".eE") != std::string::npos;
}

}  // namespace kzgen
