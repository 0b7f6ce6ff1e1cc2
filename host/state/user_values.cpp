// Values that users and scripts define by name.
#include "host/state/user_values.h"

#include <utility>

namespace kzhost {

std::optional<UserValue> CUserValues::find(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_values.find(name);
    return entry != m_values.end() ? std::optional(entry->second) : std::nullopt;
}

void CUserValues::set(const std::string& name, UserValue value) {
    const std::lock_guard lock(m_lock);
    m_values[name] = std::move(value);
}

bool CUserValues::remove(const std::string& name) {
    const std::lock_guard lock(m_lock);
    return m_values.erase(name) != 0;
}

std::vector<std::string> CUserValues::names() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> all;
    for (const auto& [name, value] : m_values) all.push_back(name);
    return all;
}

}  // namespace kzhost
