// A conversation with a line interpreter: lines in, results and messages out.
#pragma once

#include "host/program.h"

#include "kz/script.h"

class CLineSession {
public:
    explicit CLineSession(CProgram& program) : m_program(program) {}

    // Makes the interpreter. exitOk, or the status to end with after saying why.
    int open();
    // Runs one line: exitOk, exitFailed, or exitInterrupted.
    int execute(const std::string& line);
    // Ends a statement that is still open.
    void finish();
    bool failed() const { return m_failed; }

    std::string prompt();
    // Whether more lines of a statement are waited for.
    bool isContinued() const { return m_pending || !m_open.empty(); }
    void reset();

    // The texts that a line gives, without showing them; nothing when it fails.
    std::optional<std::vector<std::string>> ask(const std::string& line);

private:
    int pass(const std::string& text);
    bool isStillOpen();

    CProgram& m_program;
    CKzUser_LineInterpreter m_interpreter;
    std::string m_open;      // lines of one that goes on, not yet given to the interpreter
    bool m_pending = false;  // the interpreter has the beginning of a statement
    bool m_failed = false;
};
