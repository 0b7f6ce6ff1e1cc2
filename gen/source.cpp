// Places, diagnostics, and suggestions for misspelt names.
#include "source.h"

#include <algorithm>
#include <numeric>
#include <tuple>

#include <fmt/format.h>

#include "text.h"

namespace kzgen {

namespace {

// The edit distance of two words, ignoring letter case.
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replace = diagonal + (toLower(a[i]) == toLower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replace, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

// Escapes control characters, so that an error stays on its line and leaves the terminal alone.
std::string printable(std::string_view text) {
    std::string result;
    for (const char c : text)
        if (c >= ' ' && c <= '~') result += c;
        else result += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
    return result;
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
    for (const Entry& entry : sorted)
        all += fmt::format("{}:{}:{}: error: {}\n", entry.path, entry.line, entry.column, entry.message);
    return all;
}

std::string inQuotes(std::string_view name) { return fmt::format("'{}'", name); }

std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
    std::size_t best = word.size() / 3 + 2;  // anything less similar is a different word
    std::string_view nearest;
    for (const std::string_view candidate : candidates) {
        const std::size_t distance = editDistance(word, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest.empty() ? std::string() : fmt::format(" (did you mean {}?)", inQuotes(nearest));
}

}  // namespace kzgen
