// kzhost run: one script from start to exit status.
#pragma once

#include <string>
#include <vector>

namespace kzhost {

class CProgram;

int kzRunScript(CProgram& program, const std::string& file, const std::vector<std::string>& arguments);

}  // namespace kzhost
