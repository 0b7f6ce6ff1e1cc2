// Named texts through which host, program and modules share settings.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace kzhost {

class CPropertyTable {
public:
    void set(const std::string& name, std::string value);
    std::optional<std::string> get(const std::string& name) const;

private:
    mutable std::mutex m_lock;
    std::map<std::string, std::string> m_values;
};

}  // namespace kzhost
