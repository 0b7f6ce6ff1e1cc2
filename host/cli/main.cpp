// kzhost: runs scripts and lines in the reference host.
#include "host/cli/console.h"
#include "host/cli/eval_lines.h"
#include "host/cli/list_servers.h"
#include "host/cli/program.h"
#include "host/cli/run_command.h"
#include "host/cli/run_script.h"
#include "host/cli/server_verbs.h"
#include "host/cli/standard_streams.h"
#include "host/state/text.h"

#include "kz_version.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <sstream>

namespace {

// "NAME=PATH"; empty when it is good, a full sentence when not.
std::string checkAlias(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        return "--alias " + text + " should be NAME=PATH, as scripts=/home/me/scripts";
    if (text.find_first_of(":/") < equals) return "--alias " + text + ": a name has no colon and no slash";
    return {};
}

void addOptions(CLI::App& app, ProgramOptions& options, std::vector<std::string>& aliases) {
    app.add_option("--plugin", options.plugin, "The module to load, instead of the one beside the program")
        ->type_name("FILE");
    app.add_option("--alias", aliases, "Let NAME: stand for PATH in file names (may be repeated)")
        ->type_name("NAME=PATH")
        ->check(checkAlias)
        ->allow_extra_args(false);
    app.add_option("--import-path", options.importPaths, "A folder that scripts import from (may be repeated)")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory)
        ->allow_extra_args(false);
    app.add_option("--log", options.logFile,
                   "Append the event log to FILE, one JSON object a line; - is standard output")
        ->type_name("FILE");
    app.add_flag("--trace", options.trace, "Show each call of the module to the host");
    app.add_flag("--quiet", options.quiet, "Only output and errors, no notices");
}

void takeAliases(ProgramOptions& options, const std::vector<std::string>& aliases) {
    for (const std::string& alias : aliases) {
        const std::size_t equals = alias.find('=');
        options.aliases.emplace_back(alias.substr(0, equals), alias.substr(equals + 1));
    }
}

// Nothing that the program does was named.
int askForCommand(const CLI::App& app) {
    std::string names;
    for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; }))
        names += " " + each->get_name();
    const auto words = app.remaining();
    const std::string wrong = words.empty() ? "a command is missing" : "there is no command \"" + words.front() + "\"";
    CProgram::say(wrong + "; there are:" + names + ". kzhost --help says more.");
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

int runProgram(int count, char** words) {
    CLI::App app("Runs scripts, console lines and commands in a host without windows.", "kzhost");
    ProgramOptions options;
    std::vector<std::string> aliases;
    std::string script;
    std::vector<std::string> rest;
    addOptions(app, options, aliases);
    app.set_version_flag("--version", "kzhost " KZ_VERSION);
    app.footer(
        "The exit status is 0 for success, 1 for a failure (standard error says which), 2 for a wrong command line, 3\n"
        "without a module, 4 without its interpreter, the code of a script's sys.exit up to 125, 130 when "
        "interrupted,\n"
        "and 141 when nobody reads standard output any more.");
    app.require_subcommand(0, 1);
    app.allow_extras();  // told below, by name

    CLI::App* run = app.add_subcommand("run", "Run a script file; its exit code becomes the exit status");
    run->add_option("SCRIPT", script, "The script file")->required();
    run->add_option("ARG", rest, "Arguments of the script");
    run->positionals_at_end();
    run->prefix_command();
    CLI::App* eval = app.add_subcommand("eval", "Run lines as if typed into the console");
    eval->add_option("LINE", rest, "The lines")->required();
    CLI::App* console = app.add_subcommand("console", "Type lines; a pipe is read line by line");
    CLI::App* cmd = app.add_subcommand("cmd", "Execute a command string, or print what it queries");
    cmd->add_option("STRING", script, "The command, as \"user.value size 12 type:integer\"")->required();
    CLI::App* commands = app.add_subcommand("commands", "List the commands and their arguments");
    CLI::App* servers = app.add_subcommand("servers", "List the servers that the module offers");
    const CServerVerbs serverVerbs(app);

    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, problem;
        const int status = app.exit(error, out, problem);
        CStandardStreams::get().out(out.str());
        CStandardStreams::get().error(problem.str());
        return status == 0 ? exitOk : exitUsage;
    }
    if (app.get_subcommands().empty()) return askForCommand(app);
    takeAliases(options, aliases);
    CProgram program(std::move(options));
    return program.finish(guarded([&] {
        if (serverVerbs.parsed()) return serverVerbs.run(program);
        if (run->parsed()) {
            for (const std::string& word : run->remaining()) rest.push_back(word);
            return kzRunScript(program, script, rest);
        }
        if (eval->parsed()) return kzEvalLines(program, rest);
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
