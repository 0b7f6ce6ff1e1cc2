// The commands for references to other scenes.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CSceneReferences;
struct OpenScenes;

void kzAddReferenceCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes,
                            const std::shared_ptr<CSceneReferences>& references);

}  // namespace kzhost
