// Rules that find files which have moved.
#include "host/objects/file_redirect.h"

#include "host/state/text.h"

#include <filesystem>
#include <fnmatch.h>

namespace kzhost {

namespace fs = std::filesystem;

std::string RedirectRules::Rule::apply(const std::string& path, std::uint32_t& how) const {
    switch (kind) {
    case KZiREMAPRULE_FOLDER: {
        const std::string folder = pattern.ends_with('/') ? pattern : pattern + '/';
        how = KZeREMAP_PATH;
        return path.starts_with(folder) ? (fs::path(replacement) / path.substr(folder.size())).string() : std::string();
    }
    case KZiREMAPRULE_PATTERN:
        how = pattern == path ? KZeREMAP_DIRECT : KZeREMAP_PATTERN;
        return fnmatch(pattern.c_str(), path.c_str(), 0) == 0 ? replacement : std::string();
    default: how = KZeREMAP_BASENAME; return fs::path(path).filename() == pattern ? replacement : std::string();
    }
}

std::string RedirectRules::find(const std::string& path, std::uint32_t& how) {
    std::error_code error;
    const std::lock_guard guard(lock);
    for (const Rule& rule : rules) {
        std::string place = rule.apply(path, how);
        if (!place.empty() && fs::exists(place, error)) return place;
    }
    return {};
}

KzResult CFileRedirect::fileredirect_Locate(const char* path, const char* /*fileClass*/, char* found,
                                            std::uint32_t length, std::uint32_t* how) {
    const std::string wanted = kzString(path);
    if (wanted.empty()) return KZe_INVALIDARG;
    std::error_code error;
    *how = 0;
    if (fs::exists(wanted, error)) return kzFillText(wanted, found, length);
    const std::string place = m_rules->find(wanted, *how);
    if (!place.empty()) return kzFillText(place, found, length);
    return KZe_NOTFOUND;
}

KzResult CFileRedirect::fileredirect_AddRule(const char* pattern, const char* replacement, std::uint32_t kind) {
    if (kzTextOf(pattern).empty() || kzTextOf(replacement).empty() || kind > KZiREMAPRULE_NAME) return KZe_INVALIDARG;
    const std::lock_guard lock(m_rules->lock);
    m_rules->rules.push_back({pattern, replacement, kind});
    return KZe_OK;
}

KzResult CFileRedirect::fileredirect_Clear() {
    const std::lock_guard lock(m_rules->lock);
    m_rules->rules.clear();
    return KZe_OK;
}

}  // namespace kzhost
