// Results that modules keep under an owner and a number, as long as memory allows.
#pragma once

#include "kz/base/object.h"

#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <utility>

namespace kzhost {

class CResultCache {
public:
    using Key = std::pair<KzGuid, std::intptr_t>;

    // Replaces what is kept there, and drops what was used longest ago if that makes it too much.
    void keep(const Key& key, IKzUnknown* data, double size);
    // NOTFOUND once it has been dropped; hands out a new reference.
    KzResult find(const Key& key, IKzUnknown** data);
    bool drop(const Key& key);          // false if nothing is kept there
    void dropAll(const KzGuid* owner);  // null: of all owners
    double used() const;                // bytes
    static double limit();              // bytes: an eighth of the machine's memory

private:
    struct Before {
        bool operator()(const Key& left, const Key& right) const noexcept;
    };
    struct Entry {
        Key key;
        CKzLoc_Unknown data;
        double size = 0;
    };
    // A caller destroys the entries that it gets without the lock: a module's destructor may call the cache.
    using Entries = std::list<Entry>;
    void take(const Key& key, Entries& to);

    mutable std::mutex m_lock;
    Entries m_entries;  // the latest used first
    std::map<Key, Entries::iterator, Before> m_places;
    double m_used = 0;
};

}  // namespace kzhost
