// Texts that cross interfaces.
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/tables.h"

#include <array>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace kzhost {

namespace {

// How much of the text fits without cutting a UTF-8 character in two.
std::size_t wholeCharacters(std::string_view text, std::size_t room) noexcept {
    if (text.size() <= room) return text.size();
    while (room > 0 && (static_cast<unsigned char>(text[room]) & 0xC0U) == 0x80U) --room;
    return room;
}

template <class Number> bool readHex(std::string_view digits, Number& number) noexcept {
    const char* end = digits.data() + digits.size();
    const auto [stopped, error] = std::from_chars(digits.data(), end, number, 16);
    return error == std::errc() && stopped == end;
}

}  // namespace

const char* kzLend(std::string text) {
    thread_local std::array<std::string, 8> theTexts;
    thread_local std::size_t theNext = 0;
    std::string& place = theTexts[theNext++ % theTexts.size()];
    place = std::move(text);
    return place.c_str();
}

KzResult kzFillText(std::string_view text, char* buffer, std::uint32_t length) noexcept {
    if (buffer == nullptr) return KZe_INVALIDARG;
    if (length == 0) return KZe_SHORTBUFFER;
    const std::size_t fits = wholeCharacters(text, length - 1);
    std::copy_n(text.data(), fits, buffer);
    buffer[fits] = '\0';
    return fits == text.size() ? KZe_OK : KZe_SHORTBUFFER;
}

std::string kzGuidText(const KzGuid& guid) {
    const auto& tail = guid.data4;
    return fmt::format("{:08X}-{:04X}-{:04X}-{:02X}{:02X}-{:02X}{:02X}{:02X}{:02X}{:02X}{:02X}", guid.data1, guid.data2,
                       guid.data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
}

std::optional<KzGuid> kzGuidOfText(std::string_view text) noexcept {
    if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') return {};
    KzGuid guid{};
    bool good = readHex(text.substr(0, 8), guid.data1) && readHex(text.substr(9, 4), guid.data2) &&
                readHex(text.substr(14, 4), guid.data3);
    for (std::size_t index = 0; index < 8; ++index)
        good = good && readHex(text.substr(index < 2 ? 19 + index * 2 : 20 + index * 2, 2), guid.data4[index]);
    return good ? std::optional(guid) : std::nullopt;
}

std::string kzCodeDigits(KzResult code) { return fmt::format("{:08x}", code); }

std::string kzCodeName(KzResult code) {
    const auto match = std::find_if(std::rbegin(kzCodeRows), std::rend(kzCodeRows),
                                    [code](const KzCodeRow& row) { return row.code == code; });
    return match != std::rend(kzCodeRows) ? match->name : kzCodeDigits(code);
}

std::optional<KzResult> kzCodeOfName(std::string_view name) noexcept {
    for (const KzCodeRow& row : kzCodeRows)
        if (name == row.name) return row.code;
    return {};
}

std::string kzWithoutMarkup(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool opens = text[at] == '\x03' && at + 1 < text.size() && text[at + 1] == '(';
        const std::size_t end = opens ? text.find(')', at) : std::string_view::npos;
        if (end != std::string_view::npos) at = end;
        else plain += text[at];
    }
    return plain;
}

}  // namespace kzhost
