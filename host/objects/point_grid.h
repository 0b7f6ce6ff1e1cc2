// Finds points by their places.
#pragma once

#include "host/document/vectors.h"
#include "host/objects/elements.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

// Points in cells as wide as the distance, so that all near ones are in the neighbouring cells.
class CPointGrid {
public:
    explicit CPointGrid(double distance) : m_width(distance > 0 ? distance : 1), m_distance(distance) {}

    // The first point that was added within the distance; null if there is none.
    KzElementId find(const KzVector3& position) const {
        const Cell cell = cellOf(position);
        std::pair<std::size_t, KzElementId> first{m_count, nullptr};
        for (int at = 0; at < 27; ++at) {
            const auto entry = m_cells.find({cell.x + at % 3 - 1, cell.y + at / 3 % 3 - 1, cell.z + at / 9 - 1});
            if (entry == m_cells.end()) continue;
            for (const Entry& each : entry->second)
                if (each.order < first.first && kzLength(each.position - position) <= m_distance)
                    first = {each.order, each.id};
        }
        return first.second;
    }
    void add(const KzVector3& position, KzElementId id) {
        m_cells[cellOf(position)].push_back({position, id, m_count++});
    }

private:
    struct Cell {
        std::int64_t x, y, z;
        bool operator==(const Cell&) const = default;
    };
    struct CellHash {
        std::size_t operator()(const Cell& cell) const noexcept {
            return static_cast<std::size_t>(cell.x * 73856093 ^ cell.y * 19349663 ^ cell.z * 83492791);
        }
    };
    struct Entry {
        KzVector3 position;
        KzElementId id;
        std::size_t order;
    };
    Cell cellOf(const KzVector3& position) const {
        const auto index = [&](double coordinate) {
            return static_cast<std::int64_t>(std::floor(std::clamp(coordinate / m_width, -1e18, 1e18)));
        };
        return {index(position.v[0]), index(position.v[1]), index(position.v[2])};
    }

    double m_width, m_distance;
    std::size_t m_count = 0;
    std::unordered_map<Cell, std::vector<Entry>, CellHash> m_cells;
};

}  // namespace kzhost
