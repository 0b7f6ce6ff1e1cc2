// Messages.
#include "host/message.h"

#include "host/text.h"

#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

namespace {

std::string textIn(IKzMessage& message, KzResult (IKzMessage::*get)(const char**)) {
    const char* text = nullptr;
    return kzSucceeded((message.*get)(&text)) && text != nullptr ? text : std::string();
}

std::string argumentOf(IKzMessage& message, std::uint32_t index) {
    const char* text = nullptr;
    return kzSucceeded(message.Argument(index, &text)) && text != nullptr ? text : std::string();
}

// A table's text is fixed, the arguments are not: a percent sign in an argument means nothing.
std::string filledIn(std::string_view text, IKzMessage& message) {
    std::string filled;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool names = text[at] == '%' && at + 1 < text.size() && text[at + 1] >= '1' && text[at + 1] <= '9';
        if (names) filled += argumentOf(message, static_cast<std::uint32_t>(text[++at] - '0'));
        else filled += text[at];
    }
    return filled;
}

std::string asTheyAre(const std::string& table, const std::string& key, IKzMessage& message) {
    std::string text = table + ":" + key;
    for (std::uint32_t index = 1; index <= kzMessageArguments; ++index)
        if (const std::string argument = argumentOf(message, index); !argument.empty()) text += " \"" + argument + "\"";
    return text;
}

}  // namespace

std::uint32_t CMessage::msg_Code() { return m_code; }

KzResult CMessage::msg_SetCode(std::uint32_t code) {
    m_code = code;
    return KZe_OK;
}

KzResult CMessage::msg_SetMessage(const char* table, const char* key, std::uint32_t id) {
    m_table = kzTextOf(table);
    m_key = key != nullptr ? key : std::to_string(id);
    return KZe_OK;
}

KzResult CMessage::msg_SetArgumentInt(std::uint32_t index, std::int32_t value) {
    return msg_SetArgumentString(index, std::to_string(value).c_str());
}

KzResult CMessage::msg_SetArgumentFloat(std::uint32_t index, double value) {
    return msg_SetArgumentString(index, fmt::format("{}", value).c_str());
}

KzResult CMessage::msg_SetArgumentString(std::uint32_t index, const char* text) {
    if (index < 1 || index > kzMessageArguments) return KZe_OUTOFBOUNDS;
    m_arguments[index - 1] = kzTextOf(text);
    return KZe_OK;
}

KzResult CMessage::msg_SetArgumentObject(std::uint32_t index, IKzUnknown* value) {
    const CKzUser_Value held(value);
    if (!held) return KZe_INVALIDARG;
    char text[1024];
    const KzResult code = held->GetString(text, sizeof text);
    return kzFailed(code) && code != KZe_SHORTBUFFER ? code : msg_SetArgumentString(index, text);
}

KzResult CMessage::msg_Table(const char** table) {
    *table = m_table.c_str();
    return KZe_OK;
}

KzResult CMessage::msg_Key(const char** key) {
    *key = m_key.c_str();
    return KZe_OK;
}

KzResult CMessage::msg_Argument(std::uint32_t index, const char** text) {
    if (index < 1 || index > kzMessageArguments) return KZe_OUTOFBOUNDS;
    *text = m_arguments[index - 1].c_str();
    return KZe_OK;
}

void CMessage::copyFrom(IKzMessage& other) {
    m_code = other.Code();
    m_table = textIn(other, &IKzMessage::Table);
    m_key = textIn(other, &IKzMessage::Key);
    for (std::uint32_t index = 1; index <= kzMessageArguments; ++index)
        m_arguments[index - 1] = argumentOf(other, index);
}

KzResult CMessage::msg_Reset() {
    *this = CMessage();
    return KZe_OK;
}

std::string CMessageTables::reasonOf(IKzMessage& message, KzResult code) const {
    const bool isEmpty = textIn(message, &IKzMessage::Key).empty() && kzSucceeded(message.Code());
    return isEmpty ? codeText(code) : textOf(message);
}

std::string CMessageTables::textOf(IKzMessage& message) const {
    const std::string table = textIn(message, &IKzMessage::Table);
    const std::string key = textIn(message, &IKzMessage::Key);
    if (key.empty()) return codeText(message.Code());
    const auto text = find(table, key);
    return text ? filledIn(*text, message) : asTheyAre(table, key, message);
}
