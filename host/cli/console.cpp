// kzhost console: lines typed on a terminal, with history and completion, or read from a pipe.
#include "host/cli/console.h"

#include "host/cli/console_editor.h"
#include "host/cli/interrupt.h"
#include "host/cli/line_session.h"
#include "host/cli/program.h"
#include "host/cli/standard_streams.h"

#include <csignal>
#include <iostream>
#include <unistd.h>

namespace kzhost {

namespace {

// A line that is Ctrl-C'd away is no failure; what fails on a terminal has been seen there.
int converse(CLineSession& session, CConsoleEditor& editor) {
    std::string line;
    for (;;) {
        switch (editor.read(session.prompt(), line)) {
        case CConsoleEditor::Read::end: return exitOk;
        case CConsoleEditor::Read::interrupted: session.reset(); break;
        case CConsoleEditor::Read::line: {
            const CInterruptScope interrupts;
            session.execute(line);
            if (const auto status = session.leaving()) return *status;
            if (CStandardStreams::get().isMidLine()) CStandardStreams::get().out("\n");  // the prompt needs a line
            break;
        }
        }
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
    if (isatty(STDIN_FILENO) == 0) return readAll(session);
    CConsoleEditor editor(session, program.host());
    return converse(session, editor);
}

}  // namespace kzhost
