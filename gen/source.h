// Source files, places in them, and the errors that are found there.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kzgen {

struct SourceFile {
    std::string path;
    std::string text;
};

struct Place {
    const SourceFile* file = nullptr;
    std::uint32_t line = 0;
    std::uint32_t column = 0;
};

// "mesh.idl:12:3", the form that editors jump to.
std::string toString(const Place& place);

// Collects all errors of a run.
class Diagnostics {
public:
    void error(const Place& place, std::string_view found, std::string_view expected);
    [[nodiscard]] bool empty() const { return m_entries.empty(); }
    [[nodiscard]] std::size_t count() const { return m_entries.size(); }
    // All errors in the order of files and lines, one a line: "FILE:LINE:COLUMN: error: found X, expected Y".
    [[nodiscard]] std::string text() const;

private:
    struct Entry {  // refers to no file: those may be gone when it is printed
        std::string path;
        std::uint32_t line;
        std::uint32_t column;
        std::string message;
    };
    std::vector<Entry> m_entries;
};

// The name in the quotes of the diagnostics.
std::string inQuotes(std::string_view name);

// " (did you mean 'x'?)" for the candidate most similar to the word, or nothing if none is similar.
std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates);

}  // namespace kzgen
