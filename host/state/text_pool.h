// Texts whose address stays valid.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace kzhost {

// Gives texts an address that stays valid for as long as the pool lives, however often the same text is asked for.
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
