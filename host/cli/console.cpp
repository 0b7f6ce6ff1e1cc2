// kzhost console: lines typed on a terminal, with history and completion, or read from a pipe.
#include "host/cli/console.h"

#include "host/cli/console_editor.h"
#include "host/cli/debugger.h"
#include "host/cli/interrupt.h"
#include "host/cli/line_session.h"
#include "host/cli/program.h"
#include "host/cli/standard_streams.h"
#include "host/cli/terminal_guard.h"

#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace kzhost {

namespace {

// What was typed or pasted, which may be several lines. What fails on a terminal has been seen there.
void runLines(CLineSession& session, const std::string& lines) {
    const CInterruptScope interrupts(CInterruptScope::Second::endsLine);
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = lines.find('\n', start);
        const std::string line = lines.substr(start, end - start);
        if (session.execute(line) == exitInterrupted || session.leaving()) return;
        if (CStandardStreams::get().isMidLine()) CStandardStreams::get().out("\n");  // the prompt needs a line
    }
}

void endStatement(CLineSession& session) {
    const CInterruptScope interrupts(CInterruptScope::Second::endsLine);
    session.finish();
}

// As Python does before its own first prompt.
void runStartupFile(CLineSession& session) {
    const char* const file = std::getenv("PYTHONSTARTUP");
    if (file == nullptr || *file == '\0' || session.language() != "python") return;
    runLines(session, "execfile(__import__('os').environ['PYTHONSTARTUP'])");
}

// A line that is Ctrl-C'd away is no failure. Ctrl-D ends a statement that is still open, and otherwise the console.
int converse(CLineSession& session, CConsoleEditor& editor) {
    std::string line;
    session.stopAtScreenful();
    runStartupFile(session);
    if (const auto status = session.leaving()) return *status;
    for (;;) {
        CTerminalGuard::watchSignals();
        switch (editor.read(session.prompt(), line)) {
        case ILineEditor::Read::end:
            CStandardStreams::get().out("\n");
            if (!session.isContinued()) return exitOk;
            endStatement(session);
            break;
        case ILineEditor::Read::interrupted:
            CStandardStreams::get().out("\n");
            session.reset();
            break;
        case ILineEditor::Read::line:
            if (session.isContinued() || !line.empty() || !session.showMore()) runLines(session, line);
            break;
        }
        if (const auto status = session.leaving()) return *status;
    }
}

int readAll(CLineSession& session) {
    const CInterruptScope interrupts;
    for (std::string line; std::getline(std::cin, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (const int status = session.execute(line); status == exitInterrupted || session.leaving()) return status;
    }
    session.finish();
    if (const auto status = session.leaving()) return *status;
    return session.failed() ? exitFailed : exitOk;
}

}  // namespace

int kzRunConsole(CProgram& program) {
    if (const int status = program.start(); status != exitOk) return status;
    CLineSession session(program);
    if (const int status = session.open(); status != exitOk) return status;
    if (const int status = kzWaitForDebugger(program); status != exitOk) return status;
    if (isatty(STDIN_FILENO) == 0) return readAll(session);
    const CTerminalGuard guard;
    CStopWatch::holdConversation();
    CConsoleEditor editor(session, program.host());
    return converse(session, editor);
}

}  // namespace kzhost
