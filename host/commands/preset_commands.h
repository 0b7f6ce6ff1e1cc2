// Commands for presets: saving, listing and applying them.
#pragma once

#include <memory>
#include <string>

namespace kzhost {

class CBuiltinCommand;
class CCommandRegistry;
class CImageFiles;
class CPathAliases;
class CPresets;
struct OpenScenes;

struct PresetParts {
    std::shared_ptr<CPresets> presets;
    std::shared_ptr<OpenScenes> scenes;
    std::shared_ptr<CImageFiles> images;
    std::shared_ptr<CPathAliases> files;
};
// The second are those that tell of a preset what its type and its metrics say, and do what a double click on it does.
void kzAddPresetCommands(CCommandRegistry& registry, const PresetParts& parts);
void kzAddPresetInfoCommands(CCommandRegistry& registry, const PresetParts& parts);

// The path of the preset that the argument "name" names. Throws CommandTextError.
std::string kzPresetPath(CBuiltinCommand& command);

}  // namespace kzhost
