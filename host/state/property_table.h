// Named texts through which host, program and modules share settings.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace kzhost {

class CPropertyTable {
public:
    void set(const std::string& name, std::string value);
    std::optional<std::string> get(const std::string& name) const;
    // Hears of each property that gets another value, without the lock; set once, while the host is made.
    void whenSet(std::function<void(const std::string& name)> tell) { m_whenSet = std::move(tell); }

private:
    mutable std::mutex m_lock;
    std::map<std::string, std::string> m_values;
    std::function<void(const std::string&)> m_whenSet;
};

}  // namespace kzhost
