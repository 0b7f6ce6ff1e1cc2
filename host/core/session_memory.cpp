// What a host remembers from one session to the next.
//
//     alias   NAME    DEFINITION
//     units   system  NAME
//     value   NAME    TYPE VALUE CHOICE...
//     persist PATH    VALUE, or nothing for an instance of a hash or list
#include "host/core/session_memory.h"

#include "host/core/log_store.h"
#include "host/core/persistence.h"
#include "host/core/value_type_registry.h"
#include "host/state/command_state.h"
#include "host/state/property_table.h"
#include "host/state/user_values.h"

#include "kz/command.h"
#include "kz/result.h"

#include <utility>

namespace kzhost {

namespace {

constexpr const char* aliasKind = "alias";
constexpr const char* unitsKind = "units";
constexpr const char* unitsName = "system";
constexpr const char* valueKind = "value";

}  // namespace

void CSessionMemory::open(const std::string& path, MemoryUse use) {
    m_use = path.empty() ? MemoryUse::none : use;
    if (m_use == MemoryUse::none) return;
    m_file = CPreferenceFile(path);
    std::string why;
    m_parts.preferences->load(m_file.read(why));
    if (!why.empty()) m_parts.log->write("preferences", KZe_FAILED, why);
    const CPreferences& preferences = *m_parts.preferences;
    for (const std::string& name : preferences.names(aliasKind))
        if (const auto fields = preferences.get(aliasKind, name); fields && fields->size() == 1)
            m_parts.commands->addAlias(name, fields->front());
    if (const auto units = preferences.get(unitsKind, unitsName); units && units->size() == 1)
        m_parts.properties->set("units", units->front());
    takeValues();
    if (m_use == MemoryUse::interactive) m_parts.commands->precede(preferences.history());
}

void CSessionMemory::takeValues() {
    for (const std::string& name : m_parts.preferences->names(valueKind)) {
        const auto fields = m_parts.preferences->get(valueKind, name).value();
        UserValue value;
        value.life = ValueLife::config;
        value.type = fields.size() >= 2 ? m_parts.types->find(fields[0]) : nullptr;
        const auto cell = value.type != nullptr ? m_parts.types->cellOfText(*value.type, fields[1]) : std::nullopt;
        if (cell) {
            value.cell = *cell;
            value.choices.assign(fields.begin() + 2, fields.end());
            m_parts.values->set(name, std::move(value));
            continue;
        }
        m_unread.insert(name);
        m_parts.log->write("preferences", KZe_CMD_DATATYPE_UNAVAILABLE,
                           "the user value \"" + name + "\" is not available: " +
                               (fields.empty()
                                    ? "it has no type"
                                    : "nothing here takes it as a value of the type \"" + fields.front() + "\""));
    }
}

void CSessionMemory::keepValues() {
    CPreferences& preferences = *m_parts.preferences;
    std::set<std::string> kept;
    for (const std::string& name : m_parts.values->names()) {
        const auto value = m_parts.values->find(name);
        if (!value || value->life != ValueLife::config) continue;
        PreferenceFields fields{value->type->name, kzFormatCell(*value->type, value->cell)};
        fields.insert(fields.end(), value->choices.begin(), value->choices.end());
        preferences.set(valueKind, name, std::move(fields));
        kept.insert(name);
    }
    for (const std::string& name : preferences.names(valueKind))
        if (!kept.contains(name) && !m_unread.contains(name)) preferences.remove(valueKind, name);
}

void CSessionMemory::keepAliases() {
    CPreferences& preferences = *m_parts.preferences;
    for (const std::string& name : preferences.names(aliasKind))
        if (!m_parts.commands->alias(name)) preferences.remove(aliasKind, name);
    for (const std::string& name : m_parts.commands->aliases())
        if (auto definition = m_parts.commands->alias(name)) preferences.set(aliasKind, name, {std::move(*definition)});
}

void CSessionMemory::close() {
    m_parts.persistence->finish();
    const MemoryUse use = std::exchange(m_use, MemoryUse::none);
    if (use == MemoryUse::none) return;
    keepValues();
    if (use == MemoryUse::interactive) {
        keepAliases();
        if (auto units = m_parts.properties->get("units"))
            m_parts.preferences->set(unitsKind, unitsName, {std::move(*units)});
        for (std::string& line : m_parts.commands->historyOfSession()) m_parts.preferences->remember(std::move(line));
    }
    std::string why;
    if (m_file.write(m_parts.preferences->changes(), why)) m_parts.preferences->settle();
    else m_parts.log->write("preferences", KZe_NOACCESS, why);
}

}  // namespace kzhost
