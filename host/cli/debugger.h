// kzhost --debug: lets a debugger attach before anything runs.
#pragma once

namespace kzhost {

class CProgram;

// Waits until a debugger has attached, if the command line asks for one. exitOk, or the status to end with after saying why.
// The interpreter must have been started.
int kzWaitForDebugger(CProgram& program);

}  // namespace kzhost
