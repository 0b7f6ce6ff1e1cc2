// kzhost eval: lines through the line interpreter.
#pragma once

#include <string>
#include <vector>

class CProgram;

int kzEvalLines(CProgram& program, const std::vector<std::string>& lines);
