// Path aliases and the folders that they stand for.
#include "host/state/path_aliases.h"

#include "kz/result.h"

#include <filesystem>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

std::string joined(const std::string& folder, std::string_view rest) {
    while (rest.starts_with('/')) rest.remove_prefix(1);
    return rest.empty() ? folder : (fs::path(folder) / rest).string();
}

// The path relative to the folder; nothing if it is not below the folder.
std::optional<std::string_view> below(std::string_view path, std::string_view folder) {
    if (!path.starts_with(folder)) return {};
    path.remove_prefix(folder.size());
    if (!path.empty() && path.front() != '/') return {};
    return path.substr(path.empty() ? 0 : 1);
}

}  // namespace

void CPathAliases::setAlias(const std::string& name, const std::string& path) {
    std::string folder;
    if (!path.empty()) folder = fs::absolute(path).lexically_normal().string();
    while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
    {
        const std::lock_guard lock(m_lock);
        if (folder.empty()) m_aliases.erase(name);
        else m_aliases[name] = folder;
    }
    if (m_whenSet) m_whenSet();
}

std::vector<std::pair<std::string, std::string>> CPathAliases::aliases() const {
    const std::lock_guard lock(m_lock);
    return {m_aliases.begin(), m_aliases.end()};
}

std::optional<std::string> CPathAliases::expand(std::string_view path) const {
    const std::size_t colon = path.find(':');
    if (colon == std::string_view::npos || path.substr(0, colon).find('/') != std::string_view::npos)
        return std::string(path);
    const std::lock_guard lock(m_lock);
    const auto alias = m_aliases.find(path.substr(0, colon));
    if (alias == m_aliases.end()) return {};
    return joined(alias->second, path.substr(colon + 1));
}

std::string CPathAliases::place(const char* path) const {
    if (path == nullptr || *path == '\0') throw KZe_INVALIDARG;
    const auto local = expand(path);
    if (!local) throw KZe_NOTFOUND;
    return *local;
}

std::optional<std::string> CPathAliases::resolve(std::string_view path) const {
    std::optional<std::string> local = expand(path);
    std::error_code error;
    if (!local || local->empty() || !fs::exists(*local, error)) return {};
    return local;
}

std::string CPathAliases::shorten(std::string_view path) const {
    std::string best(path);
    for (const auto& [name, folder] : aliases())
        if (const auto rest = below(path, folder)) {
            const std::string form = name + ":" + std::string(*rest);
            if (form.size() < best.size()) best = form;
        }
    return best;
}

std::string CPathAliases::programPath() {
    std::error_code error;
    const fs::path path = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
}

}  // namespace kzhost
