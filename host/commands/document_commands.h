// The commands that change documents: scenes, items, channels, keys, and the history.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
struct OpenScenes;

void kzAddSceneCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddItemCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddChannelCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddKeyCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);
void kzAddUndoCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
