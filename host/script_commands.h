// The command that runs a script file.
#pragma once

#include <memory>

class CCommandRegistry;
class CFileTable;
class CScriptState;

void kzAddScriptCommands(CCommandRegistry& registry, const std::shared_ptr<CFileTable>& files,
                         const std::shared_ptr<CScriptState>& scripts);
