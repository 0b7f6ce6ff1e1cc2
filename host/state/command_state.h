// What the command service keeps between calls: names and their numbers, aliases, the history, and what runs now.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

class CCommandState {
public:
    // The number of that name in this session, given at first sight. Never 0.
    std::uint32_t tagOf(const std::string& name);
    std::optional<std::string> nameOf(std::uint32_t tag) const;

    // False when there is such an alias already.
    bool addAlias(const std::string& alias, const std::string& definition);
    bool removeAlias(const std::string& alias);
    std::optional<std::string> alias(const std::string& name) const;
    std::vector<std::string> aliases() const;

    void remember(const std::string& text);
    // The newest commands, oldest first: at most 1000 of them and 16 MiB of text. The newest is there whatever its size.
    std::vector<std::string> history() const;
    std::uint32_t historyCount() const;
    std::optional<std::string> historyAt(std::uint32_t index) const;

    std::uint32_t depth() const;
    std::uint32_t flags() const;  // of the innermost running command

    // One command runs for as long as this lives.
    class Depth {
    public:
        Depth(CCommandState& system, std::uint32_t flags);
        ~Depth();
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;

    private:
        CCommandState& m_system;
    };

private:
    mutable std::mutex m_lock;
    std::map<std::string, std::uint32_t> m_tags;
    std::map<std::string, std::string> m_aliases;
    std::deque<std::string> m_history;
    std::size_t m_historyBytes = 0;
    std::vector<std::uint32_t> m_running;
};

}  // namespace kzhost
