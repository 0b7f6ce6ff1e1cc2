// Command strings: `!name first key:value key:{text with blanks} "quoted" other:?`
#pragma once

#include "kz/base/types.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// What is wrong with a command string: a code and a full sentence. Thrown.
struct CommandTextError {
    KzResult code;
    std::string text;
};

// One argument as it is written.
struct ArgumentText {
    std::string name;  // empty for one that is known by its place
    std::string value;
    bool isQuery = false;  // a question mark that is neither quoted nor in braces
    std::size_t at = 0;    // where it begins, counted from 1
};

// The flags of execution that the marks in front of a command set, and the string without them.
struct MarkedCommand {
    std::uint32_t flags = 0;
    std::string rest;
};
MarkedCommand kzStripMarks(std::uint32_t flags, std::string_view text);

// The first word, which may stand in braces or quotes, and what follows it.
std::string kzFirstWord(std::string_view text, std::string_view* rest = nullptr);

// The arguments that follow a command's name. Throws CommandTextError.
std::vector<ArgumentText> kzParseArguments(std::string_view text);

// A value written so that it is read back as it is.
std::string kzWriteArgument(std::string_view value);

}  // namespace kzhost
