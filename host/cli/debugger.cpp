// kzhost --debug.
#include "host/cli/debugger.h"

#include "host/cli/interrupt.h"
#include "host/cli/line_session.h"
#include "host/cli/program.h"

namespace kzhost {

namespace {

constexpr const char* module = "__import__('kzserv.debugger', fromlist='debugger').";

}  // namespace

int kzWaitForDebugger(CProgram& program) {
    const auto port = program.options().debugPort;
    if (!port) return exitOk;
    CLineSession session(program);
    if (const int status = session.open(); status != exitOk) return status;
    const CInterruptScope interrupts;
    // The port, which is another one if any free one was asked for, and what is wrong.
    const auto answer = session.ask(module + ("listen(" + std::to_string(*port) + ")"));
    if (!answer || answer->size() != 2) return exitInterrupted;
    if (!answer->back().empty()) {
        CProgram::say(answer->back());
        return exitFailed;
    }
    CProgram::say("waiting for a debugger on 127.0.0.1:" + answer->front());
    return session.ask(module + std::string("wait()")) ? exitOk : exitInterrupted;
}

}  // namespace kzhost
