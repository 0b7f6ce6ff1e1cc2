// The command that runs a script file.
#pragma once

#include <memory>

namespace kzhost {

class CScriptRunner;
class CCommandRegistry;
class CPathAliases;

void kzAddScriptCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                         const std::shared_ptr<CScriptRunner>& scripts);

}  // namespace kzhost
