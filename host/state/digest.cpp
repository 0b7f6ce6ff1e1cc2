// Digests of bytes. The three cryptographic ones work on blocks of 16 words, the last of which ends with the length in bits,
// and differ in the order of bytes, the state, and what a block does to it.
#include "host/state/digest.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace kzhost {

namespace {

using Block = std::array<std::uint32_t, 16>;

std::string hexadecimal(std::uint32_t word) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08x", word);
    return text.data();
}

// Where the byte stands in its word.
template <bool isBigEndian> unsigned shiftOf(std::size_t byte) {
    const auto place = static_cast<unsigned>(byte % 4);
    return 8 * (isBigEndian ? 3 - place : place);
}

// Calls `use` with each block of the padded bytes.
template <bool isBigEndian, class Use> void eachBlock(std::span<const unsigned char> bytes, const Use& use) {
    const std::size_t blocks = (bytes.size() + 8) / 64 + 1;
    const std::uint64_t bits = std::uint64_t{bytes.size()} * 8;
    for (std::size_t at = 0; at < blocks; ++at) {
        Block block{};
        for (std::size_t byte = 0; byte < 64; ++byte) {
            const std::size_t from = at * 64 + byte;
            const std::uint32_t value = from < bytes.size() ? bytes[from] : (from == bytes.size() ? 0x80U : 0U);
            block[byte / 4] |= value << shiftOf<isBigEndian>(byte);
        }
        if (at + 1 == blocks) {
            block[isBigEndian ? 15 : 14] = static_cast<std::uint32_t>(bits);
            block[isBigEndian ? 14 : 15] = static_cast<std::uint32_t>(bits >> 32U);
        }
        use(block);
    }
}

template <std::size_t size>
void addTo(std::array<std::uint32_t, size>& state, const std::array<std::uint32_t, size>& more) {
    for (std::size_t at = 0; at < size; ++at) state[at] += more[at];
}

// The first 32 bits of the fractions of square (power 1/2) or cube roots (1/3) of the first primes.
template <std::size_t size> std::array<std::uint32_t, size> fractionsOfRoots(long double power) {
    std::array<std::uint32_t, size> fractions{};
    std::size_t count = 0;
    for (unsigned number = 2; count < size; ++number) {
        bool isPrime = true;
        for (unsigned factor = 2; factor * factor <= number; ++factor) isPrime = isPrime && number % factor != 0;
        if (!isPrime) continue;
        const long double root = std::pow(static_cast<long double>(number), power);
        fractions[count++] = static_cast<std::uint32_t>((root - std::floor(root)) * 4294967296.0L);
    }
    return fractions;
}

}  // namespace

std::string kzCrc32(std::span<const unsigned char> bytes) {
    std::uint32_t rest = 0xFFFFFFFFU;
    for (const unsigned char byte : bytes) {
        rest ^= byte;
        for (int bit = 0; bit < 8; ++bit) rest = rest >> 1U ^ ((rest & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return hexadecimal(~rest);
}

std::string kzMd5(std::span<const unsigned char> bytes) {
    static constexpr std::array<std::array<int, 4>, 4> turns{
        {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};
    static constexpr std::array<std::array<unsigned, 2>, 4> picks{
        {{1, 0}, {5, 1}, {3, 5}, {7, 0}}};  // factor and offset of the word
    std::array<std::uint32_t, 4> state{0x67452301U, 0xEFCDAB89U, 0x98BADCFEU, 0x10325476U};
    eachBlock<false>(bytes, [&](const Block& block) {
        auto [a, b, c, d] = state;
        for (unsigned step = 0; step < 64; ++step) {
            const unsigned round = step / 16;
            const std::array<std::uint32_t, 4> mixes{(b & c) | (~b & d), (d & b) | (~d & c), b ^ c ^ d, c ^ (b | ~d)};
            const auto constant =
                static_cast<std::uint32_t>(std::fabs(std::sin(static_cast<double>(step + 1))) * 4294967296.0);
            const std::uint32_t word = block[(picks[round][0] * step + picks[round][1]) % 16];
            const std::uint32_t turned = std::rotl(a + mixes[round] + constant + word, turns[round][step % 4]);
            a = d;
            d = c;
            c = b;
            b += turned;
        }
        addTo(state, {a, b, c, d});
    });
    std::string text;
    for (const std::uint32_t word : state) {
        const std::uint32_t swapped = word >> 24U | (word >> 8U & 0xFF00U) | (word << 8U & 0xFF0000U) | word << 24U;
        text += hexadecimal(swapped);
    }
    return text;
}

std::string kzSha1(std::span<const unsigned char> bytes) {
    std::array<std::uint32_t, 5> state{0x67452301U, 0xEFCDAB89U, 0x98BADCFEU, 0x10325476U, 0xC3D2E1F0U};
    eachBlock<true>(bytes, [&](const Block& block) {
        std::array<std::uint32_t, 80> words{};
        for (std::size_t at = 0; at < words.size(); ++at)
            words[at] =
                at < 16 ? block[at] : std::rotl(words[at - 3] ^ words[at - 8] ^ words[at - 14] ^ words[at - 16], 1);
        auto [a, b, c, d, e] = state;
        for (std::size_t step = 0; step < words.size(); ++step) {
            const std::array<std::uint32_t, 4> mixes{(b & c) | (~b & d), b ^ c ^ d, (b & c) | (b & d) | (c & d),
                                                     b ^ c ^ d};
            static constexpr std::array<std::uint32_t, 4> constants{0x5A827999U, 0x6ED9EBA1U, 0x8F1BBCDCU, 0xCA62C1D6U};
            const std::uint32_t turned = std::rotl(a, 5) + mixes[step / 20] + e + constants[step / 20] + words[step];
            e = d;
            d = c;
            c = std::rotl(b, 30);
            b = a;
            a = turned;
        }
        addTo(state, {a, b, c, d, e});
    });
    std::string text;
    for (const std::uint32_t word : state) text += hexadecimal(word);
    return text;
}

std::string kzSha256(std::span<const unsigned char> bytes) {
    static const auto constants = fractionsOfRoots<64>(1.0L / 3.0L);
    auto state = fractionsOfRoots<8>(0.5L);
    eachBlock<true>(bytes, [&](const Block& block) {
        std::array<std::uint32_t, 64> words{};
        for (std::size_t at = 0; at < words.size(); ++at) {
            if (at < 16) {
                words[at] = block[at];
                continue;
            }
            const std::uint32_t near = words[at - 2], far = words[at - 15];
            words[at] = words[at - 16] + (std::rotr(far, 7) ^ std::rotr(far, 18) ^ far >> 3U) + words[at - 7] +
                        (std::rotr(near, 17) ^ std::rotr(near, 19) ^ near >> 10U);
        }
        auto [a, b, c, d, e, f, g, h] = state;
        for (std::size_t step = 0; step < words.size(); ++step) {
            const std::uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                        ((e & f) ^ (~e & g)) + constants[step] + words[step];
            const std::uint32_t second =
                (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
            h = g;
            g = f;
            f = e;
            e = d + first;
            d = c;
            c = b;
            b = a;
            a = first + second;
        }
        addTo(state, {a, b, c, d, e, f, g, h});
    });
    std::string text;
    for (const std::uint32_t word : state) text += hexadecimal(word);
    return text;
}

}  // namespace kzhost
