// The host's own commands that concern modules and their servers.
#pragma once

#include <memory>

class CCommandRegistry;
class CModuleTable;
class CScriptRunner;

void kzAddBuiltinServerCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                                const std::shared_ptr<CScriptRunner>& scripts);
