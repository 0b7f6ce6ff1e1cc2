// The verbs check, validate, convert and tree.
#include "host/cli/server_verbs.h"

#include "host/cli/debugger.h"
#include "host/cli/run_interpreter.h"
#include "host/cli/standard_streams.h"
#include "host/core/command_text.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/scripts.h"
#include "host/objects/image_files.h"
#include "host/objects/tree_position.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/script.h"
#include "kz/tree.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace kzhost {

namespace {

// The interpreter itself checks the files, as a command.
constexpr const char* checkScript = "# python\n"
                                    "import sys\n"
                                    "import kz\n"
                                    "from kzserv import check\n"
                                    "sys.exit(check.main(kz.args()))\n";

bool allReadable(const std::vector<std::string>& files) {
    const auto missing = std::find_if_not(
        files.begin(), files.end(), [](const std::string& file) { return std::filesystem::is_regular_file(file); });
    if (missing == files.end()) return true;
    std::error_code error;
    const bool isFolder = std::filesystem::is_directory(*missing, error);
    CProgram::say(*missing + (isFolder ? " is a folder; name the files in it, as in " + *missing + "/*.py"
                                       : ": there is no such file"));
    return false;
}

int check(CProgram& program, const std::vector<std::string>& files) {
    std::string problem;
    const std::string joined = kzJoinArguments(files, problem);
    if (!problem.empty()) {
        CProgram::say(problem);
        return exitUsage;
    }
    if (!allReadable(files)) return exitUsage;
    if (const int status = program.start(); status != exitOk) return status;
    for (const KzServer& server : program.host().modules().servers(KZa_TEXTSCRIPTINTERPRETER))
        if (!program.wakeInterpreter(server.name)) return exitNoInterpreter;
    const ScriptEnd end = program.host().run(CHostRef<CScript>::make("check.py", checkScript), 0, joined);
    if (!kzFailed(end.code)) return end.code == 0 ? exitOk : exitFailed;
    CProgram::say("the files cannot be checked: " + (end.isTold ? end.message : kzCodeName(end.code)));
    return exitFailed;
}

// The host options that a child of the validator gets as well. It has a folder of its own.
std::vector<std::string> hostOptions(const ProgramOptions& options) {
    std::vector<std::string> words;
    const auto add = [&](const std::string& option, const std::string& path) {
        words.push_back(option + std::filesystem::absolute(path).lexically_normal().string());
    };
    if (!options.plugin.empty()) add("--plugin=", options.plugin);
    for (const std::string& module : options.modules) add("--module=", module);
    for (const auto& [name, path] : options.aliases) add("--alias=" + name + "=", path);
    for (const std::string& path : options.importPaths) add("--import-path=", path);
    return words;
}

// The validator is a Python program that does not touch this process's host: what it looks at may crash or hang.
int validate(CProgram& program, const Validation& wanted) {
    std::vector<std::string> words = {"-m", "kzvalidate"};
    for (const std::string& word : hostOptions(program.options())) words.push_back("--host=" + word);
    words.insert(words.end(), {fmt::format("--level={}", wanted.level), fmt::format("--seed={}", wanted.seed),
                               fmt::format("--rounds={}", wanted.rounds), fmt::format("--limit={}", wanted.limit),
                               fmt::format("--slow={}", wanted.slow), "--only=" + wanted.only});
    if (wanted.json) words.emplace_back("--json");
    words.emplace_back("--");
    words.insert(words.end(), wanted.sources.begin(), wanted.sources.end());
    return kzRunInterpreter(program, words);
}

void addValidation(CLI::App& verb, Validation& wanted) {
    verb.add_option("FILE|NAME", wanted.sources, "Server files, or names of servers")->required();
    verb.add_option("--level", wanted.level, "How far it goes, from 1 (made and destroyed) to 10; 5 unless given")
        ->check(CLI::Range(1, 10));
    verb.add_option("--seed", wanted.seed, "Other random calls; the same seed makes the same ones");
    verb.add_option("--only", wanted.only, "Only servers with this in their names")->type_name("TEXT");
    verb.add_option("--limit", wanted.limit, "Seconds after which a call counts as endless; 10 unless given")
        ->check(CLI::PositiveNumber);
    verb.add_option("--slow", wanted.slow, "Seconds after which a call counts as slow; 1 unless given")
        ->check(CLI::PositiveNumber);
    verb.add_option("--rounds", wanted.rounds, "Objects that level 9 makes of each server; 1000 unless given")
        ->check(CLI::Range(1, 1'000'000));
    verb.add_flag("--json", wanted.json, "Print each finding as a line of JSON");
}

// Starts the host and all interpreters, which add servers of their own.
int startAll(CProgram& program) {
    if (const int status = program.start(); status != exitOk) return status;
    for (const KzServer& server : program.host().modules().servers(KZa_LINEINTERPRETER))
        if (!program.wakeInterpreter(server.name)) return exitNoInterpreter;
    return kzWaitForDebugger(program);
}

int failed(const std::string& what, KzResult code) {
    CProgram::say(fmt::format("{}: {} ({})", what, CMessageTables::codeText(code), kzCodeName(code)));
    return exitFailed;
}

int convert(CProgram& program, const std::string& from, const std::string& to, const std::string& space) {
    if (const int status = startAll(program); status != exitOk) return status;
    CKzHost& host = program.host();
    CHostRef<CImage> image;
    try {
        image = host.images().load(from, nullptr);
    } catch (KzResult code) {
        return failed(code == KZe_NOTSUPPORTED ? from + ": no loader takes this file" : from, code);
    }
    try {
        if (!space.empty()) image = host.images().inSpace(image.raw(), nullptr, space);
    } catch (KzResult code) {
        return failed(from + " in the colour space \"" + space + "\"", code);
    }
    try {
        if (const KzResult code = host.images().save(image.raw(), to, {}, nullptr); kzFailed(code)) throw code;
    } catch (KzResult code) {
        return failed(code == KZe_NOTSUPPORTED ? to + ": no saver writes such files" : to, code);
    }
    CStandardStreams::get().print("{}: {} x {} pixels\n", to, image->width(), image->height());
    return exitOk;
}

// The text in each column, or the index where the tree has no columns.
void printTreeRow(const CTreePosition& at, std::size_t columns) {
    std::string line(2 * (at.path().size() - 1), ' ');
    for (std::size_t column = 0; column < columns; ++column)
        line += (column > 0 ? "  " : "") + at.cell(static_cast<std::int32_t>(column)).value_or("");
    CStandardStreams::get().out((columns == 0 ? line + std::to_string(at.path().back()) : line) + "\n");
}

int printTree(CProgram& program, const std::string& name) {
    if (const int status = startAll(program); status != exitOk) return status;
    const CModuleTable& modules = program.host().modules();
    auto server = modules.find(KZa_TREE, name);
    if (!server) server = modules.find(KZa_TREEVIEW, name);
    if (!server) return failed("there is no tree \"" + name + "\"", KZe_NOTFOUND);
    try {
        CKzLoc_Unknown tree;
        CTreePosition at(name, CModuleTable::spawn(*server, tree).raw());
        const std::size_t columns = at.columns().size();
        at.walk({}, [&] { printTreeRow(at, columns); });
    } catch (const CommandTextError& error) {
        return failed(error.text, error.code);
    } catch (KzResult code) {
        return failed("the tree \"" + name + "\"", code);
    }
    return exitOk;
}

}  // namespace

CServerVerbs::CServerVerbs(CLI::App& app)
    : m_check(app.add_subcommand("check", "Check server files before they are used; 1 if anything is wrong")),
      m_validate(app.add_subcommand("validate", "Put servers through what hosts do; 1 if anything is found")),
      m_convert(app.add_subcommand("convert", "Convert an image with the loaders and savers of the modules")),
      m_tree(app.add_subcommand("tree", "Print a tree that a module serves")) {
    m_check->add_option("FILE", m_files, "The files")->required();
    addValidation(*m_validate, m_validation);
    m_convert->add_option("FROM", m_from, "The image to read")->required();
    m_convert->add_option("TO", m_to, "The file to write; its extension names the format")->required();
    m_convert->add_option("--colorspace", m_space, "Convert the colours to this colour space, as linear or sRGB")
        ->type_name("NAME");
    m_tree->add_option("NAME", m_name, "The tree's server name")->required();
}

bool CServerVerbs::parsed() const {
    return m_check->parsed() || m_validate->parsed() || m_convert->parsed() || m_tree->parsed();
}

int CServerVerbs::run(CProgram& program) const {
    if (m_check->parsed()) return check(program, m_files);
    if (m_validate->parsed()) return validate(program, m_validation);
    return m_convert->parsed() ? convert(program, m_from, m_to, m_space) : printTree(program, m_name);
}

}  // namespace kzhost
