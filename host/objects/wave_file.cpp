// WAV files: samples that are not compressed. A file is a list of chunks, each of a name, a size and as many bytes.
#include "host/objects/wave_file.h"

#include "host/core/reasons.h"

#include "kz/audio.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

namespace kzhost {

namespace {

constexpr std::uint32_t integerTag = 1, floatTag = 3, extensibleTag = 0xFFFE;
constexpr std::uintmax_t largestWave = std::uintmax_t{1} << 30U;

using WaveBytes = std::vector<std::uint8_t>;
using WavePart = std::span<const std::uint8_t>;

KzResult refuseWave(KzResult code, const std::string& path, const std::string& why) {
    return kzBecause(code, "WAV file", [&] { return path + ": " + why; });
}

std::uint32_t waveNumber(WavePart part, std::size_t at, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t byte = 0; byte < size; ++byte) number |= std::uint32_t{part[at + byte]} << (8 * byte);
    return number;
}

bool hasName(WavePart part, std::size_t at, const char* name) {
    return part.size() >= at + 4 && std::equal(name, name + 4, part.begin() + static_cast<std::ptrdiff_t>(at));
}

WaveBytes waveBytes(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) throw refuseWave(KZe_NOACCESS, path, error.message());
    if (size > largestWave)
        throw refuseWave(KZe_NOTSUPPORTED, path, fmt::format("it has more than {} bytes", largestWave));
    WaveBytes bytes(size);
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
        throw refuseWave(KZe_NOACCESS, path, "it cannot be read");
    return bytes;
}

// The first chunk of that name. One that the file ends in is refused: half of a sound must not pass for all of it.
std::optional<WavePart> waveChunk(const std::string& path, WavePart file, const char* name) {
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::size_t size = waveNumber(file, at + 4, 4);
        const bool isWanted = hasName(file, at, name);
        at += 8;
        if (size > file.size() - at)
            throw refuseWave(
                KZe_FAILED, path,
                fmt::format("a chunk at byte {} has {} bytes, of which there are {}", at - 8, size, file.size() - at));
        if (isWanted) return file.subspan(at, size);
        at += size + size % 2;
    }
    return std::nullopt;
}

// What is said of the samples. The bits of a sample fill its bytes from the top, so only whole bytes count.
Sound describedWave(const std::string& path, WavePart format) {
    if (format.size() < 16) throw refuseWave(KZe_FAILED, path, "the format is too short");
    std::uint32_t tag = waveNumber(format, 0, 2);
    if (tag == extensibleTag && format.size() >= 26) tag = waveNumber(format, 24, 2);
    const std::uint32_t bits = waveNumber(format, 14, 2), bytes = (bits + 7) / 8;
    const bool isFloat = tag == floatTag && bits == 32;
    if (!isFloat && !(tag == integerTag && bytes >= 1 && bytes <= 3))
        throw refuseWave(
            KZe_NOTSUPPORTED, path,
            fmt::format("its samples of {} bits are of the kind {}; integers of up to 24 bits are read, and "
                        "floats of 32",
                        bits, tag));
    Sound sound;
    sound.channels = waveNumber(format, 2, 2);
    sound.frequency = waveNumber(format, 4, 4);
    sound.format = isFloat ? static_cast<std::uint32_t>(KZiAUDIO_FLOAT) : bytes - 1;
    kzRequireSoundFormat("WAV file", sound.frequency, sound.channels, sound.format);
    if (waveNumber(format, 12, 2) != sound.channels * bytes)
        throw refuseWave(KZe_FAILED, path, "the size of its blocks is not that of its samples");
    return sound;
}

void putWaveNumber(WaveBytes& bytes, std::uint32_t number, std::uint32_t size) {
    for (std::uint32_t at = 0; at < size; ++at) bytes.push_back(static_cast<std::uint8_t>(number >> (8 * at)));
}

}  // namespace

Sound kzReadWave(const std::string& path) {
    WaveBytes bytes = waveBytes(path);
    if (!hasName(bytes, 0, "RIFF") || !hasName(bytes, 8, "WAVE"))
        throw refuseWave(KZe_FAILED, path, "it is no WAV file");
    const auto format = waveChunk(path, bytes, "fmt "), data = waveChunk(path, bytes, "data");
    if (!format || !data)
        throw refuseWave(KZe_FAILED, path, format ? "it has no samples" : "it does not say its format");
    Sound sound = describedWave(path, *format);
    const std::uint32_t size = kzSampleBytes(sound.format);
    const std::size_t length = data->size() / (std::size_t{size} * sound.channels);
    kzRequireSoundRoom("WAV file", length, sound.channels);
    sound.samples.resize(length * sound.channels);
    for (std::size_t at = 0; at < sound.samples.size(); ++at) {
        const std::uint8_t* const sample = data->data() + at * size;
        const auto small = static_cast<std::uint8_t>(*sample ^ 0x80U);  // bytes are without a sign in these files
        sound.samples[at] = kzSampleOf(sound.format, size == 1 ? &small : sample);
    }
    sound.name = std::filesystem::path(path).stem().string();
    return sound;
}

void kzWriteWave(const Sound& sound, const std::string& path) {
    const std::uint32_t size = kzSampleBytes(sound.format);
    WaveBytes samples;
    samples.reserve(sound.samples.size() * size + 1);
    for (const float value : sound.samples) kzPutSample(sound.format, value, samples);
    if (size == 1)
        for (std::uint8_t& sample : samples) sample ^= 0x80U;
    const auto length = static_cast<std::uint32_t>(samples.size());
    if (length % 2 != 0) samples.push_back(0);
    WaveBytes head = {'R', 'I', 'F', 'F'};
    putWaveNumber(head, 36 + static_cast<std::uint32_t>(samples.size()), 4);
    for (const char letter : std::string_view("WAVEfmt ")) head.push_back(static_cast<std::uint8_t>(letter));
    putWaveNumber(head, 16, 4);
    putWaveNumber(head, sound.format == KZiAUDIO_FLOAT ? floatTag : integerTag, 2);
    putWaveNumber(head, sound.channels, 2);
    putWaveNumber(head, sound.frequency, 4);
    putWaveNumber(head, sound.frequency * sound.channels * size, 4);
    putWaveNumber(head, sound.channels * size, 2);
    putWaveNumber(head, 8 * size, 2);
    for (const char letter : std::string_view("data")) head.push_back(static_cast<std::uint8_t>(letter));
    putWaveNumber(head, length, 4);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(head.data()), static_cast<std::streamsize>(head.size()));
    file.write(reinterpret_cast<const char*>(samples.data()), static_cast<std::streamsize>(samples.size()));
    if (!file.flush()) throw refuseWave(KZe_NOACCESS, path, "it cannot be written");
}

}  // namespace kzhost
