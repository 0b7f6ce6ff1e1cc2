// The commands that change documents: scenes, items, channels, keys, the selection, and the history.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CModuleTable;
struct OpenScenes;

void kzAddSceneCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddItemCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddChannelCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddKeyCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddSelectCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                         const std::shared_ptr<OpenScenes>& scenes);
void kzAddLayerCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddUndoCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
