// Every command by its name.
#include "host/core/command_registry.h"

#include "host/core/command_arguments.h"
#include "host/core/command_text.h"
#include "host/core/listener_table.h"
#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
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
    for (const KzServer& server : m_modules->servers(KZa_COMMAND))
        if (kzIsCommandName(server.name) && !isHidden(server)) all.push_back(server.name);
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

// Counts as visible while an instance is asked, which may itself ask for the names.
bool CCommandRegistry::isHidden(const KzServer& server) const {
    {
        const std::lock_guard lock(m_lock);
        if (const std::uint64_t changes = m_modules->changes(); m_hiddenAsOf != changes) {
            m_hidden.clear();
            m_hiddenAsOf = changes;
        }
        if (const auto [row, isNew] = m_hidden.try_emplace(server.name, false); !isNew) return row->second;
    }
    std::uint32_t flags = 0;
    try {
        CKzLoc_Unknown object;
        CKzUser_Command(CModuleTable::spawn(server, object).raw()).Flags(&flags);
    } catch (KzResult) {
        return false;
    }
    const bool hides = (flags & KZfCMD_HIDDEN) != 0;
    const std::lock_guard lock(m_lock);
    m_hidden[server.name] = hides;
    return hides;
}

bool CCommandRegistry::has(const std::string& name) const {
    return m_builtin.contains(name) || m_environment->state->alias(name) ||
           (kzIsCommandName(name) && m_modules->find(KZa_COMMAND, name));
}

bool CCommandRegistry::addAlias(const std::string& alias, const std::string& definition) const {
    if (!kzIsCommandName(alias) || has(alias) || !m_environment->state->addAlias(alias, definition)) return false;
    m_environment->listeners->commands([&](IKzCmdSysListener& each) { each.AliasAdded(alias.c_str()); });
    m_environment->notifiers->tell(KZsNOTIFIER_ALIASES, {}, KZfNOTIFY_REFRESH);
    return true;
}

bool CCommandRegistry::removeAlias(const std::string& alias) const {
    if (!m_environment->state->removeAlias(alias)) return false;
    m_environment->listeners->commands([&](IKzCmdSysListener& each) { each.AliasRemoved(alias.c_str()); });
    m_environment->notifiers->tell(KZsNOTIFIER_ALIASES, {}, KZfNOTIFY_REFRESH);
    return true;
}

CommandDefinition CCommandRegistry::resolve(std::uint32_t flags, std::string_view text) const {
    CommandDefinition definition{flags, std::string(text), {}};
    for (std::uint32_t depth = 0; depth < deepestAlias; ++depth) {
        std::string_view rest;
        const auto alias = m_environment->state->alias(kzFirstWord(definition.text, &rest));
        if (!alias) break;
        definition.arguments.emplace_back(rest);
        MarkedCommand marked = kzStripMarks(definition.flags, *alias);
        definition.flags = marked.flags;
        definition.text = std::move(marked.rest);
    }
    return definition;
}

// The arguments of the innermost alias are assigned first. Those of the string itself are up to the caller.
CKzUser_Command& CCommandRegistry::spawn(std::string_view text, CKzUser_Command& command,
                                         std::optional<std::uint32_t>* query) const {
    const CommandDefinition definition = resolve(0, text);
    kzRequireBlankAfterName(text);
    std::string_view rest;
    const std::string name = kzFirstWord(definition.text, &rest);
    if (m_environment->state->alias(name))
        throw CommandTextError{KZe_CMD_BAD_DEFINITION, "the alias \"" + name + "\" leads back to itself"};
    make(name, command);
    CCommandArguments arguments(*m_environment->types, command.raw());
    for (std::size_t outer = definition.arguments.size(); outer > 0; rest = definition.arguments[--outer])
        if (const auto index = arguments.preset(kzParseArguments(rest)); index && query != nullptr) *query = index;
    return command;
}

std::optional<std::string> CCommandRegistry::alias(const std::string& name) const {
    return m_environment->state->alias(name);
}

void CCommandRegistry::make(const std::string& name, CKzUser_Command& command) const {
    const std::uint32_t tag = m_environment->state->tagOf(name);
    if (const auto builtin = m_builtin.find(name); builtin != m_builtin.end()) {
        command.take(builtin->second(tag));
    } else if (const auto server = m_modules->find(KZa_COMMAND, name); server && kzIsCommandName(name)) {
        CKzLoc_Unknown object;
        CModuleTable::spawn(*server, object);
        command.set(CHostRef<CServedCommand>::make(m_environment, object.raw(), name, tag).raw());
    } else {
        throw CommandTextError{KZe_CMD_UNKNOWN_COMMAND, "there is no command \"" + name + "\""};
    }
}

}  // namespace kzhost
