// kzhost: runs scripts and lines in the reference host.
#include "host/cli/console.h"
#include "host/cli/coverage.h"
#include "host/cli/eval_lines.h"
#include "host/cli/list_servers.h"
#include "host/cli/program.h"
#include "host/cli/run_command.h"
#include "host/cli/run_interpreter.h"
#include "host/cli/run_script.h"
#include "host/cli/scene_verbs.h"
#include "host/cli/server_verbs.h"
#include "host/cli/standard_streams.h"
#include "host/cli/stop_process.h"
#include "host/state/text.h"

#include "kz_version.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace kzhost;

namespace {

// Checks "NAME=PATH". Returns an empty text or a full sentence that says what is wrong.
std::string checkAlias(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        return "--alias " + text + " should be NAME=PATH, as scripts=/home/me/scripts";
    if (text.find_first_of(":/") < equals) return "--alias " + text + ": a name has no colon and no slash";
    return {};
}

std::string checkPort(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() < 6 && text.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && std::stoi(text) < 65536) return {};
    return text + " should be a port from 1 to 65535, as 5678, or 0 for any free one";
}

void addOptions(CLI::App& app, ProgramOptions& options, std::vector<std::string>& aliases) {
    app.add_option("--plugin", options.plugin, "The module to load, instead of the one beside the program")
        ->type_name("FILE");
    app.add_option("--module", options.modules, "Load a further module, a plug-in in C++ (may be repeated)")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app.add_option("--alias", aliases, "Let NAME: stand for PATH in file names (may be repeated)")
        ->type_name("NAME=PATH")
        ->check(checkAlias)
        ->allow_extra_args(false);
    app.add_option("--import-path", options.importPaths, "A folder that scripts import from (may be repeated)")
        ->type_name("DIR")
        ->check(CLI::Validator(CLI::ExistingDirectory).description(""))  // "DIR:DIR" would look like a list
        ->allow_extra_args(false);
    app.add_option("--scene", options.scene, "Load this scene before the script of run, as its current scene")
        ->type_name("FILE");
    app.add_option("--log", options.logFile,
                   "Append the event log to FILE, one JSON object a line; - is standard output")
        ->type_name("FILE");
    app.add_option("--preferences", options.preferences,
                   "Keep aliases, user values, units and the history in FILE, not in the user's preferences")
        ->type_name("FILE");
    app.add_flag("!--no-preferences", options.usesPreferences, "Neither read nor write the user's preferences");
    options.watch.addTo(app);
    app.add_option("--debug", options.debugPort,
                   "Wait on this port of 127.0.0.1 until a debugger has attached, and then run")
        ->type_name("PORT")
        ->check(checkPort);
    app.add_flag("--trace", options.trace, "Show each call of the module to the host");
    app.add_flag("--quiet", options.quiet, "Only output and errors, no notices");
}

void takeAliases(ProgramOptions& options, const std::vector<std::string>& aliases) {
    for (const std::string& alias : aliases) {
        const std::size_t equals = alias.find('=');
        options.aliases.emplace_back(alias.substr(0, equals), alias.substr(equals + 1));
    }
}

// A command line, and the place from which its words are passed unchanged to a script or an interpreter.
struct CommandLine {
    std::vector<std::string> own;
    std::vector<std::string> rest;
    bool isForInterpreter = false;
};

// The index of the first word after the options, and their values, that start at this index.
std::size_t behindOptions(const CLI::App& app, std::vector<std::string>& words, std::size_t at) {
    for (; at < words.size() && words[at].size() > 2 && words[at].starts_with("--"); ++at) {
        if (words[at] == "--profile") words[at] += "=-";  // or the parser would take the next word for its file
        const std::size_t equals = words[at].find('=');
        const CLI::Option* option = app.get_option_no_throw(words[at].substr(0, equals));
        if (option != nullptr && option->get_expected_max() > 0 && equals == std::string::npos) ++at;
    }
    return std::min(at, words.size());
}

// Without words a script is read from standard input, unless that is a terminal: its user may need help instead.
bool isForInterpreter(const CLI::App& app, const std::string& word) {
    struct stat input {};
    if (word.empty()) return fstat(STDIN_FILENO, &input) == 0 && !S_ISCHR(input.st_mode);
    if (!app.get_subcommands([&](const CLI::App* each) { return each->get_name() == word; }).empty())
        return word == "python";
    return word.starts_with('-') || std::filesystem::exists(word);
}

CommandLine splitCommandLine(const CLI::App& app, std::vector<std::string> words) {
    CommandLine line;
    std::size_t at = behindOptions(app, words, 0);
    const std::string word = at < words.size() ? words[at] : std::string();
    std::size_t rest = words.size();
    if (isForInterpreter(app, word)) {
        line.isForInterpreter = true;
        rest = word == "python" ? at + 1 : at;
    } else if (word == "run") {
        at = behindOptions(app, words, at + 1);
        const bool isMarked = at < words.size() && words[at] == "--";
        if (isMarked) words.erase(words.begin() + static_cast<std::ptrdiff_t>(at));
        if (at < words.size() && (isMarked || !words[at].starts_with('-') || words[at] == "-")) {
            words.insert(words.begin() + static_cast<std::ptrdiff_t>(at),
                         "--");  // for the parser, because the next word may begin with a dash
            rest = at + 2;
        } else {
            rest = words.size();
        }
    }
    line.rest.assign(words.begin() + static_cast<std::ptrdiff_t>(rest), words.end());
    words.resize(line.isForInterpreter ? at : rest);
    line.own = std::move(words);
    return line;
}

// Besides the mark of where the words of a script begin.
std::vector<std::string> wordsLeft(const CLI::App& app) {
    std::vector<std::string> words = app.remaining(true);
    std::erase(words, "--");
    return words;
}

// The command line names nothing that the program does, or has words that nobody takes.
int refuse(const CLI::App& app) {
    const auto words = wordsLeft(app);
    const std::string word = words.empty() ? "" : "\"" + words.front() + "\"";
    std::string wrong;
    if (word.starts_with("\"--")) {
        wrong = "there is no option " + word;
    } else if (!app.get_subcommands().empty()) {
        wrong = word + " is one word too many for " + app.get_subcommands().front()->get_name();
    } else {
        wrong = word.empty() ? "a command is missing" : "there is no command " + word + " and no such file";
        wrong += "; the commands are:";
        for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; }))
            wrong += " " + each->get_name();
    }
    CProgram::say(wrong + ". kzhost --help says more.");
    return exitUsage;
}

template <class Action> int guarded(Action&& action) {
    try {
        return action();
    } catch (const std::exception& error) {
        CProgram::say(error.what());
    } catch (KzResult code) {
        CProgram::say("stopped by " + kzCodeName(code));
    }
    return exitFailed;
}

int runProgram(int count, char** arguments) {
    CLI::App app("Runs scripts, console lines and commands in a host without windows.", "kzhost");
    ProgramOptions options;
    std::vector<std::string> aliases;
    std::string script;
    std::vector<std::string> lines;
    std::vector<std::string> words;  // shown in the help only
    addOptions(app, options, aliases);
    app.set_version_flag("--version", "kzhost " KZ_VERSION);
    app.footer(
        "The exit status is 0 for success, 1 for a failure (standard error says which), 2 for a wrong command line, 3\n"
        "without a module, 4 without its interpreter, the code of a script's sys.exit up to 125, 130 when "
        "interrupted\n"
        "or stopped, and 141 when nobody reads standard output any more.");
    app.require_subcommand(0, 1);
    app.allow_extras();  // reported below, by name

    CLI::App* run = app.add_subcommand("run", "Run a script file; its exit code becomes the exit status");
    run->add_option("SCRIPT", script, "The script file; - is standard input")->required();
    run->add_option("ARG", words, "Arguments of the script: everything that follows");
    run->fallthrough();
    CLI::App* replay = app.add_subcommand("replay", "Run a script with what --record has kept, in place of the host");
    replay->add_option("FILE", options.watch.replay, "The recording, which knows the script's arguments")
        ->required()
        ->check(CLI::ExistingFile);
    replay->add_option("SCRIPT", script, "The script file")->required();
    CLI::App* python =
        app.add_subcommand("python", "Run as a Python interpreter with its own options; also by kzhost FILE, "
                                     "kzhost -c CODE, kzhost -m MODULE and the like");
    python->add_option("ARG", words, "The interpreter's command line: everything that follows");
    CLI::App* eval = app.add_subcommand("eval", "Run lines as if typed into the console");
    eval->add_option("LINE", lines, "The lines")->required();
    CLI::App* console = app.add_subcommand("console", "Type Python lines; a pipe is read line by line");
    CLI::App* cmd = app.add_subcommand("cmd", "Execute a command string, or print what it queries");
    cmd->add_option("STRING", script, "The command, as \"user.value size 12 type:integer\"")->required();
    CLI::App* stop = app.add_subcommand("stop", "End what another kzhost runs, which tells where it was");
    stop->add_option("PID", script, "The number of its process")->required();
    CLI::App* commands = app.add_subcommand("commands", "List the commands and their arguments");
    CLI::App* servers = app.add_subcommand("servers", "List the servers that the module offers");
    CLI::App* coverage =
        app.add_subcommand("coverage", "Show which methods of the SDK work here, and what is called of servers");
    coverage->add_option("NAME", script, "An interface, service or kind of server, method by method");
    bool asJson = false;
    coverage->add_flag("--json", asJson, "Print it as JSON, as in docs/coverage.json");
    const CServerVerbs serverVerbs(app);
    const CSceneVerbs sceneVerbs(app);

    app.set_help_flag("--help", "Print this help message and exit");  // -h is the interpreter's
    CommandLine line = splitCommandLine(app, {arguments + 1, arguments + count});
    try {
        app.parse(std::vector<std::string>(line.own.rbegin(), line.own.rend()));
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, problem;
        const int status = app.exit(error, out, problem);
        CStandardStreams::get().out(out.str());
        CStandardStreams::get().error(problem.str());
        return status == 0 ? exitOk : exitUsage;
    }
    if (!options.watch.record.empty() && !run->parsed()) {
        CProgram::say("--record needs run: only scripts can be replayed");
        return exitUsage;
    }
    if (!options.scene.empty() && !run->parsed()) {
        CProgram::say("--scene is for run: kzhost --scene FILE run SCRIPT");
        return exitUsage;
    }
    const bool isNothingNamed = app.get_subcommands().empty() && !line.isForInterpreter;
    if (isNothingNamed || !wordsLeft(app).empty()) return refuse(app);
    if (coverage->parsed()) return kzShowCoverage(script, asJson);
    if (stop->parsed()) return kzStopProcess(script);
    if (options.debugPort && line.isForInterpreter) {
        CProgram::say("--debug is for what the host runs, as kzhost run; a program of Python's own starts with "
                      "kzhost -m debugpy");
        return exitUsage;
    }
    takeAliases(options, aliases);
    if (eval->parsed() || console->parsed() || cmd->parsed()) options.memory = MemoryUse::interactive;
    else if (run->parsed() || line.isForInterpreter) options.memory = MemoryUse::script;
    CProgram program(std::move(options));
    return program.finish(guarded([&] {
        if (serverVerbs.parsed()) return serverVerbs.run(program);
        if (sceneVerbs.parsed()) return sceneVerbs.run(program);
        if (line.isForInterpreter) return kzRunInterpreter(program, line.rest);
        if (run->parsed()) return kzRunScript(program, script, line.rest);
        if (replay->parsed()) return kzRunScript(program, script, kzRecordedWords(program.options().watch.replay));
        if (eval->parsed()) return kzEvalLines(program, lines);
        if (console->parsed()) return kzRunConsole(program);
        if (cmd->parsed()) return kzRunCommand(program, script);
        if (commands->parsed()) return kzListCommands(program);
        return servers->parsed() ? kzListServers(program) : exitUsage;
    }));
}

}  // namespace

int main(int count, char** words) {
    CStandardStreams::ignoreSignals();
    return CStandardStreams::get().finish(guarded([=] { return runProgram(count, words); }));
}
