// The commands that load, import and save scenes.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CPathAliases;
class CSceneFiles;
struct OpenScenes;

void kzAddSceneFileCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes,
                            const std::shared_ptr<CSceneFiles>& sceneFiles, const std::shared_ptr<CPathAliases>& files);

}  // namespace kzhost
