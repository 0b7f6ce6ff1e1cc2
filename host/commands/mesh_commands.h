// The command that runs a mesh operation of a module.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CModuleTable;
struct OpenScenes;

void kzAddMeshCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                       const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
