// Values that users and scripts define by name.
#pragma once

#include "host/value_types.h"

#include "kz/base/types.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct UserValue {
    const KzValueType* type = nullptr;
    KzCell cell;
    std::vector<std::string> choices;  // of a choice, by their number
};

// The value types of modules that were used, each at one address for as long as the host lives.
class CServedTypes {
public:
    const KzValueType* find(std::string_view name) const {
        const std::lock_guard lock(m_lock);
        const auto found = m_types.find(name);
        return found != m_types.end() ? &found->second : nullptr;
    }
    const KzValueType* keep(const KzValueType& type) {
        const std::lock_guard lock(m_lock);
        return &m_types.try_emplace(type.name, type).first->second;
    }

private:
    mutable std::mutex m_lock;
    std::map<std::string, KzValueType, std::less<>> m_types;
};

class CUserValues {
public:
    std::optional<UserValue> find(const std::string& name) const;
    void set(const std::string& name, UserValue value);
    bool remove(const std::string& name);
    std::vector<std::string> names() const;

private:
    mutable std::mutex m_lock;
    std::map<std::string, UserValue> m_values;
};
