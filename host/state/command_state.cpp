// The state of the command service.
#include "host/state/command_state.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {
constexpr std::size_t longestHistory = 1000;
constexpr std::size_t mostHistoryBytes = 16U << 20U;
}  // namespace

std::uint32_t CCommandState::tagOf(const std::string& name) {
    const std::lock_guard lock(m_lock);
    return m_tags.try_emplace(name, static_cast<std::uint32_t>(m_tags.size() + 1)).first->second;
}

std::optional<std::string> CCommandState::nameOf(std::uint32_t tag) const {
    const std::lock_guard lock(m_lock);
    for (const auto& [name, number] : m_tags)
        if (number == tag) return name;
    return {};
}

bool CCommandState::addAlias(const std::string& alias, const std::string& definition) {
    const std::lock_guard lock(m_lock);
    return m_aliases.try_emplace(alias, definition).second;
}

bool CCommandState::removeAlias(const std::string& alias) {
    const std::lock_guard lock(m_lock);
    return m_aliases.erase(alias) != 0;
}

std::optional<std::string> CCommandState::alias(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_aliases.find(name);
    return entry != m_aliases.end() ? std::optional(entry->second) : std::nullopt;
}

std::vector<std::string> CCommandState::aliases() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> names;
    for (const auto& [name, definition] : m_aliases) names.push_back(name);
    return names;
}

void CCommandState::remember(std::string text) {
    const std::lock_guard lock(m_lock);
    m_historyBytes += text.size();
    m_history.push_back(std::move(text));
    ++m_sessionLines;
    while (m_history.size() > longestHistory || (m_historyBytes > mostHistoryBytes && m_history.size() > 1)) {
        m_historyBytes -= m_history.front().size();
        m_history.pop_front();
    }
}

void CCommandState::precede(std::vector<std::string> lines) {
    const std::lock_guard lock(m_lock);
    for (auto line = lines.rbegin();
         line != lines.rend() && m_history.size() < longestHistory && m_historyBytes + line->size() <= mostHistoryBytes;
         ++line) {
        m_historyBytes += line->size();
        m_history.push_front(std::move(*line));
    }
}

std::vector<std::string> CCommandState::historyOfSession() const {
    const std::lock_guard lock(m_lock);
    return {m_history.end() - static_cast<std::ptrdiff_t>(std::min(m_sessionLines, m_history.size())), m_history.end()};
}

std::uint32_t CCommandState::historyCount() const {
    const std::lock_guard lock(m_lock);
    return static_cast<std::uint32_t>(m_history.size());
}

std::optional<std::string> CCommandState::historyAt(std::uint32_t index) const {
    const std::lock_guard lock(m_lock);
    return index < m_history.size() ? std::optional(m_history[index]) : std::nullopt;
}

std::vector<std::string> CCommandState::history() const {
    const std::lock_guard lock(m_lock);
    return {m_history.begin(), m_history.end()};
}

std::uint32_t CCommandState::depth() const {
    const std::lock_guard lock(m_lock);
    const auto own = m_running.find(std::this_thread::get_id());
    return own != m_running.end() ? static_cast<std::uint32_t>(own->second.size()) : 0;
}

std::uint32_t CCommandState::flags() const {
    const std::lock_guard lock(m_lock);
    const auto own = m_running.find(std::this_thread::get_id());
    return own != m_running.end() ? own->second.back() : 0;
}

CCommandState::Depth::Depth(CCommandState& system, std::uint32_t flags) : m_system(system) {
    const std::lock_guard lock(system.m_lock);
    system.m_running[std::this_thread::get_id()].push_back(flags);
}

CCommandState::Depth::~Depth() {
    std::unique_lock lock(m_system.m_lock);
    const auto own = m_system.m_running.find(std::this_thread::get_id());
    own->second.pop_back();
    if (!own->second.empty()) return;
    m_system.m_running.erase(own);
    lock.unlock();
    if (m_system.whenIdle) m_system.whenIdle();
}

}  // namespace kzhost
