// kzhost console: lines typed on a terminal, or read from a pipe.
#pragma once

class CProgram;

int kzRunConsole(CProgram& program);
