// The host's own texts: its message tables, and what result codes mean.
#pragma once

#include "kz/message.h"

#include <optional>
#include <string>
#include <string_view>

namespace kzhost {

class CMessageTables {
public:
    // The text with its arguments in place. A message without a key gives the text of its code; one whose key has no
    // text shows table, key and arguments as they are.
    static std::string textOf(IKzMessage& message);
    // Why an operation failed with that code, as its message says; a message that says nothing leaves it to the code.
    static std::string reasonOf(IKzMessage& message, KzResult code);
    static std::optional<std::string_view> find(std::string_view table, std::string_view key);
    // What a result code means, in a sentence without a full stop.
    static std::string codeText(KzResult code);
};

}  // namespace kzhost
