// Who this host is.
#pragma once

#include <cstdint>
#include <string>

namespace kzhost {

inline constexpr const char* kzHostName = "kzhost";
inline constexpr std::uint32_t kzHostVersion = 100;  // major * 100 + minor
inline constexpr std::uint32_t kzHostBuild = 1;

// Where the user's own settings and scripts are; empty when there is no home.
std::string kzConfigFolder();

}  // namespace kzhost
