// Finding, spawning, parsing, executing and querying commands by their strings.
#include "host/command_center.h"

#include "host/builtin_command.h"
#include "host/served_command.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace {

constexpr unsigned deepestAlias = 20;

std::string messageOf(const CKzUser_Command& command, KzResult code) {
    CKzLoc_Unknown told;
    if (kzFailed(command.Message(told.out()))) return CMessageTables::codeText(code);
    const CKzUser_Message message(told.raw());
    return message ? CMessageTables::reasonOf(*message.ptr(), code) : CMessageTables::codeText(code);
}

KzResult verdictOf(const CKzUser_Command& command, KzResult code) {
    CKzLoc_Unknown told;
    if (kzFailed(code) || kzFailed(command.Message(told.out()))) return code;
    const CKzUser_Message message(told.raw());
    return message && kzFailed(message.Code()) ? message.Code() : code;
}

}  // namespace

std::vector<std::string> CCommandCenter::names() const {
    std::vector<std::string> all = m_core->commands.aliases();
    for (const CommandRow& row : kzBuiltinCommands()) all.emplace_back(row.name);
    for (const KzServer& server : m_core->modules.servers(KZa_COMMAND)) all.push_back(server.name);
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

bool CCommandCenter::isCommand(const std::string& name) const {
    return kzFindBuiltin(name) != nullptr || m_core->commands.alias(name) || m_core->modules.find(KZa_COMMAND, name);
}

bool CCommandCenter::addAlias(const std::string& alias, const std::string& definition) const {
    if (isCommand(alias) || !m_core->commands.addAlias(alias, definition)) return false;
    m_core->listeners.commands([&](IKzCmdSysListener& each) { each.AliasAdded(alias.c_str()); });
    return true;
}

bool CCommandCenter::removeAlias(const std::string& alias) const {
    if (!m_core->commands.removeAlias(alias)) return false;
    m_core->listeners.commands([&](IKzCmdSysListener& each) { each.AliasRemoved(alias.c_str()); });
    return true;
}

CKzUser_Command& CCommandCenter::spawn(std::string_view text, CKzUser_Command& command) const {
    std::string definition(text);
    std::string name = kzFirstWord(definition);
    bool isAlias = false;
    for (unsigned depth = 0; const auto alias = m_core->commands.alias(name); ++depth) {
        if (depth == deepestAlias)
            throw CommandTextError{KZe_CMD_BAD_DEFINITION, "the alias \"" + name + "\" leads back to itself"};
        definition = *alias;
        name = kzFirstWord(definition);
        isAlias = true;
    }
    const std::uint32_t tag = m_core->commands.tagOf(name);
    if (const CommandRow* row = kzFindBuiltin(name)) {
        command.set(CHostRef<CBuiltinCommand>::make(m_core, *row, tag).raw());
    } else if (const auto server = m_core->modules.find(KZa_COMMAND, name)) {
        CKzLoc_Unknown made;
        CModuleTable::spawn(*server, made);
        command.set(CHostRef<CServedCommand>::make(m_core, made.raw(), name, tag).raw());
    } else {
        throw CommandTextError{KZe_CMD_UNKNOWN_COMMAND, "there is no command \"" + name + "\""};
    }
    std::string_view rest;
    kzFirstWord(definition, &rest);
    if (isAlias) CCommandArguments(*m_core, command.raw()).assign(kzParseArguments(rest));
    return command;
}

std::optional<std::uint32_t> CCommandCenter::parse(std::string_view text, CKzUser_Command& command) const {
    spawn(text, command);
    std::string_view rest;
    kzFirstWord(text, &rest);
    return CCommandArguments(*m_core, command.raw()).assign(kzParseArguments(rest));
}

std::string CCommandCenter::scriptOf(std::string_view text, std::string_view* rest) const {
    const bool isMarked = text.starts_with(KZsCMD_SCRIPTMARK);
    if (isMarked) text.remove_prefix(1);
    std::string name = kzFirstWord(text, rest);
    if (isMarked) return name;
    // Without the mark it has to be an aliased path of a file that an interpreter takes for a script.
    if (name.find(':') == std::string::npos || isCommand(name)) return {};
    const auto path = kzFindScript(*m_core, name);
    if (!path || !std::filesystem::is_regular_file(*path)) return {};
    std::string problem;
    const auto script = kzReadScript(*path, problem);
    CKzLoc_Unknown interpreter;
    return script && m_core->scripts.interpreterFor(*m_core, *script, interpreter) ? name : std::string();
}

bool CCommandCenter::isScript(std::string_view text) const {
    if (text.starts_with(KZsCMD_SCRIPTMARK)) return true;  // spawning it tells what may be wrong
    try {
        return !scriptOf(text).empty();
    } catch (const CommandTextError&) {
        return false;
    }
}

CKzUser_Command& CCommandCenter::spawnScript(std::string_view text, CKzUser_Command& command) const {
    std::string_view rest;
    const std::string name = scriptOf(text, &rest);
    if (name.empty())
        throw CommandTextError{KZe_CMD_BAD_DEFINITION,
                               "after @ the name of a script file is expected, as @scripts:test.py"};
    while (rest.starts_with(' ')) rest.remove_prefix(1);
    spawn(KZsCMD_SCRIPT_RUN, command);
    CCommandArguments arguments(*m_core, command.raw());
    arguments.assignByName(KZsARG_SCRIPT_FILENAME, name);
    if (!rest.empty()) arguments.assignByName(KZsARG_SCRIPT_ARGS, std::string(rest));
    return command;
}

CCommandCenter::Outcome CCommandCenter::perform(std::string_view text, std::uint32_t flags) const {
    const MarkedCommand marked = kzStripMarks(flags, text);
    Outcome outcome;
    try {
        return performCommand(marked);
    } catch (const CommandTextError& error) {
        outcome = {error.code, error.text, {}, false};
    } catch (...) {
        outcome.code = kzCodeOfException();
        outcome.message = CMessageTables::codeText(outcome.code);
    }
    report(marked.rest.substr(0, marked.rest.find(' ')), {outcome.code, outcome.message});
    return outcome;
}

CCommandCenter::Outcome CCommandCenter::performCommand(const MarkedCommand& marked) const {
    Outcome outcome;
    CKzUser_Command command;
    std::optional<std::uint32_t> query;
    if (kzFirstWord(marked.rest).empty()) throw CommandTextError{KZe_CMD_BAD_DEFINITION, "a command is expected"};
    if (isScript(marked.rest)) spawnScript(marked.rest, command);
    else query = parse(marked.rest, command);
    outcome.isQuery = query.has_value();
    if (query) {
        try {
            outcome.answers = kzQueryTexts(*m_core, command, *query);
        } catch (KzResult code) {
            const std::string name = CCommandArguments(*m_core, command.raw()).nameOf(*query);
            throw CommandTextError{code, "argument \"" + name + "\": " + CMessageTables::codeText(code)};
        }
        return outcome;
    }
    outcome.code = verdictOf(command, command.Execute(marked.flags));
    if (kzFailed(outcome.code)) outcome.message = messageOf(command, outcome.code);
    return outcome;
}

KzResult CCommandCenter::report(const std::string& name, const CommandTextError& error) const {
    const std::string prefix = error.code == KZe_CMD_UNKNOWN_COMMAND || name.empty() ? "" : name + ": ";
    m_core->log->write("commands", error.code, prefix + error.text);
    return error.code;
}
