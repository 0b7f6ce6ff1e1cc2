// Stopping from outside: the thread that waits for requests, and the signal that makes one.
#include "host/cli/stop_watch.h"

#include "host/cli/exit_status.h"
#include "host/cli/standard_streams.h"
#include "host/core/module_table.h"
#include "host/kz_host.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kzhost {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 5s;           // for what does not end
constexpr auto patienceAfterMore = 1s;  // once a further request has come
constexpr auto betweenLooks = 200ms;

sem_t theWake;
std::atomic<pid_t> theWatchedProcess{0};
std::atomic<int> theRequests{0};
std::atomic<int> theLines{0};
std::atomic<bool> theConversation{false};

void say(const std::string& text) { CStandardStreams::get().errorLine("kzhost: " + text); }

void wake() noexcept {
    const int error = errno;
    sem_post(&theWake);
    errno = error;
}

void onStopSignal(int /*signal*/, siginfo_t* info, void* /*context*/) {
    if (info->si_code == SI_TKILL) return;  // from wakeThreads
    if (!CStopWatch::request() && theWatchedProcess != getpid()) _exit(exitInterrupted);
}

// Ends the system calls in which threads sleep, so that the interpreter notices what it has been asked.
void wakeThreads() noexcept {
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
        const auto thread = static_cast<pid_t>(std::strtol(task.path().filename().c_str(), nullptr, 10));
        if (thread != gettid()) syscall(SYS_tgkill, getpid(), thread, CStopWatch::signalNumber());
    }
}

template <class Duration> void waitForWake(Duration most) noexcept {
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const auto nanoseconds = until.tv_nsec + std::chrono::nanoseconds(most).count();
    until.tv_sec += nanoseconds / 1'000'000'000;
    until.tv_nsec = nanoseconds % 1'000'000'000;
    sem_clockwait(&theWake, CLOCK_MONOTONIC, &until);
}

}  // namespace

int CStopWatch::signalNumber() noexcept { return SIGRTMIN + 9; }

bool CStopWatch::request() noexcept {
    if (theWatchedProcess != getpid()) return false;
    ++theRequests;
    wake();
    return true;
}

bool CStopWatch::isProgramStopped() noexcept { return theRequests > 0 && !theConversation; }
void CStopWatch::holdConversation() noexcept { theConversation = true; }
void CStopWatch::lineBegins() noexcept { ++theLines; }

void CStopWatch::lineEnds() noexcept {
    --theLines;
    if (theWatchedProcess == getpid()) wake();
}

CStopWatch::CStopWatch(CKzHost& host, std::function<void(int)> endLog) : m_endLog(std::move(endLog)) {
    for (const KzServer& server : host.modules().servers(KZa_TEXTSCRIPTINTERPRETER)) try {
            CKzLoc_Unknown interpreter;
            CKzUser_InterpreterStop stop(CModuleTable::spawn(server, interpreter).raw());
            if (stop && kzSucceeded(stop->Prepare())) m_interpreters.emplace_back().copy(stop);
        } catch (KzResult) {
            continue;  // whoever uses it will hear why it cannot be made
        }
    sem_init(&theWake, 0, 0);
    sigset_t all, former;  // the other threads handle signals
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    m_thread = std::make_unique<std::thread>([this] { watch(); });
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    theWatchedProcess = getpid();
    struct sigaction action {};
    action.sa_sigaction = onStopSignal;
    action.sa_flags = SA_SIGINFO;  // without restarting: a sleeping script is to wake up
    sigemptyset(&action.sa_mask);
    sigaction(signalNumber(), &action, nullptr);
}

CStopWatch::~CStopWatch() {
    if (theWatchedProcess != getpid()) {
        static_cast<void>(m_thread.release());  // a forked child does not have the thread
        return;
    }
    m_isEnding = true;
    wake();
    m_thread->join();
}

void CStopWatch::watch() {
    for (int seen = 0; !m_isEnding;) {
        while (sem_wait(&theWake) != 0 && errno == EINTR) continue;
        if (const int requests = theRequests; requests != seen) {
            stopOnce();
            seen = theRequests;
        }
    }
}

bool CStopWatch::isDone() const { return m_isEnding || (theConversation && theLines == 0); }

void CStopWatch::stopInterpreters() {
    for (const CKzUser_InterpreterStop& each : m_interpreters) each.Stop();
}

void CStopWatch::stopOnce() {
    Time end = std::chrono::steady_clock::now() + patience;
    stopInterpreters();
    for (int seen = theRequests; !isDone();) {
        waitForWake(betweenLooks);
        const Time now = std::chrono::steady_clock::now();
        if (const int requests = theRequests; requests != std::exchange(seen, requests)) {
            end = std::min(end, now + patienceAfterMore);
            stopInterpreters();
        }
        if (isDone()) break;
        wakeThreads();
        if (now > end) return giveUp();
    }
    m_isWarned = false;
}

void CStopWatch::giveUp() {
    if (!theConversation || m_isWarned) endProcess();
    m_isWarned = true;
    say("the line does not end: code in C keeps the interpreter or waits; kzhost stop " + std::to_string(getpid()) +
        " now ends the console");
}

void CStopWatch::endProcess() {
    const auto last = std::async(std::launch::async, [this] {
        say("ended by force, because code in C keeps the interpreter or waits\n");
        m_endLog(exitInterrupted);
    });
    last.wait_for(patienceAfterMore);  // others may have stopped while they were writing
    _exit(exitInterrupted);
}

}  // namespace kzhost
