// Messages.
#include "host/core/message.h"

#include "host/core/values.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

namespace kzhost {

std::string kzMessageText(IKzMessage& message, KzResult (IKzMessage::*get)(const char**)) {
    return kzAnswer([&](const char** text) { return (message.*get)(text); });
}

std::string kzMessageArgument(IKzMessage& message, std::uint32_t index) {
    return kzAnswer([&](const char** text) { return message.Argument(index, text); });
}

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
    if (!CKzUser_Value(value)) return KZe_INVALIDARG;
    return msg_SetArgumentString(index, kzValueText(value).c_str());
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
    m_table = kzMessageText(other, &IKzMessage::Table);
    m_key = kzMessageText(other, &IKzMessage::Key);
    for (std::uint32_t index = 1; index <= kzMessageArguments; ++index)
        m_arguments[index - 1] = kzMessageArgument(other, index);
}

KzResult CMessage::msg_Reset() {
    *this = CMessage();
    return KZe_OK;
}

}  // namespace kzhost
