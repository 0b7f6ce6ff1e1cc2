// kzhost console: lines typed on a terminal, or read from a pipe.
#pragma once

namespace kzhost {

class CProgram;

int kzRunConsole(CProgram& program);

}  // namespace kzhost
