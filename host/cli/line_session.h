// A conversation with a line interpreter: lines in, results and messages out.
#pragma once

#include "host/cli/open_text.h"
#include "host/cli/program.h"

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
    bool failed() const { return m_failed; }
    // The status with which a line asked to leave.
    std::optional<int> leaving() const { return m_leaving; }

    std::string prompt();
    // Whether more lines of a statement are waited for.
    bool isContinued() const { return m_pending || !m_open.empty(); }
    void reset();

    // The texts that a line gives, without showing them; nothing when it fails.
    std::optional<std::vector<std::string>> ask(const std::string& line);

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
    COpenText m_open;              // lines that belong together, not yet given to the interpreter
    std::string m_block;           // whole lines of the statement that the interpreter has the beginning of
    std::size_t m_passedSize = 0;  // of the statement, as far as the interpreter has seen it
    bool m_pending = false;        // the interpreter has the beginning of a statement
    bool m_failed = false;
    std::optional<int> m_leaving;
};

}  // namespace kzhost
