// Commands for files of sound.
#include "host/commands/audio_commands.h"

#include "host/commands/builtin_command.h"
#include "host/objects/sound_files.h"
#include "host/state/path_aliases.h"

#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace kzhost {

namespace {

constexpr const char* sampleFormats[] = {"int8", "int16", "int24", "float"};  // in the order of iAUDIO_...

constexpr ArgumentRow audioConvertArguments[] = {
    {"source", KZsTYPE_FILEPATH, 0, "the file that is read"},
    {"target", KZsTYPE_FILEPATH, 0, "the file that is written"},
    {"format", KZsTYPE_STRING, kzOptional, "int8, int16, int24 or float; that of the source when it is left out"},
};

void convertAudio(CPathAliases& files, CSoundFiles& sounds, CBuiltinCommand& command) {
    const std::string format = command.text("format");
    const auto* const found = std::find(std::begin(sampleFormats), std::end(sampleFormats), format);
    if (!format.empty() && found == std::end(sampleFormats))
        kzRefuse(KZe_INVALIDARG, "argument \"format\": it is int8, int16, int24 or float, not " + format);
    Sound sound = sounds.load(files.place(command.text("source").c_str()));
    if (!format.empty()) sound.format = static_cast<std::uint32_t>(found - std::begin(sampleFormats));
    sounds.save(sound, files.place(command.text("target").c_str()));
}

}  // namespace

void kzAddAudioCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                        const std::shared_ptr<CSoundFiles>& sounds) {
    kzAddCommands(registry, {{"audio.convert", "Convert Sound", "reads a sound file and writes another one", 0,
                              audioConvertArguments, kzWith(convertAudio, files, sounds)}});
}

}  // namespace kzhost
