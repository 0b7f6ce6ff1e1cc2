// Reading and writing sound files: WAV files, and the loaders and savers that modules offer.
#include "host/objects/sound_files.h"

#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reason_memory.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/arguments.h"
#include "host/objects/file_servers.h"
#include "host/objects/safe_save.h"
#include "host/objects/synthetic_folders.h"
#include "host/objects/wave_file.h"

#include "kz/audio.h"
#include "kz/loader.h"

#include <fmt/format.h>
#include <strings.h>

#include <filesystem>
#include <optional>

namespace kzhost {

namespace {

constexpr const char* soundLog = "sounds";

bool isWave(const std::string& path) {
    return strcasecmp(std::filesystem::path(path).extension().c_str(), ".wav") == 0;
}

class CSoundTarget final : public CHosted<"audio loader target", CSoundTarget, CKzIfc_AudioLoaderTarget> {
public:
    KzResult audioloadertarget_SetFormat(std::uint32_t frequency, std::uint32_t channels,
                                         std::uint32_t format) override {
        constexpr const char* place = "AudioLoaderTarget.SetFormat";
        kzRequireSoundFormat(place, frequency, channels, format);
        if (m_sound && !m_sound->samples.empty())
            return kzBecause(KZe_INVALIDARG, place,
                             [] { return "samples have been written in another format already"; });
        m_sound.emplace();
        m_sound->frequency = frequency, m_sound->channels = channels, m_sound->format = format;
        return KZe_OK;
    }
    KzResult audioloadertarget_Write(std::uint32_t count, std::uint32_t size, void* samples) override;
    KzResult audioloadertarget_SetAudio(IKzUnknown* audio) override {
        m_sound = kzCopySound("AudioLoaderTarget.SetAudio", audio);
        return KZe_OK;
    }

    std::optional<Sound> takeSound() { return std::move(m_sound); }

private:
    std::optional<Sound> m_sound;
};

KzResult CSoundTarget::audioloadertarget_Write(std::uint32_t count, std::uint32_t size, void* samples) {
    constexpr const char* place = "AudioLoaderTarget.Write";
    if (!m_sound)
        return kzBecause(KZe_INVALIDARG, place, [] { return "the format is set before samples are written"; });
    const std::uint64_t values = std::uint64_t{count} * m_sound->channels;
    const std::uint32_t bytes = kzSampleBytes(m_sound->format);
    if (values * bytes != size)
        return kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("{} samples of {} channels have {} bytes, not {}", count, m_sound->channels,
                               values * bytes, size);
        });
    if (size == 0) return KZe_OK;
    kzRequireSoundRoom(place, std::uint64_t{m_sound->length()} + count, m_sound->channels);
    const auto* const first = static_cast<const std::uint8_t*>(&kzNotNull(static_cast<std::uint8_t*>(samples)));
    for (std::uint64_t at = 0; at < values; ++at)
        m_sound->samples.push_back(kzSampleOf(m_sound->format, first + at * bytes));
    return KZe_OK;
}

}  // namespace

Sound CSoundFiles::load(const std::string& path) const {
    if (const std::string local = kzLocalFile(*m_modules, path); local != path) return load(local);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw kzBecause(KZe_NOTFOUND, "sound file", [&] { return "there is no file \"" + path + "\""; });
    if (isWave(path)) return kzReadWave(path);
    const CFileProgress progress(m_context, m_monitors, "Loading", nullptr);
    std::optional<Sound> sound;
    const auto load = [&](const CKzUser_Loader& loader, IKzUnknown* info) -> KzResult {
        const auto target = CHostRef<CSoundTarget>::make();
        const KzResult code = loader.LoadObject(path.c_str(), info, progress.monitor(), target.raw());
        if (kzFailed(code)) return code;
        sound = target->takeSound();
        return sound ? KZe_OK : KZe_FAILED;  // it has reported success without one
    };
    const auto failed = [&](const std::string& server, KzResult code) {
        kzLogFailure(*m_log, soundLog, code,
                     path + ": the loader \"" + server + "\" failed: " + CMessageTables::codeText(code));
    };
    if (kzLoadServed(*m_modules, path, KZsFILECLASS_AUDIO, load, failed).empty())
        throw kzBecause(KZe_NOTSUPPORTED, "sound file", [&] { return "no loader recognises \"" + path + "\""; });
    if (sound->name.empty()) sound->name = std::filesystem::path(path).stem().string();
    return std::move(*sound);
}

// WAV files are written with what they can keep; the rest is told.
void CSoundFiles::save(const Sound& sound, const std::string& path) const {
    CSafeSave file(path);
    if (!isWave(path)) saveServed(sound, path, file.path());
    else kzWriteWave(sound, file.path());
    if (const KzResult code = file.commit(); kzFailed(code)) {
        throw kzLogFailure(*m_log, soundLog, code, path + ": the saver wrote no file to replace it");
    }
    if (isWave(path) && (sound.loopStart >= 0 || !sound.markers.empty()))
        m_log->write(soundLog, KZe_WARNING, path + ": loop and markers are lost, since WAV files are written without");
}

void CSoundFiles::saveServed(const Sound& sound, const std::string& path, const std::string& file) const {
    const auto server = kzFindSaver(*m_modules, path, {}, KZsFILECLASS_AUDIO);
    if (!server)
        throw kzBecause(KZe_NOTSUPPORTED, "sound file", [&] { return "there is no saver for \"" + path + "\""; });
    CKzLoc_Unknown object, source;
    const CKzUser_Saver saver(CModuleTable::spawn(*server, object).raw());
    if (!saver) throw KZe_NOINTERFACE;
    *source.out() = kzMakeSound(sound);
    const CFileProgress progress(m_context, m_monitors, "Saving", nullptr);
    const auto message = CHostRef<CMessage>::make();
    const CKzUser_Message asMessage(message.raw());
    if (const KzResult code = saver.Verify(source.raw(), message.raw()); kzRefuses(code)) {
        throw kzLogFailure(*m_log, soundLog, code,
                           "the saver \"" + server->name +
                               "\" refuses the sound: " + CMessageTables::reasonOf(*asMessage.ptr(), code));
    }
    kzDemand(saver.Save(source.raw(), file.c_str(), progress.monitor()));
}

}  // namespace kzhost
