// The command that runs a script file.
#pragma once

#include <memory>

class CCommandRegistry;
class CPathAliases;
class CScriptRunner;

void kzAddScriptCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                         const std::shared_ptr<CScriptRunner>& scripts);
