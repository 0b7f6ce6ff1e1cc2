// Command strings that are still being typed.
#include "host/core/partial_arguments.h"

#include "host/core/command_text.h"

#include "kz/command.h"

namespace kzhost {

std::size_t kzStartOfLastArgument(std::string_view text) {
    std::size_t start = 0;
    int depth = 0;
    bool isQuoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"' && depth == 0) isQuoted = !isQuoted;
        if (isQuoted) continue;
        if (text[at] == '{') ++depth;
        if (text[at] == '}' && depth > 0) --depth;
        if (kzIsBlank(text[at]) && depth == 0) start = at + 1;
    }
    return start;
}

PartialArgument kzPartialArgument(CCommandArguments& arguments, std::string_view text) {
    PartialArgument partial{{}, kzStartOfLastArgument(text), false};
    arguments.assign(kzParseArguments(text.substr(0, partial.value)));
    const std::string_view last = text.substr(partial.value);
    const std::size_t colon = last.find_first_of(":{\"");
    partial.isNamed = colon != std::string_view::npos && last[colon] == ':';
    if (partial.isNamed) partial.value += colon + 1;
    for (std::uint32_t index = 0; index < arguments.count() && !partial.index; ++index) {
        const bool isOpen = (arguments.flagsOf(index) & (KZfCMDARG_READONLY | KZfCMDARG_VALUE_SET)) == 0;
        if (partial.isNamed ? arguments.nameOf(index) == last.substr(0, colon) : isOpen) partial.index = index;
    }
    return partial;
}

}  // namespace kzhost
