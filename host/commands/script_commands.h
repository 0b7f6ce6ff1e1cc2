// The command that runs a script file.
#pragma once

#include <memory>

class CScriptRunner;

namespace kzhost {

class CCommandRegistry;
class CPathAliases;

void kzAddScriptCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                         const std::shared_ptr<CScriptRunner>& scripts);

}  // namespace kzhost
