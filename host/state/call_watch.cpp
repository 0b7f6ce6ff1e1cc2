// Fault injection, call counts and tracing of service operations.
#include "host/state/call_watch.h"

#include <utility>

namespace kzhost {

void CCallWatch::fail(const std::string& operation, KzResult code, int times) {
    const std::lock_guard lock(m_lock);
    if (times == 0) m_faults.erase(operation);
    else m_faults[operation] = {code, times};
    updateWatching();
}

void CCallWatch::heal() {
    const std::lock_guard lock(m_lock);
    m_faults.clear();
    updateWatching();
}

void CCallWatch::count(bool on) {
    const std::lock_guard lock(m_lock);
    m_counting = on;
    m_counts.clear();
    updateWatching();
}

int CCallWatch::countOf(const std::string& operation) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_counts.find(operation);
    return entry == m_counts.end() ? 0 : entry->second;
}

void CCallWatch::trace(Tracer tracer) {
    const std::lock_guard lock(m_lock);
    m_tracer = std::move(tracer);
    updateWatching();
}

void CCallWatch::updateWatching() { m_watching = m_counting || m_tracer || !m_faults.empty(); }

void CCallWatch::watched(const char* operation) {
    const std::lock_guard lock(m_lock);
    if (m_tracer) m_tracer(operation);
    if (m_counting) ++m_counts[operation];
    const auto entry = m_faults.find(std::string_view(operation));
    if (entry == m_faults.end()) return;
    const KzResult code = entry->second.code;
    if (entry->second.remaining > 0 && --entry->second.remaining == 0) {
        m_faults.erase(entry);
        updateWatching();
    }
    throw code;
}

}  // namespace kzhost
