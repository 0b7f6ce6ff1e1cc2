// The lines that were typed, kept from one console to the next. Several consoles may share the file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kzhost {

class CHistoryFile {
public:
    // An empty path keeps nothing.
    explicit CHistoryFile(std::string path) : m_path(std::move(path)) {}
    // In the user's folder for such things, which is made if need be; empty if there is none.
    static std::string usualPath();

    // The last lines, oldest first. Shortens a file that has become much longer than that.
    std::vector<std::string> read(std::size_t most) const;
    void append(const std::string& line) const;

private:
    std::string m_path;
};

}  // namespace kzhost
