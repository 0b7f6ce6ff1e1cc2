// The folders from which scripts import modules.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CImportPaths {
public:
    void set(std::vector<std::string> paths) {
        const std::lock_guard lock(m_lock);
        m_paths = std::move(paths);
    }
    void add(std::string path) {
        const std::lock_guard lock(m_lock);
        m_paths.push_back(std::move(path));
    }
    std::vector<std::string> all() const {
        const std::lock_guard lock(m_lock);
        return m_paths;
    }

private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_paths;
};

}  // namespace kzhost
