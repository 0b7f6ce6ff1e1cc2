// The host's name and version, and the folder of its user's files.
#pragma once

#include <cstdint>
#include <string>

namespace kzhost {

inline constexpr const char* kzHostName = "kzhost";
inline constexpr std::uint32_t kzHostVersion = 100;  // major * 100 + minor
inline constexpr std::uint32_t kzHostBuild = 1;

// The value of an environment variable; empty when it is not set.
std::string kzEnvironment(const std::string& name);
// The folder of the user's settings and scripts; empty if there is no home.
std::string kzConfigFolder();

}  // namespace kzhost
