// SHA-1 as published, and version 5 GUIDs, which are made with it.
#include "sha1.h"

#include <bit>

#include <fmt/format.h>

namespace kzgen {

namespace {

using State = std::array<std::uint32_t, 5>;

// The message with its end mark and its length in bits, in whole blocks of 64 bytes.
std::string padded(std::string_view data) {
    std::string message(data);
    message += '\x80';
    message.resize((message.size() + 8 + 63) / 64 * 64 - 8, '\0');
    const std::uint64_t bits = std::uint64_t{data.size()} * 8;
    for (int shift = 56; shift >= 0; shift -= 8) message += static_cast<char>(bits >> shift);
    return message;
}

std::array<std::uint32_t, 80> schedule(std::string_view block) {
    std::array<std::uint32_t, 80> words{};
    for (std::size_t i = 0; i < 64; ++i) words[i / 4] = words[i / 4] << 8 | static_cast<std::uint8_t>(block[i]);
    for (std::size_t i = 16; i < words.size(); ++i)
        words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
    return words;
}

std::uint32_t mix(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    switch (round / 20) {
    case 0: return ((b & c) | (~b & d)) + 0x5A827999;
    case 1: return (b ^ c ^ d) + 0x6ED9EBA1;
    case 2: return ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDC;
    default: return (b ^ c ^ d) + 0xCA62C1D6;
    }
}

void addBlock(State& state, std::string_view block) {
    const auto words = schedule(block);
    auto [a, b, c, d, e] = state;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::uint32_t next = std::rotl(a, 5) + mix(i, b, c, d) + e + words[i];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d, state[4] + e};
}

// The name space of every GUID minted for this SDK. It must never change, as the GUIDs would change with it.
constexpr std::array<std::uint8_t, 16> nameSpace = {0x89, 0xBF, 0x75, 0x8B, 0xDE, 0xF6, 0x44, 0x0D,
                                                    0x8A, 0x32, 0x96, 0x8D, 0x88, 0x00, 0x50, 0x77};

}  // namespace

Sha1 sha1(std::string_view data) {
    State state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    const std::string message = padded(data);
    for (std::size_t at = 0; at < message.size(); at += 64) addBlock(state, std::string_view(message).substr(at, 64));
    Sha1 digest{};
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    return digest;
}

std::string toHex(const Sha1& digest) {
    std::string text;
    for (const std::uint8_t byte : digest) text += fmt::format("{:02x}", byte);
    return text;
}

std::string mintGuid(std::string_view name) {
    std::string data(nameSpace.begin(), nameSpace.end());
    data += name;
    Sha1 digest = sha1(data);
    digest[6] = static_cast<std::uint8_t>((digest[6] & 0x0F) | 0x50);  // version 5
    digest[8] = static_cast<std::uint8_t>((digest[8] & 0x3F) | 0x80);  // the common variant
    std::string text;
    for (std::size_t i = 0; i < 16; ++i)
        text += fmt::format("{}{:02X}", i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "", digest[i]);
    return text;
}

}  // namespace kzgen
