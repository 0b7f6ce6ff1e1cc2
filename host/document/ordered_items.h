// Items in an order, found by position and asked for their position in logarithmic time, however many there are.
#pragma once

#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/tree_policy.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>

namespace kzhost {

struct Item;

// The order of siblings. Each item has a key, of which there are gaps, so that an item goes between two others without
// moving them; once a gap is used up, all keys are given out anew. `key` is the member of the item that holds it.
template <std::int64_t Item::*key> class COrderedItems {
public:
    std::size_t size() const noexcept { return m_tree.size(); }
    bool empty() const noexcept { return m_tree.empty(); }
    // The position must be in range.
    Item* at(std::size_t position) const { return m_tree.find_by_order(position)->second; }
    std::size_t positionOf(const Item& item) const { return m_tree.order_of_key(item.*key); }

    // Puts the item in front of the one at that position; past the end, it becomes the last.
    void insert(std::size_t position, Item& item) {
        for (;;) {
            const bool isLast = position >= size();
            const std::int64_t before = position == 0 || empty() ? low
                                        : isLast                 ? std::prev(m_tree.end())->first
                                                                 : keyAt(position - 1);
            const std::int64_t after = isLast ? high : keyAt(position);
            const std::int64_t middle = after == high   ? before + gap
                                        : before == low ? after - gap
                                                        : between(before, after);
            if (middle > before && middle < after) {
                item.*key = middle;
                m_tree.insert({middle, &item});
                return;
            }
            spread();
        }
    }
    // For keys that only grow, such as the order of creation.
    void insertByKey(Item& item) { m_tree.insert({item.*key, &item}); }
    void erase(const Item& item) { m_tree.erase(item.*key); }
    void clear() { m_tree.clear(); }

    template <class Visit> void each(const Visit& visit) const {
        for (const auto& entry : m_tree) visit(*entry.second);
    }

private:
    using Tree = __gnu_pbds::tree<std::int64_t, Item*, std::less<>, __gnu_pbds::rb_tree_tag,
                                  __gnu_pbds::tree_order_statistics_node_update>;
    static constexpr std::int64_t gap = std::int64_t{1} << 24;
    static constexpr std::int64_t high = INT64_MAX - gap, low = -high;

    static std::int64_t between(std::int64_t before, std::int64_t after) { return before + (after - before) / 2; }
    std::int64_t keyAt(std::size_t position) const { return m_tree.find_by_order(position)->first; }
    void spread() {
        Tree fresh;
        std::int64_t next = 0;
        for (const auto& entry : m_tree) {
            entry.second->*key = next += gap;
            fresh.insert({next, entry.second});
        }
        m_tree.swap(fresh);
    }

    Tree m_tree;
};

}  // namespace kzhost
