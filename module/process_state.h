// What the embedded interpreter would change in the host's process, kept as the host had it.
#pragma once

#include <csignal>
#include <string>
#include <vector>

// Restores every signal's disposition and the locale when it goes out of scope. The interpreter takes and ignores
// signals when it starts, when its signal module is first imported, and when it ends.
class CProcessStateKeeper {
public:
    CProcessStateKeeper();
    ~CProcessStateKeeper();
    CProcessStateKeeper(const CProcessStateKeeper&) = delete;
    CProcessStateKeeper& operator=(const CProcessStateKeeper&) = delete;

private:
    std::vector<struct sigaction> m_actions;  // by signal number
    std::string m_locale;
};

// Makes the interpreter library's symbols visible to extension modules, which are loaded later and expect to find them
// though the host loaded this module with its symbols hidden.
void kzExposeInterpreterSymbols() noexcept;
