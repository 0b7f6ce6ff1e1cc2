// Results that modules keep.
#include "host/core/result_cache.h"

#include "kz/result.h"

#include <cstring>
#include <unistd.h>

namespace kzhost {

bool CResultCache::Before::operator()(const Key& left, const Key& right) const noexcept {
    const int order = std::memcmp(&left.first, &right.first, sizeof left.first);
    return order != 0 ? order < 0 : left.second < right.second;
}

void CResultCache::take(const Key& key, Entries& to) {
    const auto place = m_places.find(key);
    if (place == m_places.end()) return;
    m_used -= place->second->size;
    to.splice(to.end(), m_entries, place->second);
    m_places.erase(place);
}

void CResultCache::keep(const Key& key, IKzUnknown* data, double size) {
    Entries dropped;
    const std::lock_guard lock(m_lock);
    take(key, dropped);
    m_entries.emplace_front();
    m_entries.front().key = key;
    m_entries.front().data.set(data);
    m_entries.front().size = size;
    m_places[key] = m_entries.begin();
    m_used += size;
    while (m_used > limit() && m_entries.size() > 1) take(Key(m_entries.back().key), dropped);
}

KzResult CResultCache::find(const Key& key, IKzUnknown** data) {
    const std::lock_guard lock(m_lock);
    const auto place = m_places.find(key);
    if (place == m_places.end()) return KZe_NOTFOUND;
    m_entries.splice(m_entries.begin(), m_entries, place->second);
    return place->second->data.get(data);
}

bool CResultCache::drop(const Key& key) {
    Entries dropped;
    const std::lock_guard lock(m_lock);
    take(key, dropped);
    return !dropped.empty();
}

void CResultCache::dropAll(const KzGuid* owner) {
    Entries dropped;
    const std::lock_guard lock(m_lock);
    for (auto at = m_places.begin(); at != m_places.end();) {
        const Key key = at++->first;
        if (owner == nullptr || key.first == *owner) take(key, dropped);
    }
}

double CResultCache::used() const {
    const std::lock_guard lock(m_lock);
    return m_used;
}

double CResultCache::limit() {
    static const double bytes =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 8;
    return bytes;
}

}  // namespace kzhost
