// Names that must be unique.
#pragma once

#include <map>
#include <string>

#include <fmt/format.h>

#include "source.h"

namespace kzgen {

// Remembers where each name was first used and reports every later use.
class Unique {
public:
    explicit Unique(Diagnostics& errors) : m_errors(errors) {}

    void add(const std::string& key, std::string_view found, std::string_view expected, const Place& at) {
        const auto [first, isNew] = m_first.emplace(key, at);
        if (!isNew)
            m_errors.error(at, found, fmt::format("{} (already used at {})", expected, toString(first->second)));
    }

private:
    Diagnostics& m_errors;
    std::map<std::string, Place> m_first;
};

}  // namespace kzgen
