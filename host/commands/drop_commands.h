// The command that drops something on a place of the current scene.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CDrops;
struct OpenScenes;

void kzAddDropCommands(CCommandRegistry& registry, const std::shared_ptr<CDrops>& drops,
                       const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
