// Path aliases ("module:Scripts") and what they stand for.
#pragma once

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
    // An empty path removes the alias. The name comes without its colon.
    void setAlias(const std::string& name, const std::string& path);
    std::vector<std::pair<std::string, std::string>> aliases() const;

    // The local path that an aliased one stands for, whether or not anything is there; a path without an alias is
    // itself. Nothing when the alias is unknown.
    std::optional<std::string> expand(std::string_view path) const;
    // As expand, for a caller's file, which must be named and need not exist; throws INVALIDARG or NOTFOUND.
    std::string place(const char* path) const;
    // As expand, but only for what exists.
    std::optional<std::string> resolve(std::string_view path) const;
    // The shortest aliased form of a local path; the path itself when no alias covers it.
    std::string shorten(std::string_view path) const;

    // The path of the running program.
    static std::string programPath();

private:
    mutable std::mutex m_lock;
    std::map<std::string, std::string, std::less<>> m_aliases;
};

}  // namespace kzhost
