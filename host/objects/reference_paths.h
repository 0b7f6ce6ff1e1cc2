// What the sources of references to other scenes share.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace kzhost {

inline constexpr const char* kzReferencePlace = "Scene.Reference";

// The same text for all paths of a file.
inline std::string kzCanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path found = std::filesystem::weakly_canonical(path, error);
    return error ? path : found.string();
}

}  // namespace kzhost
