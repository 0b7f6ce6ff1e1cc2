// What the embedded interpreter would change in the host's process, kept as the host had it.
#pragma once

#include <array>
#include <csignal>

// What a process does about each signal, by signal number.
using KzSignalActions = std::array<struct sigaction, NSIG>;

// Restores every signal's disposition and the locale when it goes out of scope. The interpreter takes and ignores
// signals when it starts, when its signal module is first imported, and when it ends.
class CProcessStateKeeper {
public:
    CProcessStateKeeper() noexcept;
    // For the interpreter's end: a signal that its own handler has by now goes back to what it was earlier.
    explicit CProcessStateKeeper(const KzSignalActions& earlier) noexcept;
    ~CProcessStateKeeper();
    CProcessStateKeeper(const CProcessStateKeeper&) = delete;
    CProcessStateKeeper& operator=(const CProcessStateKeeper&) = delete;

    const KzSignalActions& actions() const noexcept { return m_actions; }

private:
    KzSignalActions m_actions{};
    char m_locale[1024] = "";  // empty when it has a longer name than any: then it stays as it is
};

// Makes the interpreter library's symbols visible to extension modules, which are loaded later and expect to find them
// though the host loaded this module with its symbols hidden.
void kzExposeInterpreterSymbols() noexcept;
