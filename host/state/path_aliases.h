// Path aliases ("module:Scripts") and the folders that they stand for.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CPathAliases {
public:
    // Sets an alias, named without its colon. An empty path removes it.
    void setAlias(const std::string& name, const std::string& path);
    // Hears of each alias that is set, without the lock; set once, while the host is made.
    void whenSet(std::function<void()> tell) { m_whenSet = std::move(tell); }
    std::vector<std::pair<std::string, std::string>> aliases() const;

    // The local path for an aliased one, whether or not it exists; a path without an alias is returned as it is. Empty
    // for an unknown alias.
    std::optional<std::string> expand(std::string_view path) const;
    // As expand, but throws: INVALIDARG for a null or empty path, NOTFOUND for an unknown alias.
    std::string place(const char* path) const;
    // As expand, but empty unless the path exists.
    std::optional<std::string> resolve(std::string_view path) const;
    // The shortest aliased form of a local path; the path itself if it is below no alias.
    std::string shorten(std::string_view path) const;

    // The path of the running program.
    static std::string programPath();

private:
    mutable std::mutex m_lock;
    std::map<std::string, std::string, std::less<>> m_aliases;
    std::function<void()> m_whenSet;
};

}  // namespace kzhost
