// Named texts, in the form in which the host gets the arguments of a command call and the tags of a server. Independent
// of Python.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Two lists of equal length; pair i is name i and value i.
class CDictPairs {
public:
    std::vector<std::string> names;
    std::vector<std::string> values;

    std::uint32_t count() const noexcept { return static_cast<std::uint32_t>(names.size()); }
    void clear() noexcept {
        names.clear();
        values.clear();
    }
};
