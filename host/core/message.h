// Messages: a result code, and a text of the message tables with its arguments.
#pragma once

#include "host/core/object.h"
#include "host/state/script_outcome.h"

#include "kz/message.h"

#include <array>
#include <string>

namespace kzhost {

// How many arguments a message text can name: %1 to %9.
inline constexpr std::uint32_t kzMessageArguments = 9;

class CMessage final : public CHosted<"message", CMessage, CKzIfc_Message, CHeardOutcome> {
public:
    std::uint32_t msg_Code() override;
    KzResult msg_SetCode(std::uint32_t code) override;
    KzResult msg_SetMessage(const char* table, const char* key, std::uint32_t id) override;
    KzResult msg_SetArgumentInt(std::uint32_t index, std::int32_t value) override;
    KzResult msg_SetArgumentFloat(std::uint32_t index, double value) override;
    KzResult msg_SetArgumentString(std::uint32_t index, const char* text) override;
    KzResult msg_SetArgumentObject(std::uint32_t index, IKzUnknown* value) override;
    KzResult msg_Table(const char** table) override;
    KzResult msg_Key(const char** key) override;
    KzResult msg_Argument(std::uint32_t index, const char** text) override;
    KzResult msg_Reset() override;

    bool hasText() const { return !m_key.empty(); }
    bool isSilent() const { return kzSucceeded(m_code) && !hasText(); }
    // Copies the contents of another message.
    void copyFrom(IKzMessage& other);

private:
    KzResult m_code = 0;
    std::string m_table;
    std::string m_key;
    std::array<std::string, kzMessageArguments> m_arguments;
};

// The table or key of any message, and one of its arguments; empty if there is none.
std::string kzMessageText(IKzMessage& message, KzResult (IKzMessage::*get)(const char**));
std::string kzMessageArgument(IKzMessage& message, std::uint32_t index);

}  // namespace kzhost
