// Whether typed text ends in the middle of something that only further lines can close.
#pragma once

#include <string_view>

// True inside brackets or a string of three quotes, and after a backslash at the end: what follows belongs to the same
// line of the program. The text begins outside of all these; it may be wrong in any way, which is for the interpreter to say.
bool kzIsOpen(std::string_view text);
