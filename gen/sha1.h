// SHA-1, for name-based identities and for the hash that generated files carry.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace kzgen {

using Sha1 = std::array<uint8_t, 20>;

Sha1 sha1(std::string_view data);
std::string toHex(const Sha1& digest);

// The version 5 identity of a name in this project's own name space: the same name always gives the same one.
std::string mintGuid(std::string_view name);

}  // namespace kzgen
