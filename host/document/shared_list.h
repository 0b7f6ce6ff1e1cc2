// A list whose copies share what is equal in them, so that each state of a document can be kept. Copying a list and
// changing an element copies the pointers to all chunks and one chunk, whose size grows with the root of the list's.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace kzhost {

template <class Value> class CSharedList {
public:
    std::size_t size() const { return m_starts.empty() ? 0 : m_starts.back() + m_chunks.back()->size(); }
    bool empty() const { return m_chunks.empty(); }
    const Value& operator[](std::size_t index) const {
        const std::size_t chunk = chunkOf(index);
        return (*m_chunks[chunk])[index - m_starts[chunk]];
    }
    const Value& front() const { return m_chunks.front()->front(); }
    const Value& back() const { return m_chunks.back()->back(); }

    // The number of elements before the first one of which `isBefore` is false; they are sorted by it.
    template <class Test> std::size_t partition(const Test& isBefore) const {
        const auto chunk = std::partition_point(m_chunks.begin(), m_chunks.end(),
                                                [&](const auto& each) { return isBefore(each->back()); });
        if (chunk == m_chunks.end()) return size();
        const auto place = std::partition_point((*chunk)->begin(), (*chunk)->end(), isBefore);
        return m_starts[static_cast<std::size_t>(chunk - m_chunks.begin())] +
               static_cast<std::size_t>(place - (*chunk)->begin());
    }

    void assign(const std::vector<Value>& values) {
        m_chunks.clear();
        const std::size_t step = halfChunk(values.size());
        for (std::size_t start = 0; start < values.size(); start += step) {
            const auto first = values.begin() + static_cast<std::ptrdiff_t>(start);
            const auto count = std::min(step, values.size() - start);
            m_chunks.push_back(std::make_shared<Chunk>(first, first + static_cast<std::ptrdiff_t>(count)));
        }
        countFrom(0);
    }
    template <class Change> void change(std::size_t index, const Change& change) {
        const std::size_t chunk = chunkOf(index);
        auto copy = std::make_shared<Chunk>(*m_chunks[chunk]);
        change((*copy)[index - m_starts[chunk]]);
        m_chunks[chunk] = std::move(copy);
    }
    void insert(std::size_t index, Value value) {
        if (m_chunks.empty()) return assign({std::move(value)});
        const std::size_t chunk = chunkOf(std::min(index, size() - 1));
        auto copy = std::make_shared<Chunk>(*m_chunks[chunk]);
        copy->insert(copy->begin() + static_cast<std::ptrdiff_t>(index - m_starts[chunk]), std::move(value));
        if (copy->size() > 2 * halfChunk(size())) {
            const auto middle = copy->begin() + static_cast<std::ptrdiff_t>(copy->size() / 2);
            const auto next = m_chunks.begin() + static_cast<std::ptrdiff_t>(chunk) + 1;
            m_chunks.insert(next, std::make_shared<Chunk>(middle, copy->end()));
            copy->erase(middle, copy->end());
        }
        m_chunks[chunk] = std::move(copy);
        countFrom(chunk);
    }
    void erase(std::size_t index) {
        const std::size_t chunk = chunkOf(index);
        auto copy = std::make_shared<Chunk>(*m_chunks[chunk]);
        copy->erase(copy->begin() + static_cast<std::ptrdiff_t>(index - m_starts[chunk]));
        if (copy->empty()) m_chunks.erase(m_chunks.begin() + static_cast<std::ptrdiff_t>(chunk));
        else m_chunks[chunk] = std::move(copy);
        countFrom(chunk);
    }
    void clear() { assign({}); }

    bool operator==(const CSharedList& other) const {
        if (m_chunks == other.m_chunks) return true;
        if (size() != other.size()) return false;
        for (std::size_t i = 0; i < size(); ++i)
            if (!((*this)[i] == other[i])) return false;
        return true;
    }

private:
    using Chunk = std::vector<Value>;

    // Copying a pointer costs about as much as copying eight elements, which this weighs against each other.
    static std::size_t halfChunk(std::size_t size) {
        return std::max<std::size_t>(32, static_cast<std::size_t>(std::sqrt(2.0 * static_cast<double>(size))));
    }
    std::size_t chunkOf(std::size_t index) const {
        return static_cast<std::size_t>(std::upper_bound(m_starts.begin(), m_starts.end(), index) - m_starts.begin()) -
               1;
    }
    void countFrom(std::size_t chunk) {
        m_starts.resize(m_chunks.size());
        for (std::size_t i = chunk; i < m_chunks.size(); ++i)
            m_starts[i] = i == 0 ? 0 : m_starts[i - 1] + m_chunks[i - 1]->size();
    }

    std::vector<std::shared_ptr<const Chunk>> m_chunks;  // none is empty
    std::vector<std::size_t> m_starts;                   // the index of the first element of each chunk
};

}  // namespace kzhost
