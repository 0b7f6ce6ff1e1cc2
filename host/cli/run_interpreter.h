// kzhost as a Python interpreter, with the command line of Python's own program.
#pragma once

#include <string>
#include <vector>

namespace kzhost {

class CProgram;

// Runs the interpreter with these words, without the name of the program. It may end the process.
int kzRunInterpreter(CProgram& program, const std::vector<std::string>& words);

}  // namespace kzhost
