// Tables of the elements of a mesh. An id is a number that is unique among the elements of all meshes, so a foreign id is
// simply not found. It is never dereferenced.
#pragma once

#include "kz/result.h"

#include <algorithm>
#include <atomic>
#include <unordered_map>
#include <utility>
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
    // Adds an element that already has an id.
    Element& keep(Element element) {
        m_places.emplace(element.id, static_cast<std::uint32_t>(m_elements.size()));
        m_elements.push_back(std::move(element));
        return m_elements.back();
    }
    Element* find(KzElementId id) {
        const auto place = m_places.find(id);
        return place != m_places.end() ? &m_elements[place->second] : nullptr;
    }
    Element& at(KzElementId id) {
        Element* element = find(id);
        if (element == nullptr) throw KZe_NOTFOUND;
        return *element;
    }
    Element& byIndex(std::uint32_t index) {
        if (index >= m_elements.size()) throw KZe_OUTOFBOUNDS;
        return m_elements[index];
    }
    // -1 if there is no such element.
    std::int32_t indexOf(KzElementId id) const {
        const auto place = m_places.find(id);
        return place != m_places.end() ? static_cast<std::int32_t>(place->second) : -1;
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
