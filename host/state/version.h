// Who this host is, and where its user's files are.
#pragma once

#include <cstdint>
#include <string>

namespace kzhost {

inline constexpr const char* kzHostName = "kzhost";
inline constexpr std::uint32_t kzHostVersion = 100;  // major * 100 + minor
inline constexpr std::uint32_t kzHostBuild = 1;

// The value of an environment variable; empty when it is not set.
std::string kzEnvironment(const std::string& name);
// Where the user's own settings and scripts are; empty when there is no home.
std::string kzConfigFolder();

}  // namespace kzhost
