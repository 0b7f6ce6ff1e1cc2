// The host's own commands that concern modules and their servers.
#pragma once

#include <memory>

namespace kzhost {

class CScriptRunner;
class CCommandRegistry;
class CModuleTable;

void kzAddBuiltinServerCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                                const std::shared_ptr<CScriptRunner>& scripts);

}  // namespace kzhost
