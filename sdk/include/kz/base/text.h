// Texts that cross interfaces: inputs that may be null, and outputs that are written into a caller's buffer.
#pragma once

#include "kz/result.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

// A NUL-terminated text, or an empty one for null.
inline std::string_view kzTextOf(const char* text) noexcept { return text != nullptr ? text : std::string_view(); }

// Reads a text with `read(buffer, length)`, and repeats that with a longer buffer for as long as the operation answers
// SHORTBUFFER. Any other failure leaves the text empty and is returned. The buffers are not initialised, so that one that
// is far too long costs no more than what is written to it, and few calls reach a long text.
template <class Read> KzResult kzReadText(std::string& text, const Read& read) {
    constexpr std::size_t longest = std::size_t{1} << 31U;  // for an operation that is never satisfied
    text.clear();
    for (std::size_t size = 256;; size = std::min(size * 16, longest)) {
        const auto buffer = std::make_unique_for_overwrite<char[]>(size);
        buffer[0] = '\0';
        const KzResult code = read(buffer.get(), static_cast<std::uint32_t>(size));
        if (kzSucceeded(code)) text.assign(buffer.get(), std::find(buffer.get(), buffer.get() + size, '\0'));
        if (code != KZe_SHORTBUFFER || size == longest) return code;
    }
}
