// What the command service keeps between calls.
#include "host/command_system.h"

namespace {
constexpr std::size_t longestHistory = 1000;
constexpr std::size_t mostHistoryBytes = 16U << 20U;
}  // namespace

std::uint32_t CCommandSystem::tagOf(const std::string& name) {
    const std::lock_guard lock(m_lock);
    return m_tags.try_emplace(name, static_cast<std::uint32_t>(m_tags.size() + 1)).first->second;
}

std::optional<std::string> CCommandSystem::nameOf(std::uint32_t tag) const {
    const std::lock_guard lock(m_lock);
    for (const auto& [name, known] : m_tags)
        if (known == tag) return name;
    return {};
}

bool CCommandSystem::addAlias(const std::string& alias, const std::string& definition) {
    const std::lock_guard lock(m_lock);
    return m_aliases.try_emplace(alias, definition).second;
}

bool CCommandSystem::removeAlias(const std::string& alias) {
    const std::lock_guard lock(m_lock);
    return m_aliases.erase(alias) != 0;
}

std::optional<std::string> CCommandSystem::alias(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto found = m_aliases.find(name);
    return found != m_aliases.end() ? std::optional(found->second) : std::nullopt;
}

std::vector<std::string> CCommandSystem::aliases() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> names;
    for (const auto& [name, definition] : m_aliases) names.push_back(name);
    return names;
}

void CCommandSystem::remember(const std::string& text) {
    const std::lock_guard lock(m_lock);
    m_history.push_back(text);
    m_historyBytes += text.size();
    while (m_history.size() > longestHistory || (m_historyBytes > mostHistoryBytes && m_history.size() > 1)) {
        m_historyBytes -= m_history.front().size();
        m_history.pop_front();
    }
}

std::uint32_t CCommandSystem::historyCount() const {
    const std::lock_guard lock(m_lock);
    return static_cast<std::uint32_t>(m_history.size());
}

std::optional<std::string> CCommandSystem::historyAt(std::uint32_t index) const {
    const std::lock_guard lock(m_lock);
    return index < m_history.size() ? std::optional(m_history[index]) : std::nullopt;
}

std::vector<std::string> CCommandSystem::history() const {
    const std::lock_guard lock(m_lock);
    return {m_history.begin(), m_history.end()};
}

std::uint32_t CCommandSystem::depth() const {
    const std::lock_guard lock(m_lock);
    return static_cast<std::uint32_t>(m_running.size());
}

std::uint32_t CCommandSystem::flags() const {
    const std::lock_guard lock(m_lock);
    return m_running.empty() ? 0 : m_running.back();
}

CCommandSystem::Depth::Depth(CCommandSystem& system, std::uint32_t flags) : m_system(system) {
    const std::lock_guard lock(system.m_lock);
    system.m_running.push_back(flags);
}

CCommandSystem::Depth::~Depth() {
    const std::lock_guard lock(m_system.m_lock);
    m_system.m_running.pop_back();
}
