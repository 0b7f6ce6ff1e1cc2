// Every command by its name.
#include "host/core/command_registry.h"

#include "host/core/command_arguments.h"
#include "host/core/command_text.h"
#include "host/core/listener_table.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/served_command.h"
#include "host/state/command_state.h"

#include "kz/result.h"

#include <algorithm>

namespace kzhost {

namespace {

constexpr std::uint32_t deepestAlias = 20;

}  // namespace

std::vector<std::string> CCommandRegistry::names() const {
    std::vector<std::string> all = m_environment->state->aliases();
    for (const auto& [name, make] : m_builtin) all.push_back(name);
    for (const KzServer& server : m_modules->servers(KZa_COMMAND)) all.push_back(server.name);
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

bool CCommandRegistry::has(const std::string& name) const {
    return m_builtin.contains(name) || m_environment->state->alias(name) || m_modules->find(KZa_COMMAND, name);
}

bool CCommandRegistry::addAlias(const std::string& alias, const std::string& definition) const {
    if (has(alias) || !m_environment->state->addAlias(alias, definition)) return false;
    m_environment->listeners->commands([&](IKzCmdSysListener& each) { each.AliasAdded(alias.c_str()); });
    return true;
}

bool CCommandRegistry::removeAlias(const std::string& alias) const {
    if (!m_environment->state->removeAlias(alias)) return false;
    m_environment->listeners->commands([&](IKzCmdSysListener& each) { each.AliasRemoved(alias.c_str()); });
    return true;
}

CKzUser_Command& CCommandRegistry::spawn(std::string_view text, CKzUser_Command& command) const {
    std::string definition(text);
    std::string name = kzFirstWord(definition);
    bool isAlias = false;
    for (std::uint32_t depth = 0; const auto alias = m_environment->state->alias(name); ++depth) {
        if (depth == deepestAlias)
            throw CommandTextError{KZe_CMD_BAD_DEFINITION, "the alias \"" + name + "\" leads back to itself"};
        definition = *alias;
        name = kzFirstWord(definition);
        isAlias = true;
    }
    make(name, command);
    std::string_view rest;
    kzFirstWord(definition, &rest);
    if (isAlias) CCommandArguments(*m_environment->types, command.raw()).assign(kzParseArguments(rest));
    return command;
}

std::optional<std::string> CCommandRegistry::alias(const std::string& name) const {
    return m_environment->state->alias(name);
}

void CCommandRegistry::make(const std::string& name, CKzUser_Command& command) const {
    const std::uint32_t tag = m_environment->state->tagOf(name);
    if (const auto builtin = m_builtin.find(name); builtin != m_builtin.end()) {
        command.take(builtin->second(tag));
    } else if (const auto server = m_modules->find(KZa_COMMAND, name)) {
        CKzLoc_Unknown object;
        CModuleTable::spawn(*server, object);
        command.set(CHostRef<CServedCommand>::make(m_environment, object.raw(), name, tag).raw());
    } else {
        throw CommandTextError{KZe_CMD_UNKNOWN_COMMAND, "there is no command \"" + name + "\""};
    }
}

}  // namespace kzhost
