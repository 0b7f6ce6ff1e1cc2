// Texts that cross interfaces: null texts, buffers of callers, and identifiers and codes as text.
#pragma once

#include "kz/base/text.h"
#include "kz/base/types.h"
#include "kz/result.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace kzhost {

// Copies a text into a caller's buffer as a NUL-terminated string. Returns SHORTBUFFER if it had to be truncated.
KzResult kzFillText(std::string_view text, char* buffer, std::uint32_t length) noexcept;

// Keeps a text for a caller who copies it soon. Each thread keeps its last few, so that memory does not grow with the number
// of calls.
const char* kzLend(std::string text);

// The text as a string; empty for a null pointer.
inline std::string kzString(const char* text) { return std::string(kzTextOf(text)); }

// The text that `operation(&text)` answers; empty when it fails or answers null.
template <class Operation> std::string kzAnswer(const Operation& operation) {
    const char* text = nullptr;
    return kzSucceeded(operation(&text)) ? kzString(text) : std::string();
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
