// Parsing, executing and querying commands by their strings.
#include "host/core/command_dispatcher.h"

#include "host/core/command_text.h"
#include "host/core/host_command.h"
#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/scripts.h"
#include "host/core/value_type_registry.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/message.h"
#include "kz/result.h"

#include <filesystem>

namespace kzhost {

std::string kzFailureOf(const CKzUser_Command& command, KzResult code) {
    CKzLoc_Unknown object;
    if (kzFailed(kzTakeOutput(object, [&](IKzUnknown** output) { return command.Message(output); })))
        return CMessageTables::codeText(code);
    const CKzUser_Message message(object.raw());
    return message ? CMessageTables::reasonOf(*message.ptr(), code) : CMessageTables::codeText(code);
}

CValueTypeRegistry& CCommandDispatcher::types() const { return *m_registry->environment()->types; }

std::optional<std::uint32_t> CCommandDispatcher::parse(std::string_view text, CKzUser_Command& command) const {
    std::optional<std::uint32_t> query;
    m_registry->spawn(text, command, &query);
    std::string_view rest;
    kzFirstWord(text, &rest);
    const auto own = CCommandArguments(types(), command.raw()).assign(kzParseArguments(rest));
    return own ? own : query;
}

std::string CCommandDispatcher::scriptOf(std::string_view text, std::string_view* rest) const {
    const bool isMarked = text.starts_with(KZsCMD_SCRIPTMARK);
    if (isMarked) text.remove_prefix(1);
    std::string name = kzFirstWord(text, rest);
    if (isMarked) return name;
    // Without the mark it has to be an aliased path of a file that an interpreter takes for a script.
    if (name.find(':') == std::string::npos || m_registry->has(name)) return {};
    const auto path = kzFindScript(*m_files, name);
    if (!path || !std::filesystem::is_regular_file(*path)) return {};
    std::string problem;
    const auto script = kzReadScript(*path, problem);
    CKzLoc_Unknown interpreter;
    return script && m_scripts->interpreterFor(*script, interpreter) ? name : std::string();
}

bool CCommandDispatcher::isScript(std::string_view text) const {
    try {
        const CommandDefinition definition = m_registry->resolve(0, text);
        if (definition.text.starts_with(KZsCMD_SCRIPTMARK)) return true;  // spawning it tells what may be wrong
        return !scriptOf(definition.text).empty();
    } catch (const CommandTextError&) {
        return false;
    }
}

CKzUser_Command& CCommandDispatcher::spawnScript(std::string_view text, CKzUser_Command& command) const {
    CommandDefinition definition = m_registry->resolve(0, text);
    for (auto more = definition.arguments.rbegin(); more != definition.arguments.rend(); ++more)
        definition.text += *more;
    std::string_view rest;
    const std::string name = scriptOf(definition.text, &rest);
    if (name.empty())
        throw CommandTextError{KZe_CMD_BAD_DEFINITION,
                               "after @ the name of a script file is expected, as @scripts:test.py"};
    while (rest.starts_with(' ')) rest.remove_prefix(1);
    m_registry->spawn(KZsCMD_SCRIPT_RUN, command);
    CCommandArguments arguments(types(), command.raw());
    arguments.assignByName(KZsARG_SCRIPT_FILENAME, name);
    if (!rest.empty()) arguments.assignByName(KZsARG_SCRIPT_ARGS, std::string(rest));
    return command;
}

CKzUser_Command& CCommandDispatcher::spawn(std::string_view text, CKzUser_Command& command) const {
    return isScript(text) ? spawnScript(text, command) : m_registry->spawn(text, command);
}

MarkedCommand CCommandDispatcher::stripMarks(std::uint32_t flags, std::string_view text) const {
    MarkedCommand marked = kzStripMarks(flags, text);
    try {
        marked.flags = m_registry->resolve(marked.flags, marked.rest).flags;
    } catch (const CommandTextError&) {  // spawning it tells what is wrong
    }
    return marked;
}

CCommandDispatcher::Outcome CCommandDispatcher::perform(std::string_view text, std::uint32_t flags) const {
    const MarkedCommand marked = stripMarks(flags, text);
    Outcome outcome;
    try {
        return performCommand(marked);
    } catch (const CommandTextError& error) {
        outcome = {error.code, error.text, {}, false};
    } catch (...) {
        outcome.code = kzCodeOfException();
        outcome.message = CMessageTables::codeText(outcome.code);
    }
    report(marked.rest.substr(0, marked.rest.find_first_of(" \t\n\r")), {outcome.code, outcome.message});
    return outcome;
}

CCommandDispatcher::Outcome CCommandDispatcher::performCommand(const MarkedCommand& marked) const {
    Outcome outcome;
    CKzUser_Command command;
    std::optional<std::uint32_t> query;
    if (kzFirstWord(marked.rest).empty()) throw CommandTextError{KZe_CMD_BAD_DEFINITION, "a command is expected"};
    if (isScript(marked.rest)) spawnScript(marked.rest, command);
    else query = parse(marked.rest, command);
    outcome.isQuery = query.has_value();
    if (query) {
        const CCommandArguments arguments(types(), command.raw());
        for (const std::string& answer : arguments.query(*query))
            outcome.answers.push_back(arguments.wordOf(*query, answer));
        return outcome;
    }
    outcome.code = command.Execute(marked.flags);
    if (kzFailed(outcome.code)) outcome.message = kzFailureOf(command, outcome.code);
    return outcome;
}

KzResult CCommandDispatcher::report(const std::string& name, const CommandTextError& error, IKzUnknown* command) const {
    if (const CKzLoc_HostCommand own(command); own) own->Fail(error.code, error.text);
    const std::string prefix = error.code == KZe_CMD_UNKNOWN_COMMAND || name.empty() ? "" : name + ": ";
    m_registry->environment()->log->write("commands", error.code, prefix + error.text);
    return error.code;
}

}  // namespace kzhost
