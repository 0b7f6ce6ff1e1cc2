// kzhost eval: lines through the line interpreter.
#include "host/cli/eval_lines.h"

#include "host/cli/debugger.h"
#include "host/cli/interrupt.h"
#include "host/cli/line_session.h"
#include "host/cli/program.h"

namespace kzhost {

int kzEvalLines(CProgram& program, const std::vector<std::string>& lines) {
    if (const int status = program.start(); status != exitOk) return status;
    CLineSession session(program);
    if (const int status = session.open(); status != exitOk) return status;
    if (const int status = kzWaitForDebugger(program); status != exitOk) return status;
    const CInterruptScope interrupts;
    for (const std::string& line : lines)
        if (const int status = session.execute(line); status == exitInterrupted || session.leaving()) return status;
    session.finish();
    if (const auto status = session.leaving()) return *status;
    return session.failed() ? exitFailed : exitOk;
}

}  // namespace kzhost
