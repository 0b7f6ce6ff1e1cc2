// Values that users and scripts define by name.
#include "host/state/user_values.h"

namespace kzhost {

std::optional<UserValue> CUserValues::find(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_values.find(name);
    return entry != m_values.end() ? std::optional(entry->second) : std::nullopt;
}

void CUserValues::set(const std::string& name, UserValue value) {
    std::optional<UserValue> former;
    const UserValue now = value;
    {
        const std::lock_guard lock(m_lock);
        const auto [entry, isNew] = m_values.try_emplace(name);
        if (!isNew) former = std::move(entry->second);
        entry->second = std::move(value);
    }
    if (!former) return tell(ValueEvent::added, name);
    if (former->type != now.type || former->choices != now.choices || former->life != now.life)
        tell(ValueEvent::redefined, name);
    if (former->cell != now.cell) tell(ValueEvent::changed, name);
}

bool CUserValues::remove(const std::string& name) {
    {
        const std::lock_guard lock(m_lock);
        if (m_values.erase(name) == 0) return false;
    }
    tell(ValueEvent::deleted, name);
    return true;
}

std::vector<std::string> CUserValues::names() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> all;
    for (const auto& [name, value] : m_values) all.push_back(name);
    return all;
}

}  // namespace kzhost
