// Tables of the elements of a mesh. An id is a number that no two elements of any mesh ever share, so that an id which
// a mesh did not give out is simply not found; nothing is ever read through it.
#pragma once

#include "kz/result.h"

#include <algorithm>
#include <atomic>
#include <unordered_map>
#include <vector>

namespace kzhost {

inline KzElementId kzNewElementId() noexcept {
    static std::atomic<std::uintptr_t> theNext = 0x1000;
    return reinterpret_cast<KzElementId>(theNext.fetch_add(16));
}

// Elements in order, found by index or id. Element has a member `id`. Additions and removals move elements.
template <class Element> class CElementTable {
public:
    Element& add(Element element) {
        element.id = kzNewElementId();
        return keep(std::move(element));
    }
    // Adds an element that has its id already.
    Element& keep(Element element) {
        m_places.emplace(element.id, static_cast<std::uint32_t>(m_elements.size()));
        m_elements.push_back(std::move(element));
        return m_elements.back();
    }
    Element* find(KzElementId id) {
        const auto found = m_places.find(id);
        return found != m_places.end() ? &m_elements[found->second] : nullptr;
    }
    Element& at(KzElementId id) {
        Element* found = find(id);
        if (found == nullptr) throw KZe_NOTFOUND;
        return *found;
    }
    Element& byIndex(std::uint32_t index) {
        if (index >= m_elements.size()) throw KZe_OUTOFBOUNDS;
        return m_elements[index];
    }
    // -1 when it is not here.
    std::int32_t indexOf(KzElementId id) const {
        const auto found = m_places.find(id);
        return found != m_places.end() ? static_cast<std::int32_t>(found->second) : -1;
    }
    bool has(KzElementId id) const { return m_places.contains(id); }
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_elements.size()); }
    void reserve(std::size_t more) {
        m_elements.reserve(m_elements.size() + more);
        m_places.reserve(m_elements.size() + more);
    }
    template <class Test> void removeIf(Test test) {
        std::erase_if(m_elements, test);
        m_places.clear();
        for (const Element& element : m_elements)
            m_places.emplace(element.id, static_cast<std::uint32_t>(m_places.size()));
    }
    void clear() {
        m_elements.clear();
        m_places.clear();
    }
    std::vector<KzElementId> ids() const {
        std::vector<KzElementId> all;
        for (const Element& element : m_elements) all.push_back(element.id);
        return all;
    }
    auto begin() { return m_elements.begin(); }
    auto end() { return m_elements.end(); }
    auto begin() const { return m_elements.begin(); }
    auto end() const { return m_elements.end(); }

private:
    std::vector<Element> m_elements;
    std::unordered_map<KzElementId, std::uint32_t> m_places;
};

}  // namespace kzhost
