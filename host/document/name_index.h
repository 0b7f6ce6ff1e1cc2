// The items of a document by the names under which they are shown. Items of one name are numbered: "Box", "Box (2)".
// A number is given when an item takes the name and stays until it gives the name up, so that removing one item renames no
// other. Numbers that are free again are given out first.
#pragma once

#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/hash_policy.hpp>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kzhost {

struct Item;

class CNameIndex {
public:
    // Null if no item has that name.
    Item* find(std::string_view uniqueName) const;
    // Names the item after its base name, with that number if it is free, otherwise (and for 0) with the lowest free one.
    void enter(Item& item, std::uint32_t number);
    void leave(Item& item);
    void clear() noexcept;

private:
    struct Numbers {
        std::uint32_t next = 1;
        std::set<std::uint32_t> freed;  // below `next`
    };
    // One array that keeps the hashes with the entries: among many items a search costs as much as the lines of the cache that
    // it touches, which are one here and three in a table of linked nodes. What keeps the texts of the keys is each item's
    // unique name.
    using Table = __gnu_pbds::gp_hash_table<std::string_view, Item*, std::hash<std::string_view>, std::equal_to<>,
                                            __gnu_pbds::direct_mask_range_hashing<>, __gnu_pbds::linear_probe_fn<>,
                                            __gnu_pbds::hash_standard_resize_policy<>, true>;
    Table m_items;
    std::unordered_map<std::string, Numbers> m_numbers;
};

}  // namespace kzhost
