// A set that remembers the order in which its elements came. An element is found by address, and by position in
// logarithmic time.
#pragma once

#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/tree_policy.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace kzhost {

// `Value` is a reference, such as a shared pointer, and the set is one of what it refers to.
template <class Value> class COrderedSet {
public:
    using Element = std::remove_reference_t<decltype(*std::declval<const Value&>())>;
    using Key = std::int64_t;  // the place in the order; an element that comes back may take its former one

    std::size_t size() const noexcept { return m_order.size(); }
    bool empty() const noexcept { return m_order.empty(); }
    bool has(const Element& element) const { return m_keys.contains(&element); }
    // The position must be in range.
    const Value& at(std::size_t position) const { return m_order.find_by_order(position)->second; }
    const Value& last() const { return m_order.rbegin()->second; }

    // Behind all that the set has.
    Key nextKey() const { return m_order.empty() ? 0 : m_order.rbegin()->first + 1; }
    // False if the set has it already.
    bool add(Value value) { return add(std::move(value), nextKey()); }
    bool add(Value value, Key key) {
        if (m_order.find(key) != m_order.end()) key = nextKey();
        if (!m_keys.emplace(&*value, key).second) return false;
        m_order.insert({key, std::move(value)});
        return true;
    }
    // The place that it had; nothing if it was not there.
    std::optional<Key> remove(const Element& element) {
        const auto entry = m_keys.find(&element);
        if (entry == m_keys.end()) return {};
        const Key key = entry->second;
        m_keys.erase(entry);
        m_order.erase(key);
        return key;
    }
    template <class Test> void removeIf(const Test& test) {
        COrderedSet kept;
        for (const auto& [key, value] : m_order)
            if (!test(value)) kept.add(value, key);
        swap(kept);
    }
    // Whether it has the same elements in the same order.
    bool isSameAs(const COrderedSet& other) const {
        return size() == other.size() &&
               std::equal(m_order.begin(), m_order.end(), other.m_order.begin(),
                          [](const auto& a, const auto& b) { return &*a.second == &*b.second; });
    }
    void clear() {
        m_keys.clear();
        m_order.clear();
    }
    void swap(COrderedSet& other) {
        m_keys.swap(other.m_keys);
        m_order.swap(other.m_order);
    }
    template <class Visit> void each(const Visit& visit) const {
        for (const auto& entry : m_order) visit(entry.second);
    }

private:
    using Order = __gnu_pbds::tree<Key, Value, std::less<>, __gnu_pbds::rb_tree_tag,
                                   __gnu_pbds::tree_order_statistics_node_update>;
    std::unordered_map<const Element*, Key> m_keys;
    Order m_order;
};

}  // namespace kzhost
