// The items of a document by the names under which they are shown.
#include "host/document/name_index.h"

#include "host/document/item.h"

#include <fmt/format.h>

#include <utility>

namespace kzhost {

namespace {

std::string shownAs(const std::string& base, std::uint32_t number) {
    return number == 1 ? base : fmt::format("{} ({})", base, number);
}

}  // namespace

Item* CNameIndex::find(std::string_view uniqueName) const {
    const auto entry = m_items.find(uniqueName);
    return entry != m_items.end() ? entry->second : nullptr;
}

void CNameIndex::enter(Item& item, std::uint32_t number) {
    const std::string base = item.baseName();
    Numbers& numbers = m_numbers[base];
    const auto isFree = [&](std::uint32_t each) {
        return (each >= numbers.next || numbers.freed.contains(each)) && find(shownAs(base, each)) == nullptr;
    };
    if (number == 0 || !isFree(number)) {
        // Another name may read like one of these, as "Box (2)" does: its number is passed over.
        auto freed = numbers.freed.begin();
        while (freed != numbers.freed.end() && !isFree(*freed)) ++freed;
        number = freed != numbers.freed.end() ? *freed : numbers.next;
        while (!isFree(number)) ++number;
    }
    std::string name = shownAs(base, number);
    for (; numbers.next <= number; ++numbers.next) numbers.freed.insert(numbers.freed.end(), numbers.next);
    item.number = number;
    item.uniqueName = std::move(name);
    m_items.insert({item.uniqueName, &item});
    numbers.freed.erase(number);  // goes last, so that without memory the number stays free
}

void CNameIndex::leave(Item& item) {
    m_items.erase(item.uniqueName);
    const auto entry = m_numbers.find(item.baseName());
    if (entry == m_numbers.end()) return;
    Numbers& numbers = entry->second;
    numbers.freed.insert(item.number);
    while (numbers.next > 1 && numbers.freed.contains(numbers.next - 1)) numbers.freed.erase(--numbers.next);
    if (numbers.next == 1) m_numbers.erase(entry);
}

// A new table in place of this one would have to be allocated. This one lets the lack of memory for a smaller array pass.
void CNameIndex::clear() noexcept {
    m_items.clear();
    m_numbers.clear();
}

}  // namespace kzhost
