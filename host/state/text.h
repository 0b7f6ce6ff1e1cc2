// Texts that cross interfaces: into a caller's buffer, and identifiers and codes as text.
#pragma once

#include "kz/base/text.h"

#include <optional>
#include <string>
#include <string_view>

namespace kzhost {

// Copies a text into a caller's buffer. What does not fit is cut off and SHORTBUFFER says so.
KzResult kzFillText(std::string_view text, char* buffer, std::uint32_t length) noexcept;

std::string kzGuidText(const KzGuid& guid);
// Reads 8-4-4-4-12 hexadecimal digits in either letter case.
std::optional<KzGuid> kzGuidOfText(std::string_view text) noexcept;

// A code as eight hexadecimal digits.
std::string kzCodeDigits(KzResult code);
// The code's name, or its digits where it has none.
std::string kzCodeName(KzResult code);
std::optional<KzResult> kzCodeOfName(std::string_view name) noexcept;

// Without the log's inline style markup: the byte 0x03 and the parenthesised group after it.
std::string kzWithoutMarkup(std::string_view text);

}  // namespace kzhost

using namespace kzhost;  // for the sources outside of the namespace
