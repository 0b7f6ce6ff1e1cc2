// Command strings that are still being typed.
#pragma once

#include "host/core/command_arguments.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kzhost {

// Where the last argument begins, which may be empty or not yet closed.
std::size_t kzStartOfLastArgument(std::string_view text);

// The argument in which a text of arguments ends.
struct PartialArgument {
    std::optional<std::uint32_t> index;  // nothing for one that the command does not have
    std::size_t value = 0;               // where its value starts
    bool isNamed = false;
};
// Sets the arguments before it. Without a name it is the first one that has no value and can be set. Throws
// CommandTextError for what is wrong before it.
PartialArgument kzPartialArgument(CCommandArguments& arguments, std::string_view text);

}  // namespace kzhost
