// Plausibility of addresses that come from scripts as numbers.
#pragma once

#include <cstdint>

// True if memory could be at the address: no system maps the first pages or gives processes addresses of more than 48 bits.
// This catches numbers that are mistaken for addresses, such as True, an index or -1.
inline bool kzMayBeAddress(const void* address) noexcept {
    constexpr std::uintptr_t lowest = 0x10000;
    constexpr std::uintptr_t beyond = std::uintptr_t{1} << 48;
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    return number >= lowest && number < beyond;
}
