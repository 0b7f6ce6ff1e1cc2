// The program kzhost: its options, and one function for each thing that it does.
#pragma once

#include "host/cli/exit_status.h"
#include "host/cli/log_file.h"
#include "host/cli/stop_watch.h"
#include "host/cli/watch_options.h"
#include "host/core/session_memory.h"
#include "host/kz_host.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

struct ProgramOptions {
    std::string plugin;
    std::vector<std::string> modules;  // loaded before the plug-in
    std::vector<std::pair<std::string, std::string>> aliases;
    std::vector<std::string> importPaths;
    std::string logFile;
    std::optional<std::string> preferences;  // the file of the user's preferences, if not the usual one
    bool usesPreferences = true;
    MemoryUse memory = MemoryUse::none;  // what the verb does with them
    std::string scene;                   // loaded before the script runs
    WatchOptions watch;
    std::optional<int> debugPort;
    bool trace = false;
    bool quiet = false;
};

class CProgram {
public:
    explicit CProgram(ProgramOptions options);
    // Sets up the host and loads the module. Returns exitOk or, after reporting a failure, the exit status for it.
    int start();
    // What is about to run, for the last line of the log file. Called before start().
    void setJob(std::string script, std::vector<std::string> arguments) {
        m_logFile.setJob(std::move(script), std::move(arguments));
    }
    // Ends the host. Returns the exit status: the given one, unless output was lost, or objects that count as a failure.
    int finish(int status);
    CKzHost& host() { return *m_host; }
    // Whether the module has reported leaks as failures.
    bool hasLeaks() const { return m_hasLeaks; }
    const ProgramOptions& options() const { return m_options; }

    // Starts the interpreter with that server name, so that a failure is reported before anything runs in it.
    bool wakeInterpreter(const std::string& name);

    // Starts all interpreters, because only they know some of the servers. Failures are reported and otherwise ignored.
    void wakeInterpreters();

    // One line on standard error.
    static void say(const std::string& text);

private:
    void setPaths();
    void showProgress();
    int loadModules();

    ProgramOptions m_options;
    CLogFile m_logFile;  // outlives the host, which logs until its end
    std::optional<CKzHost> m_host;
    std::optional<CStopWatch> m_stopWatch;  // outlives the host, whose end can be stopped, too
    bool m_startFailed = false;
    bool m_hasLeaks = false;
    bool m_hasDifferences = false;  // from the recording that was made or played
};

}  // namespace kzhost
