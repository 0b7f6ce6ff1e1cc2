// Stopping from outside what this program runs: `kzhost stop`, and Ctrl-C twice.
#pragma once

#include "kz/script.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <thread>

namespace kzhost {

class CKzHost;

// While it lives, a request makes the interpreters of the host end what they run. What does not end within a few seconds
// ends with the process, except at a console: there only a further request does that, because its user would lose it.
// The signal of `kzhost stop` is never given back, since a late one would kill the process.
class CStopWatch {
public:
    // `endLog` writes what has to be written before the process is ended by force, with that status.
    CStopWatch(CKzHost& host, std::function<void(int status)> endLog);
    ~CStopWatch();
    CStopWatch(const CStopWatch&) = delete;
    CStopWatch& operator=(const CStopWatch&) = delete;

    // The number of the signal that `kzhost stop` sends.
    static int signalNumber() noexcept;
    // For signal handlers and any thread. False if nobody watches, as in a forked child.
    static bool request() noexcept;
    // Whether the whole program was asked to end, rather than a line of a console.
    static bool isProgramStopped() noexcept;

    // A stop is now for the lines that run, and not for the program.
    static void holdConversation() noexcept;
    static void lineBegins() noexcept;
    static void lineEnds() noexcept;

private:
    using Time = std::chrono::steady_clock::time_point;

    void watch();
    void stopOnce();
    void stopInterpreters();
    bool isDone() const;
    void giveUp();
    [[noreturn]] void endProcess();

    std::list<CKzUser_InterpreterStop> m_interpreters;
    std::function<void(int)> m_endLog;
    bool m_isWarned = false;  // that the line of a console does not end
    std::atomic<bool> m_isEnding = false;
    std::unique_ptr<std::thread> m_thread;
};

}  // namespace kzhost
