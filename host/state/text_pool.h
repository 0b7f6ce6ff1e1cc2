// Interned texts.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace kzhost {

// Interns texts: equal texts share one copy, whose address stays valid for as long as the pool lives.
class CTextPool {
public:
    const char* keep(std::string_view text) {
        const std::lock_guard lock(m_lock);
        return m_texts.emplace(text).first->c_str();
    }

private:
    std::mutex m_lock;
    std::set<std::string, std::less<>> m_texts;
};

}  // namespace kzhost
