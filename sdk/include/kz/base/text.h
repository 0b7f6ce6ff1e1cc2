// Texts that cross interfaces: inputs that may be null, and outputs that are written into a caller's buffer.
#pragma once

#include "kz/result.h"

#include <algorithm>
#include <string>
#include <string_view>

// A NUL-terminated text, or an empty one for null.
inline std::string_view kzTextOf(const char* text) noexcept { return text != nullptr ? text : std::string_view(); }

// Reads a text with `read(buffer, length)`, and repeats that with a longer buffer for as long as the operation answers
// SHORTBUFFER. Any other failure leaves the text empty and is returned.
template <class Read> KzResult kzReadText(std::string& text, const Read& read) {
    constexpr std::size_t longest = std::size_t{1} << 26U;  // for an operation that is never satisfied
    KzResult code = KZe_SHORTBUFFER;
    for (std::size_t size = 256; code == KZe_SHORTBUFFER && size <= longest; size *= 2) {
        text.assign(size, '\0');
        code = read(text.data(), static_cast<std::uint32_t>(size));
    }
    text.resize(kzFailed(code) ? 0 : std::min(text.size(), text.find('\0')));
    return code;
}
