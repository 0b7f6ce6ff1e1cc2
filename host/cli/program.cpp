// The program kzhost: setting up its host.
#include "host/cli/program.h"

#include "host/cli/console_output.h"
#include "host/cli/dialog_prompt.h"
#include "host/cli/progress_view.h"
#include "host/cli/standard_streams.h"
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

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace kzhost {

namespace fs = std::filesystem;

CProgram::CProgram(ProgramOptions options) : m_options(std::move(options)) { m_host.emplace(); }

void CProgram::say(const std::string& text) {
    std::string line = "kzhost: " + text;
    for (char& c : line)
        if (c == '\n') c = ' ';
    CStandardStreams::get().error(line + "\n");
}

namespace {

// The folder with the modules and the kit: beside the program's own in a build tree, under lib in an installation.
fs::path homeOfProgram() {
    const fs::path home = fs::path(CPathAliases::programPath()).parent_path().parent_path();
    const fs::path installed = home / "lib" / "kzPython2";
    std::error_code error;
    return fs::exists(installed, error) ? installed : home;
}

}  // namespace

void CProgram::setPaths() {
    const fs::path home = homeOfProgram();
    CPathAliases& files = host().files();
    files.setAlias("program", home.string());
    files.setAlias("kit_Python2_7", (home / "kit" / "Python2_7").string());
    if (const std::string config = kzConfigFolder(); !config.empty()) files.setAlias("scripts", config + "/scripts");
    for (const auto& [name, path] : m_options.aliases) files.setAlias(name, path);
    for (const std::string& path : m_options.importPaths)
        host().importPaths().add(fs::absolute(path).lexically_normal().string());
    if (m_options.plugin.empty()) m_options.plugin = (home / "plugins" / "kzPython2.so").string();
}

int CProgram::start() {
    std::string why;
    if (!m_options.logFile.empty()) {
        if (!m_logFile.open(m_options.logFile, why)) {
            say(why);
            return exitUsage;
        }
        host().log().addSink([this](const LogLine& line) { m_logFile(line); });
    }
    host().log().addSink(CConsoleOutput(host(), m_options.quiet, m_options.trace));
    host().texts().setViewer(CConsoleOutput::show);
    host().log().addSink([this](const LogLine& line) {
        m_startFailed |= line.origin == TextOrigin::startup;
        m_hasLeaks |= line.origin == TextOrigin::leaks && kzFailed(line.level);
        m_hasDifferences |= line.origin == TextOrigin::replay;
    });
    if (!m_options.quiet) showProgress();
    host().dialogs().setAsker(kzPromptOnTerminal);
    if (m_options.trace) {
        host().properties().set("script.trace", "on");
        host().calls().trace([](std::string_view operation) { say("trace: " + std::string(operation)); });
    }
    host().log().limits.entries = 100'000;
    host().log().limits.bytes = std::size_t{64} << 20U;
    setPaths();
    return loadModules();
}

int CProgram::loadModules() {
    std::string why;
    const CWatchVariables watches(m_options.watch, why);
    if (!why.empty()) {
        say(why);
        return exitUsage;
    }
    // The plug-in comes last: "module:" stands for the folder of the module that was loaded last.
    std::vector<std::string> modules = m_options.modules;
    modules.push_back(m_options.plugin);
    for (const std::string& module : modules) {
        if (host().load(module, why)) continue;
        say("the module cannot be loaded: " + why);
        return exitNoModule;
    }
    if (m_options.usesPreferences)
        host().memory().open(m_options.preferences.value_or(CPreferenceFile::usualPath()), m_options.memory);
    m_stopWatch.emplace(host(), [this](int status) { m_logFile.end(CStandardStreams::get().finish(status)); });
    return exitOk;
}

void CProgram::showProgress() {
    const char* terminal = std::getenv("TERM");
    const bool canDraw = isatty(STDERR_FILENO) != 0 && terminal != nullptr && std::string_view(terminal) != "dumb";
    const auto view = std::make_shared<CProgressView>(CProgressView::Place{
        canDraw, [](std::vector<std::string> bars) { CStandardStreams::get().showBelow(std::move(bars)); },
        [](const std::string& text) { CStandardStreams::get().errorLine(text); }});
    host().monitors().setViewer([view](const MonitorState& state) { (*view)(state); });
}

int CProgram::finish(int status) {
    m_host.reset();
    m_stopWatch.reset();
    if (status == exitOk && (m_hasLeaks || m_hasDifferences)) status = exitFailed;
    if (CStopWatch::isProgramStopped()) status = exitInterrupted;
    return m_logFile.end(CStandardStreams::get().finish(status));
}

bool CProgram::wakeInterpreter(const std::string& name) {
    const auto server = host().modules().find(KZa_LINEINTERPRETER, name);
    if (!server) return true;
    try {
        CKzLoc_Unknown interpreter;
        CModuleTable::spawn(*server, interpreter);
    } catch (KzResult code) {
        say("the interpreter \"" + name + "\" cannot be made: " + kzCodeName(code));
        return false;
    }
    if (!m_startFailed) host().listeners().beginSession();
    return !m_startFailed;
}

void CProgram::wakeInterpreters() {
    for (const KzServer& server : host().modules().servers(KZa_LINEINTERPRETER)) wakeInterpreter(server.name);
}

}  // namespace kzhost
