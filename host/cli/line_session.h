// A conversation with a line interpreter: lines in, results and messages out.
#pragma once

#include "host/cli/open_text.h"
#include "host/cli/program.h"
#include "host/cli/result_view.h"

#include "kz/script.h"

#include <optional>
#include <string>
#include <vector>

namespace kzhost {

class CLineSession {
public:
    explicit CLineSession(CProgram& program) : m_program(program) {}

    // Makes the interpreter. exitOk, or the status to end with after saying why.
    int open();
    // Runs one line: exitOk, exitFailed, or exitInterrupted. What follows is not run where leaving() has a status.
    int execute(const std::string& line);
    // Ends a statement that is still open.
    void finish();
    const std::string& language() const { return m_language; }
    bool failed() const { return m_failed; }
    // The status with which a line asked to leave.
    std::optional<int> leaving() const { return m_leaving; }

    std::string prompt();
    // Whether more lines of a statement are waited for.
    bool isContinued() const { return m_pending || !m_open.empty(); }
    void reset();
    // Lines that an open bracket or string joins with the next one, with an end of line behind them.
    std::string openText() const { return m_open.empty() ? std::string() : m_open.text() + "\n"; }
    // Results stop at the end of the screen from now on.
    void stopAtScreenful() { m_results.stopAtScreenful(); }
    // Shows more of results that were too long for the screen. False if there is no more.
    bool showMore() { return m_results.showMore(); }

    // The texts that an expression gives, without showing them; nothing when it fails. The statement in work is none of
    // its business.
    std::optional<std::vector<std::string>> ask(const std::string& expression);

private:
    std::string promptFor(bool continued);
    bool isDue(std::size_t size) const;
    int tryOpen();
    int passOpen();
    void moveToBlock();
    int passBlock();
    int endBlock();
    int pass(const std::string& text);

    CProgram& m_program;
    CKzUser_LineInterpreter m_interpreter;
    CKzUser_LineInterpreter m_asked;  // another of the same kind
    CResultView m_results;
    COpenText m_open;              // lines that belong together, not yet given to the interpreter
    std::string m_block;           // whole lines of the statement that the interpreter has the beginning of
    std::size_t m_passedSize = 0;  // of the statement, as far as the interpreter has seen it
    bool m_pending = false;        // the interpreter has the beginning of a statement
    bool m_failed = false;
    std::optional<int> m_leaving;
    std::string m_language;
};

}  // namespace kzhost
