// The state of the command service: the numbers of names, aliases, the history, and the commands that each thread runs.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kzhost {

class CCommandState {
public:
    // The number of that name in this session, assigned on first use. Never 0.
    std::uint32_t tagOf(const std::string& name);
    std::optional<std::string> nameOf(std::uint32_t tag) const;

    // False if the alias exists already.
    bool addAlias(const std::string& alias, const std::string& definition);
    bool removeAlias(const std::string& alias);
    std::optional<std::string> alias(const std::string& name) const;
    std::vector<std::string> aliases() const;

    void remember(std::string text);
    // Puts the commands of former sessions in front.
    void precede(std::vector<std::string> lines);
    // What was remembered in this session, as far as it is still there.
    std::vector<std::string> historyOfSession() const;
    // The latest commands, oldest first: at most 1000 commands and 16 MiB of text, but always the latest one.
    std::vector<std::string> history() const;
    std::uint32_t historyCount() const;
    std::optional<std::string> historyAt(std::uint32_t index) const;

    // Called on a thread whose outermost command has ended.
    std::function<void()> whenIdle;

    // Of the commands that the calling thread runs:
    std::uint32_t depth() const;
    std::uint32_t flags() const;  // of the innermost one

    // A guard: one more command runs on this thread for as long as it lives.
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
    std::size_t m_sessionLines = 0;
    std::map<std::thread::id, std::vector<std::uint32_t>> m_running;  // without threads that run none
};

}  // namespace kzhost
