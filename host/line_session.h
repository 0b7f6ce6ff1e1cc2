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
    // Whether the interpreter waits for more lines of a statement.
    bool isContinued() const { return m_continued; }
    void reset();

    // The texts that a line gives, without showing them; nothing when it fails.
    std::optional<std::vector<std::string>> ask(const std::string& line);

private:
    CProgram& m_program;
    CKzUser_LineInterpreter m_interpreter;
    bool m_failed = false;
    bool m_continued = false;
};
