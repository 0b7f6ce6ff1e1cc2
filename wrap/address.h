// Numbers that scripts give where the process needs an address.
#pragma once

#include <cstdint>

// Whether memory can be there at all: no system maps the first pages, and none gives a process addresses that need more
// bits. It tells the numbers that are confused with addresses (True, an index, -1) from those that were once obtained.
inline bool kzMayBeAddress(const void* address) noexcept {
    constexpr std::uintptr_t lowest = 0x10000;
    constexpr std::uintptr_t beyond = std::uintptr_t{1} << 48;
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    return number >= lowest && number < beyond;
}
