// kzhost as an interpreter: a command line as the interpreter's own program takes it.
#pragma once

#include <string>
#include <vector>

namespace kzhost {

class CProgram;

// Runs it with these words, which come without the program's name. The process may end inside.
int kzRunInterpreter(CProgram& program, const std::vector<std::string>& words);

}  // namespace kzhost
