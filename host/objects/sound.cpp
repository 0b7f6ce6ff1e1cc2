// Sampled sound in memory, and as an object.
#include "host/objects/sound.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/arguments.h"
#include "host/state/text.h"

#include "kz/audio.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace kzhost {

namespace {

// Beyond these a number is a mistake, which must not take the memory of the whole system.
constexpr std::uint32_t highestFrequency = 1'000'000, mostChannels = 64;
constexpr std::uint64_t mostSamples = std::uint64_t{1} << 27U;
constexpr std::size_t mostMarkers = 100'000;

KzResult refuseSound(const char* place, std::string why) {
    return kzBecause(KZe_INVALIDARG, place, [&] { return why; });
}

class CSound final : public CHosted<"sound", CSound, CKzIfc_Audio, CKzIfc_AudioWrite> {
public:
    explicit CSound(Sound sound) : m_sound(std::move(sound)) {}

    std::uint32_t audio_Frequency() override { return m_sound.frequency; }
    std::uint32_t audio_Channels() override { return m_sound.channels; }
    std::uint32_t audio_Length() override { return m_sound.length(); }
    std::uint32_t audio_Format() override { return m_sound.format; }
    double audio_Duration() override { return static_cast<double>(m_sound.length()) / m_sound.frequency; }
    KzResult audio_Name(const char** name) override {
        *name = kzLend(m_sound.name);
        return KZe_OK;
    }
    KzResult audio_Read(std::uint32_t channel, std::uint32_t start, std::uint32_t count, float* samples) override;
    double audio_Peak(std::uint32_t channel, double start, double end) override;
    std::int32_t audio_LoopStart() override { return m_sound.loopStart; }
    std::int32_t audio_LoopEnd() override { return m_sound.loopEnd; }
    KzResult audio_MarkerCount(std::uint32_t* count) override {
        *count = static_cast<std::uint32_t>(m_sound.markers.size());
        return KZe_OK;
    }
    KzResult audio_MarkerByIndex(std::uint32_t index, double* time, const char** name) override;

    KzResult audiow_SetFormat(std::uint32_t frequency, std::uint32_t channels, std::uint32_t format) override;
    KzResult audiow_SetLength(std::uint32_t samples) override;
    KzResult audiow_Write(std::uint32_t channel, std::uint32_t start, std::uint32_t count, float* samples) override;
    KzResult audiow_SetLoop(std::int32_t start, std::int32_t end) override;
    KzResult audiow_AddMarker(double time, const char* name) override;

private:
    void demandChannel(const char* place, std::uint32_t channel) const {
        if (channel >= m_sound.channels)
            throw refuseSound(place, fmt::format("there is no channel {} among {}", channel, m_sound.channels));
    }
    float& at(std::uint32_t channel, std::uint32_t index) {
        return m_sound.samples[std::size_t{index} * m_sound.channels + channel];
    }

    Sound m_sound;
};

KzResult CSound::audio_Read(std::uint32_t channel, std::uint32_t start, std::uint32_t count, float* samples) {
    demandChannel("Audio.Read", channel);
    if (std::uint64_t{start} + count > m_sound.length())
        return kzBecause(KZe_OUTOFBOUNDS, "Audio.Read", [&] {
            return fmt::format("{} samples at {} are not all in the {} of the sound", count, start, m_sound.length());
        });
    if (count > 0) kzNotNull(samples);
    for (std::uint32_t index = 0; index < count; ++index) samples[index] = at(channel, start + index);
    return KZe_OK;
}

double CSound::audio_Peak(std::uint32_t channel, double start, double end) {
    demandChannel("Audio.Peak", channel);
    if (!(start <= end)) throw refuseSound("Audio.Peak", fmt::format("from {} to {} is no time", start, end));
    const auto indexOf = [&](double time) {
        return static_cast<std::uint32_t>(std::clamp(std::ceil(time * m_sound.frequency), 0.0, m_sound.length() * 1.0));
    };
    float peak = 0;
    for (std::uint32_t index = indexOf(start), last = indexOf(end); index < last; ++index)
        peak = std::max(peak, std::abs(at(channel, index)));
    return peak;
}

KzResult CSound::audio_MarkerByIndex(std::uint32_t index, double* time, const char** name) {
    if (index >= m_sound.markers.size())
        return kzBecause(KZe_OUTOFBOUNDS, "Audio.MarkerByIndex",
                         [&] { return fmt::format("there is no marker {} among {}", index, m_sound.markers.size()); });
    *time = m_sound.markers[index].first;
    *name = kzLend(m_sound.markers[index].second);
    return KZe_OK;
}

KzResult CSound::audiow_SetFormat(std::uint32_t frequency, std::uint32_t channels, std::uint32_t format) {
    kzRequireSoundFormat("AudioWrite.SetFormat", frequency, channels, format);
    Sound silence;
    silence.frequency = frequency, silence.channels = channels, silence.format = format;
    silence.name = m_sound.name;
    m_sound = std::move(silence);
    return KZe_OK;
}

KzResult CSound::audiow_SetLength(std::uint32_t samples) {
    kzRequireSoundRoom("AudioWrite.SetLength", samples, m_sound.channels);
    m_sound.samples.resize(std::size_t{samples} * m_sound.channels);
    if (m_sound.loopEnd > static_cast<std::int64_t>(samples)) m_sound.loopStart = m_sound.loopEnd = -1;
    return KZe_OK;
}

// Nothing is written if one of the samples is none.
KzResult CSound::audiow_Write(std::uint32_t channel, std::uint32_t start, std::uint32_t count, float* samples) {
    constexpr const char* place = "AudioWrite.Write";
    demandChannel(place, channel);
    if (count == 0) return KZe_OK;
    kzNotNull(samples);
    const std::uint64_t end = std::uint64_t{start} + count;
    kzRequireSoundRoom(place, end, m_sound.channels);
    const auto isNone = [](float value) { return !(value >= -1 && value <= 1); };
    if (const float* const wrong = std::find_if(samples, samples + count, isNone); wrong != samples + count)
        return refuseSound(place, fmt::format("sample {} is from -1 to 1, not {}", wrong - samples, *wrong));
    if (end > m_sound.length()) m_sound.samples.resize(end * m_sound.channels);
    for (std::uint32_t index = 0; index < count; ++index) at(channel, start + index) = samples[index];
    return KZe_OK;
}

KzResult CSound::audiow_SetLoop(std::int32_t start, std::int32_t end) {
    const bool isNone = start == -1 && end == -1;
    if (!isNone && !(start >= 0 && start < end && end <= static_cast<std::int64_t>(m_sound.length())))
        return refuseSound(
            "AudioWrite.SetLoop",
            fmt::format("{} to {} is no part of {} samples, and -1 to -1 is no loop", start, end, m_sound.length()));
    m_sound.loopStart = start, m_sound.loopEnd = end;
    return KZe_OK;
}

KzResult CSound::audiow_AddMarker(double time, const char* name) {
    constexpr const char* place = "AudioWrite.AddMarker";
    if (!(time >= 0 && std::isfinite(time)))
        return refuseSound(place, fmt::format("a marker has a time from 0 on, not {}", time));
    if (m_sound.markers.size() >= mostMarkers)
        return refuseSound(place, fmt::format("a sound has up to {} markers", mostMarkers));
    const auto after = std::find_if(m_sound.markers.begin(), m_sound.markers.end(),
                                    [&](const auto& marker) { return marker.first > time; });
    m_sound.markers.insert(after, {time, kzString(name)});
    return KZe_OK;
}

void copyExtras(const CKzUser_Audio& audio, Sound& sound) {
    sound.name = kzAnswer([&](const char** name) { return audio.Name(name); });
    const std::int64_t start = audio.LoopStart(), end = audio.LoopEnd();
    if (start >= 0 && start < end && end <= sound.length())
        sound.loopStart = static_cast<std::int32_t>(start), sound.loopEnd = static_cast<std::int32_t>(end);
    std::uint32_t count = 0;
    if (kzFailed(audio.MarkerCount(&count))) return;
    for (std::uint32_t index = 0; index < std::min<std::size_t>(count, mostMarkers); ++index) {
        double time = 0;
        const char* name = nullptr;
        kzDemand(audio.MarkerByIndex(index, &time, &name));
        if (time >= 0 && std::isfinite(time)) sound.markers.emplace_back(time, kzString(name));
    }
    std::stable_sort(sound.markers.begin(), sound.markers.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
}

}  // namespace

void kzRequireSoundFormat(const char* place, std::uint32_t frequency, std::uint32_t channels, std::uint32_t format) {
    if (frequency < 1 || frequency > highestFrequency)
        throw refuseSound(place, fmt::format("the frequency is from 1 to {}, not {}", highestFrequency, frequency));
    if (channels < 1 || channels > mostChannels)
        throw refuseSound(place, fmt::format("a sound has from 1 to {} channels, not {}", mostChannels, channels));
    if (format > KZiAUDIO_FLOAT)
        throw refuseSound(place, fmt::format("the format is one of iAUDIO_..., 0 to 3, not {}", format));
}

void kzRequireSoundRoom(const char* place, std::uint64_t length, std::uint32_t channels) {
    if (length * channels > mostSamples)
        throw kzBecause(KZe_OUTOFMEMORY, place, [&] {
            return fmt::format("a sound has up to {} samples in all, and {} of {} channels were asked for", mostSamples,
                               length, channels);
        });
}

std::uint32_t kzSampleBytes(std::uint32_t format) noexcept { return format + 1; }

float kzSampleOf(std::uint32_t format, const std::uint8_t* bytes) noexcept {
    const std::uint32_t size = kzSampleBytes(format);
    std::uint32_t bits = 0;  // with the sign in the highest bit
    for (std::uint32_t at = 0; at < size; ++at) bits |= std::uint32_t{bytes[at]} << (8 * (4 - size + at));
    if (format != KZiAUDIO_FLOAT) return static_cast<float>(static_cast<std::int32_t>(bits)) / 2147483648.0F;
    const auto value = std::bit_cast<float>(bits);
    return std::isnan(value) ? 0.0F : std::clamp(value, -1.0F, 1.0F);
}

void kzPutSample(std::uint32_t format, float value, std::vector<std::uint8_t>& bytes) {
    auto bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t size = kzSampleBytes(format);
    if (format != KZiAUDIO_FLOAT) {
        const double full = std::ldexp(1.0, static_cast<int>(8 * size - 1));
        bits = static_cast<std::uint32_t>(
            static_cast<std::int32_t>(std::clamp(std::round(value * full), -full, full - 1)));
    }
    for (std::uint32_t at = 0; at < size; ++at) bytes.push_back(static_cast<std::uint8_t>(bits >> (8 * at)));
}

Sound kzCopySound(const char* place, IKzUnknown* source) {
    const CKzUser_Audio audio(source);
    if (!audio) throw refuseSound(place, "the sound is no object with the interface Audio");
    Sound sound;
    sound.frequency = audio.Frequency(), sound.channels = audio.Channels(), sound.format = audio.Format();
    kzRequireSoundFormat(place, sound.frequency, sound.channels, sound.format);
    const std::uint32_t length = audio.Length();
    kzRequireSoundRoom(place, length, sound.channels);
    sound.samples.resize(std::size_t{length} * sound.channels);
    std::vector<float> row(length);
    for (std::uint32_t channel = 0; channel < sound.channels && length > 0; ++channel) {
        kzDemand(audio.Read(channel, 0, length, row.data()));
        for (std::uint32_t at = 0; at < length; ++at)
            sound.samples[std::size_t{at} * sound.channels + channel] =
                std::isnan(row[at]) ? 0.0F : std::clamp(row[at], -1.0F, 1.0F);
    }
    copyExtras(audio, sound);
    return sound;
}

IKzUnknown* kzMakeSound(Sound sound) { return kzMakeObject<CSound>(std::move(sound)); }
IKzUnknown* kzMakeSilence() { return kzMakeSound({}); }

}  // namespace kzhost
