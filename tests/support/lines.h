// Texts of several lines, indented as the code around them is.
#pragma once

#include <stdexcept>
#include <string>

// The lines of a raw string without the indentation that they share with the first one, which stands below the opening
// parenthesis. The closing one stands behind the last line, which gets its line feed.
inline std::string operator""_lines(const char* text, std::size_t size) {
    std::string lines(text, size);
    const std::string indentation = lines.substr(0, lines.find_first_not_of(' ', 1));
    if (!indentation.starts_with('\n')) throw std::invalid_argument("text beside the opening parenthesis");
    for (std::size_t at = 0; (at = lines.find(indentation, at)) != std::string::npos; ++at)
        lines.erase(at + 1, indentation.size() - 1);
    return lines.erase(0, 1) + "\n";
}
