// kzhost cmd: one command string, executed or queried; and kzhost commands.
#pragma once

#include <string>

namespace kzhost {

class CProgram;

int kzRunCommand(CProgram& program, const std::string& text);
int kzListCommands(CProgram& program);

}  // namespace kzhost
