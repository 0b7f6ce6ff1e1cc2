// The command that replaces an item by one of another type.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CModuleTable;
struct OpenScenes;

void kzAddReplaceCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                          const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
