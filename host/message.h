// Messages and the tables that hold their texts.
#pragma once

#include "host/object.h"

#include "kz/message.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

// How many arguments a message text can name: %1 to %9.
inline constexpr std::uint32_t kzMessageArguments = 9;

class CMessage final : public CHosted<"message", CMessage, CKzIfc_Message> {
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

    bool isSilent() const { return kzSucceeded(m_code) && m_key.empty(); }
    // Takes over what another message says.
    void copyFrom(IKzMessage& other);

private:
    KzResult m_code = 0;
    std::string m_table;
    std::string m_key;
    std::array<std::string, kzMessageArguments> m_arguments;
};

class CMessageTables {
public:
    // The text with its arguments in place. A message without a key gives the text of its code; one whose key has no
    // text shows table, key and arguments as they are.
    std::string textOf(IKzMessage& message) const;
    // Why an operation failed with that code, as its message says; a message that says nothing leaves it to the code.
    std::string reasonOf(IKzMessage& message, KzResult code) const;
    std::optional<std::string_view> find(std::string_view table, std::string_view key) const;
    // What a result code means, in a sentence without a full stop.
    static std::string codeText(KzResult code);
};
