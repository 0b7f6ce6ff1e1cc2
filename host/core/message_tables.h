// The host's message tables, and the meanings of result codes.
#pragma once

#include "kz/message.h"

#include <optional>
#include <string>
#include <string_view>

namespace kzhost {

class CMessageTables {
public:
    // The text with its arguments filled in. Without a key it is the meaning of the code; for an unknown key it shows
    // table, key and arguments as they are.
    static std::string textOf(IKzMessage& message);
    // The reason why an operation failed: the message's text, or the meaning of the code if the message is empty.
    static std::string reasonOf(IKzMessage& message, KzResult code);
    static std::optional<std::string_view> find(std::string_view table, std::string_view key);
    // The meaning of a result code, without a full stop.
    static std::string codeText(KzResult code);
};

}  // namespace kzhost
