// Texts that cross interfaces: null texts, buffers of callers, and identifiers and codes as text.
#pragma once

#include "kz/base/types.h"
#include "kz/result.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace kzhost {

// Copies a text into a caller's buffer as a NUL-terminated string. Returns SHORTBUFFER if it had to be truncated.
KzResult kzFillText(std::string_view text, char* buffer, std::uint32_t length) noexcept;

// A view of an input text; empty for a null pointer.
inline std::string_view kzTextOf(const char* text) noexcept { return text != nullptr ? text : std::string_view(); }

// As above, as a string.
inline std::string kzString(const char* text) { return std::string(kzTextOf(text)); }

// The text that `operation(&text)` answers; empty when it fails or answers null.
template <class Operation> std::string kzAnswer(const Operation& operation) {
    const char* text = nullptr;
    return kzSucceeded(operation(&text)) ? kzString(text) : std::string();
}

// Reads a text with `read(buffer, length)` into a buffer that grows until the text fits. Returns the code of a failure,
// which leaves the text empty.
template <class Read> KzResult kzReadText(std::string& text, const Read& read) {
    constexpr std::size_t longest = std::size_t{1}
                                    << 26U;  // an object that is never satisfied must not take all memory
    KzResult code = KZe_SHORTBUFFER;
    for (std::size_t size = 256; code == KZe_SHORTBUFFER && size <= longest; size *= 2) {
        text.assign(size, '\0');
        code = read(text.data(), static_cast<std::uint32_t>(size));
    }
    text.resize(kzFailed(code) ? 0 : std::min(text.size(), text.find('\0')));
    return code;
}

std::string kzGuidText(const KzGuid& guid);
// Reads 8-4-4-4-12 hexadecimal digits in either letter case.
std::optional<KzGuid> kzGuidOfText(std::string_view text) noexcept;

// A code as eight hexadecimal digits.
std::string kzCodeDigits(KzResult code);
// The code's name, or its digits where it has none.
std::string kzCodeName(KzResult code);
std::optional<KzResult> kzCodeOfName(std::string_view name) noexcept;

// Strips the log's inline style markup: the byte 0x03 and the parenthesised group after it.
std::string kzWithoutMarkup(std::string_view text);

}  // namespace kzhost

using namespace kzhost;  // for the sources outside of the namespace
