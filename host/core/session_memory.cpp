// What a host remembers from one session to the next.
//
//     alias   NAME    DEFINITION
//     units   system  NAME
//     value   NAME    TYPE VALUE CHOICE...
//     value-definition NAME  USERNAME FLAGS MINIMUM MAXIMUM ACTION DEFAULT NUMBER...
//                     if any of these was given; DEFAULT is empty or one text, the numbers are those of the choices
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

#include <fmt/format.h>

#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr const char* aliasKind = "alias";
constexpr const char* unitsKind = "units";
constexpr const char* unitsName = "system";
constexpr const char* valueKind = "value";
constexpr const char* definitionKind = "value-definition";

PreferenceFields definitionFields(const UserValue& value) {
    PreferenceFields fields{value.userName,
                            std::to_string(value.flags),
                            fmt::format("{}", value.minimum),
                            fmt::format("{}", value.maximum),
                            value.action,
                            value.initial ? "=" + kzFormatCell(*value.type, *value.initial) : std::string()};
    for (const std::int32_t number : value.choiceNumbers) fields.push_back(std::to_string(number));
    return fields;
}

// A definition that cannot be read leaves the value without one.
void takeDefinition(const CValueTypeRegistry& types, const PreferenceFields& fields, UserValue& value) {
    if (fields.size() < 6) return;
    const auto flags = kzParseInteger(fields[1]);
    const auto minimum = kzParseNumber(fields[2]), maximum = kzParseNumber(fields[3]);
    if (!flags || !minimum || !maximum) return;
    std::vector<std::int32_t> numbers;
    for (std::size_t at = 6; at < fields.size(); ++at) numbers.push_back(kzParseInteger(fields[at]).value_or(0));
    if (!numbers.empty() && numbers.size() != value.choices.size()) return;
    value.choiceNumbers = std::move(numbers);
    value.userName = fields[0];
    value.flags = static_cast<std::uint32_t>(*flags);
    value.minimum = *minimum;
    value.maximum = *maximum;
    value.action = fields[4];
    if (!fields[5].empty()) value.initial = types.cellOfText(*value.type, std::string_view(fields[5]).substr(1));
}

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
            if (const auto definition = m_parts.preferences->get(definitionKind, name))
                takeDefinition(*m_parts.types, *definition, value);
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
        if (const auto definition = definitionFields(*value); definition != definitionFields(UserValue()))
            preferences.set(definitionKind, name, definition);
        else if (preferences.get(definitionKind, name)) preferences.remove(definitionKind, name);
        kept.insert(name);
    }
    for (const std::string& name : preferences.names(definitionKind))
        if (!kept.contains(name) && !m_unread.contains(name)) preferences.remove(definitionKind, name);
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
