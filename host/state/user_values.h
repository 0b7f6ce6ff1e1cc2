// Values that users and scripts define by name.
#pragma once

#include "host/state/value_types.h"

#include "kz/base/types.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

// How long a value lives: the first of the lives that the description has.
enum class ValueLife {
    temporary,  // until the session ends
    config,     // it is kept in the user's preferences
};

struct UserValue {
    const KzValueType* type = nullptr;
    KzCell cell;
    std::vector<std::string> choices;  // of a choice, by their number
    ValueLife life = ValueLife::temporary;
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

}  // namespace kzhost
