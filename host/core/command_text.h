// Command strings: `!name first key:value key:{text with blanks} "quoted ""text""" other:?`. A blank has to follow the name,
// because scripting modules pass on what follows the first blank. Elsewhere tabs and line ends separate as well. Between
// quotes any text can be written, with each of its quotes doubled.
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
    bool isQuery = false;   // a question mark that is neither quoted nor in braces
    bool isQuoted = false;  // the value is meant as it is, even if it looks like a toggle's
    std::size_t at = 0;     // its position in the string, counted from 1
};

// The execution flags set by the marks in front of a command, and the string without the marks.
struct MarkedCommand {
    std::uint32_t flags = 0;
    std::string rest;
};
MarkedCommand kzStripMarks(std::uint32_t flags, std::string_view text);

inline bool kzIsBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The first word, which may be in braces or quotes, and the rest of the text.
std::string kzFirstWord(std::string_view text, std::string_view* rest = nullptr);

// True if a command string can begin with this name: a word without braces and quotes that does not begin with a mark.
bool kzIsCommandName(std::string_view name) noexcept;
// Throws CommandTextError if no blank separates the name from the first argument.
void kzRequireBlankAfterName(std::string_view text);

// The arguments that follow a command's name. Throws CommandTextError.
std::vector<ArgumentText> kzParseArguments(std::string_view text);

// The argument in a form that parses back to the same name and value.
std::string kzWriteArgument(std::string_view name, std::string_view value);

}  // namespace kzhost
