// Commands for files of sound.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CPathAliases;
class CSoundFiles;

void kzAddAudioCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                        const std::shared_ptr<CSoundFiles>& sounds);

}  // namespace kzhost
