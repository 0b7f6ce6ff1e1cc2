// Command strings: `!name first key:value key:{text with blanks} "quoted" other:?`
#pragma once

#include "kz/base/types.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// An exception: what is wrong with a command string, as a code and a full sentence.
struct CommandTextError {
    KzResult code;
    std::string text;
};

// One argument as written in the string.
struct ArgumentText {
    std::string name;  // empty for a positional argument
    std::string value;
    bool isQuery = false;  // a question mark that is neither quoted nor in braces
    std::size_t at = 0;    // its position in the string, counted from 1
};

// The execution flags set by the marks in front of a command, and the string without the marks.
struct MarkedCommand {
    std::uint32_t flags = 0;
    std::string rest;
};
MarkedCommand kzStripMarks(std::uint32_t flags, std::string_view text);

// The first word, which may be in braces or quotes, and the rest of the text.
std::string kzFirstWord(std::string_view text, std::string_view* rest = nullptr);

// The arguments that follow a command's name. Throws CommandTextError.
std::vector<ArgumentText> kzParseArguments(std::string_view text);

// The value in a form that parses back to the same value.
std::string kzWriteArgument(std::string_view value);

}  // namespace kzhost
