// Keeps the state of the host's process that the embedded interpreter would change.
#pragma once

#include <array>
#include <csignal>

// The disposition of each signal, by signal number.
using KzSignalActions = std::array<struct sigaction, NSIG>;

// RAII guard that restores the disposition of every signal, and the locale. The interpreter handles or ignores signals
// when it starts, when its signal module is first imported, and when it ends.
class CProcessStateKeeper {
public:
    CProcessStateKeeper() noexcept;
    // For the interpreter's end: signals that the interpreter's handler has by now are restored to the earlier state.
    explicit CProcessStateKeeper(const KzSignalActions& earlier) noexcept;
    ~CProcessStateKeeper();
    CProcessStateKeeper(const CProcessStateKeeper&) = delete;
    CProcessStateKeeper& operator=(const CProcessStateKeeper&) = delete;

    const KzSignalActions& actions() const noexcept { return m_actions; }

private:
    KzSignalActions m_actions{};
    char m_locale[1024] = "";  // empty if the name is too long; then the locale is not restored
};

// Makes the symbols of the interpreter's library visible to extension modules, which expect them although the host has
// loaded this module with its symbols hidden.
void kzExposeInterpreterSymbols() noexcept;
