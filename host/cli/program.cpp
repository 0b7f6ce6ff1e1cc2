// The program kzhost: setting up its host.
#include "host/cli/program.h"

#include "host/cli/dialog_prompt.h"
#include "host/cli/progress_view.h"
#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/state/call_watch.h"
#include "host/state/dialog_board.h"
#include "host/state/import_paths.h"
#include "host/state/monitor_board.h"
#include "host/state/path_aliases.h"
#include "host/state/property_table.h"
#include "host/state/text.h"
#include "host/state/version.h"

#include "kz/result.h"
#include "kz/script.h"

#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

CProgram::CProgram(ProgramOptions options) : m_options(std::move(options)) {}

void CProgram::say(const std::string& text) {
    std::string line = "kzhost: " + text;
    for (char& c : line)
        if (c == '\n') c = ' ';
    std::fprintf(stderr, "%s\n", line.c_str());
}

// Beside the program lie the folders of an installation: its modules, and the kit with what they need.
void CProgram::setPaths() {
    const fs::path home = fs::path(CPathAliases::programPath()).parent_path().parent_path();
    CPathAliases& files = m_host.files();
    files.setAlias("program", home.string());
    files.setAlias("kit_Python2_7", (home / "kit" / "Python2_7").string());
    if (const std::string config = kzConfigFolder(); !config.empty()) files.setAlias("scripts", config + "/scripts");
    for (const auto& [name, path] : m_options.aliases) files.setAlias(name, path);
    for (const std::string& path : m_options.importPaths)
        m_host.importPaths().add(fs::absolute(path).lexically_normal().string());
    if (m_options.plugin.empty()) m_options.plugin = (home / "plugins" / "kzPython2.so").string();
}

int CProgram::start() {
    std::string why;
    if (!m_options.logFile.empty()) {
        if (!m_logFile.open(m_options.logFile, why)) {
            say(why);
            return exitUsage;
        }
        m_host.log().addSink([this](const LogLine& line) { m_logFile(line); });
    }
    const auto console = std::make_shared<CConsoleOutput>(m_host, m_options.quiet, m_options.trace);
    m_host.log().addSink([console](const LogLine& line) { (*console)(line); });
    m_host.log().addSink([this](const LogLine& line) {
        m_startFailed |= line.level == KZe_STARTUP && line.text.ends_with("subsystem failed to start");
    });
    const auto progress = std::make_shared<CProgressView>(stderr, isatty(STDERR_FILENO) != 0);
    if (!m_options.quiet) m_host.monitors().setViewer([progress](const MonitorState& state) { (*progress)(state); });
    m_host.dialogs().setAsker(kzPromptOnTerminal);
    if (m_options.trace) {
        m_host.properties().set("script.trace", "on");
        m_host.calls().trace([](std::string_view operation) { say("trace: " + std::string(operation)); });
    }
    constexpr std::uint32_t keptEntries = 100000;
    m_host.log().setLimit(keptEntries);
    setPaths();
    if (m_host.load(m_options.plugin, why)) return exitOk;
    say("the module cannot be loaded: " + why);
    return exitNoModule;
}

bool CProgram::wakeInterpreter(const std::string& name) {
    const auto server = m_host.modules().find(KZa_LINEINTERPRETER, name);
    if (!server) return true;
    try {
        CKzLoc_Unknown interpreter;
        CModuleTable::spawn(*server, interpreter);
    } catch (KzResult code) {
        say("the interpreter \"" + name + "\" cannot be made: " + kzCodeName(code));
        return false;
    }
    if (!m_startFailed) m_host.listeners().beginSession();
    return !m_startFailed;
}

void CProgram::wakeInterpreters() {
    for (const KzServer& server : m_host.modules().servers(KZa_LINEINTERPRETER)) wakeInterpreter(server.name);
}
