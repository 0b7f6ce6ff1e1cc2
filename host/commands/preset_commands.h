// Commands for presets: saving, listing and applying them.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CPresets;
struct OpenScenes;

void kzAddPresetCommands(CCommandRegistry& registry, const std::shared_ptr<CPresets>& presets,
                         const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
