// Places, diagnostics, and the search for the name that was probably meant.
#include "source.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <tuple>

#include <fmt/format.h>

namespace kzgen {

namespace {

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// The number of single-letter changes that turn one word into the other; letter case costs nothing.
size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replace = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replace, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

// Keeps an error on its line, and a terminal in its mode, whatever the description holds.
std::string printable(std::string_view text) {
    std::string shown;
    for (const char c : text) {
        if (c >= ' ' && c <= '~') {
            shown += c;
        } else {
            shown += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
        }
    }
    return shown;
}

}  // namespace

std::string toString(const Place& place) { return fmt::format("{}:{}:{}", place.file->path, place.line, place.column); }

void Diagnostics::error(const Place& place, std::string_view found, std::string_view expected) {
    m_entries.push_back(
        {place.file->path, place.line, place.column, printable(fmt::format("found {}, expected {}", found, expected))});
}

std::string Diagnostics::text() const {
    std::vector<Entry> sorted = m_entries;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
        return std::tie(a.path, a.line, a.column) < std::tie(b.path, b.line, b.column);
    });
    std::string all;
    for (const Entry& entry : sorted) {
        all += fmt::format("{}:{}:{}: error: {}\n", entry.path, entry.line, entry.column, entry.message);
    }
    return all;
}

std::string inQuotes(std::string_view name) { return fmt::format("'{}'", name); }

std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
    size_t best = word.size() / 3 + 2;  // farther away than this is a different word, not a slip
    std::string_view nearest;
    for (const std::string_view candidate : candidates) {
        const size_t distance = editDistance(word, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest.empty() ? std::string() : fmt::format(" (did you mean {}?)", inQuotes(nearest));
}

}  // namespace kzgen
