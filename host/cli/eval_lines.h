// kzhost eval: lines through the line interpreter.
#pragma once

#include <string>
#include <vector>

namespace kzhost {

class CProgram;

int kzEvalLines(CProgram& program, const std::vector<std::string>& lines);

}  // namespace kzhost
