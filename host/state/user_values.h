// Values that users and scripts define by name.
#pragma once

#include "host/state/value_types.h"

#include "kz/base/types.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
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

enum class ValueEvent { added, deleted, redefined, changed };

class CUserValues {
public:
    // Hears of each value that comes, changes or goes, without the lock; set once, while the host is made.
    using Sink = std::function<void(ValueEvent event, const std::string& name)>;
    void setSink(Sink sink) { m_sink = std::move(sink); }

    std::optional<UserValue> find(const std::string& name) const;
    void set(const std::string& name, UserValue value);
    bool remove(const std::string& name);
    std::vector<std::string> names() const;

private:
    void tell(ValueEvent event, const std::string& name) const {
        if (m_sink) m_sink(event, name);
    }

    mutable std::mutex m_lock;
    std::map<std::string, UserValue> m_values;
    Sink m_sink;
};

}  // namespace kzhost
