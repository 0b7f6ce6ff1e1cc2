// Sampled sound in memory, and as an object.
#pragma once

#include "kz/base/unknown.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

struct Sound {
    std::uint32_t frequency = 44100;
    std::uint32_t channels = 1;
    std::uint32_t format = 1;    // iAUDIO_INT16
    std::vector<float> samples;  // of all channels in turn, from -1 to 1
    std::string name;
    std::int32_t loopStart = -1, loopEnd = -1;
    std::vector<std::pair<double, std::string>> markers;  // by time

    std::uint32_t length() const { return static_cast<std::uint32_t>(samples.size() / channels); }
};

// Throw INVALIDARG for a format that no sound has, and OUTOFMEMORY for more samples than are kept in memory.
void kzRequireSoundFormat(const char* place, std::uint32_t frequency, std::uint32_t channels, std::uint32_t format);
void kzRequireSoundRoom(const char* place, std::uint64_t length, std::uint32_t channels);

// A sample's bytes in that format; integers are signed, and the least significant byte is first.
std::uint32_t kzSampleBytes(std::uint32_t format) noexcept;
// Values that are not from -1 to 1 become the nearest that are; what is not a number becomes silence.
float kzSampleOf(std::uint32_t format, const std::uint8_t* bytes) noexcept;
void kzPutSample(std::uint32_t format, float value, std::vector<std::uint8_t>& bytes);

// A copy of any sound. It may be a module's, so its answers are checked; INVALIDARG for what is no sound.
Sound kzCopySound(const char* place, IKzUnknown* source);

// A new sound, which can be read and written.
IKzUnknown* kzMakeSound(Sound sound);
IKzUnknown* kzMakeSilence();

}  // namespace kzhost
