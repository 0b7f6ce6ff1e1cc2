// Letter case and quoted text.
#include "text.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace kzgen {

bool isUpper(char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; }

char toLower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

std::string toLower(std::string_view text) {
    std::string lower;
    std::ranges::transform(text, std::back_inserter(lower), [](char c) { return toLower(c); });
    return lower;
}

std::string toUpper(std::string_view text) {
    std::string upper;
    std::ranges::transform(text, std::back_inserter(upper),
                           [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    return upper;
}

std::string escaped(std::string_view text, char quote) {
    std::string result;
    for (const char c : text) {
        if (c == '\\' || c == quote || c == '\n' || c == '\t') result += '\\';
        result += c == '\n' ? 'n' : c == '\t' ? 't' : c;
    }
    return result;
}

std::string literal(std::string_view text, char quote) { return quote + escaped(text, quote) + quote; }

}  // namespace kzgen
