// SHA-1, for name-based GUIDs and for the hashes in generated files.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace kzgen {

using Sha1 = std::array<std::uint8_t, 20>;

Sha1 sha1(std::string_view data);
std::string toHex(const Sha1& digest);

// The version 5 GUID of a name in this project's own name space: a name always gives the same one.
std::string mintGuid(std::string_view name);

}  // namespace kzgen
