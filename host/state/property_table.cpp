// Named texts.
#include "host/state/property_table.h"

#include <utility>

namespace kzhost {

void CPropertyTable::set(const std::string& name, std::string value) {
    {
        const std::lock_guard lock(m_lock);
        std::string& now = m_values[name];
        if (std::exchange(now, std::move(value)) == now) return;
    }
    if (m_whenSet) m_whenSet(name);
}

std::optional<std::string> CPropertyTable::get(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_values.find(name);
    return entry != m_values.end() ? std::optional(entry->second) : std::nullopt;
}

}  // namespace kzhost
