// The program kzhost: its options, and one function for each thing that it does.
#pragma once

#include "host/cli/console_output.h"
#include "host/kz_host.h"

#include <string>
#include <utility>
#include <vector>

// What the program's exit status means.
enum ExitStatus : int {
    exitOk = 0,
    exitFailed = 1,
    exitUsage = 2,
    exitNoModule = 3,
    exitNoInterpreter = 4,
    exitMostOfScript = 125,
    exitInterrupted = 130,
};

struct ProgramOptions {
    std::string plugin;
    std::vector<std::pair<std::string, std::string>> aliases;
    std::vector<std::string> importPaths;
    std::string logFile;
    bool trace = false;
    bool quiet = false;
};

class CProgram {
public:
    explicit CProgram(ProgramOptions options);
    // Sets up the host and loads the module. exitOk, or the status to end with after saying why.
    int start();
    CKzHost& host() { return m_host; }
    const ProgramOptions& options() const { return m_options; }

    // Has the interpreter with that server name started, so that a failure is told before anything runs in it.
    bool wakeInterpreter(const std::string& name);

    // Has all of them started, for what needs the servers that only they know. A failure is told, and goes on.
    void wakeInterpreters();

    // One line on standard error.
    static void say(const std::string& text);

private:
    void setPaths();

    ProgramOptions m_options;
    CLogFile m_logFile;  // outlives the host, whose last words go there
    CKzHost m_host;
    bool m_startFailed = false;
};
