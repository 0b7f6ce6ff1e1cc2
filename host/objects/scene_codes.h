// Codes of four characters in scene files: "MTRL", or "#0000002a" where a character could not be read.
#pragma once

#include "host/objects/scene_words.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <string>

namespace kzhost {

inline std::string kzCodeText(std::uint32_t code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift & 0xFFU);
    for (const char each : text)
        if (each <= ' ' || each > '~') return fmt::format("#{:08x}", code);
    return text;
}

inline std::uint32_t kzReadCode(CSceneWords& in) {
    const std::string text = in.text();
    std::uint32_t code = 0;
    if (text.size() == 4) {
        for (const char each : text) code = code << 8U | static_cast<unsigned char>(each);
        return code;
    }
    const char* end = text.data() + text.size();
    if (text.size() != 9 || text[0] != '#' || std::from_chars(text.data() + 1, end, code, 16).ptr != end)
        in.fail("a code is four characters, or # and eight hexadecimal digits");
    return code;
}

}  // namespace kzhost
