// Ctrl-C while scripts run.
#include "host/cli/interrupt.h"

#include "host/cli/exit_status.h"
#include "host/cli/stop_watch.h"
#include "host/state/monitor_board.h"

#include <ctime>
#include <unistd.h>

namespace kzhost {

namespace {

volatile std::sig_atomic_t theInterrupt = 0;
timespec theLast{};
struct sigaction theFormer {};

bool isSecond(const timespec& now) {
    const auto seconds = static_cast<double>(now.tv_sec - theLast.tv_sec);
    return theLast.tv_sec != 0 && seconds + static_cast<double>(now.tv_nsec - theLast.tv_nsec) * 1e-9 < 2.0;
}

// Does only what a signal handler may do.
void onInterrupt(int signal) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const bool isSecondOne = isSecond(now);
    theLast = now;
    theInterrupt = 1;
    if (isSecondOne) {
        if (!CStopWatch::request()) _exit(exitInterrupted);
        return;
    }
    if (theFormer.sa_handler == SIG_IGN) return;
    CMonitorBoard::abortAll();
    if (theFormer.sa_handler != SIG_DFL) {
        theFormer.sa_handler(signal);
        return;
    }
    std::signal(signal, SIG_DFL);
    raise(signal);
}

}  // namespace

CInterruptScope::CInterruptScope(Second second) : m_second(second) {
    if (m_second == Second::endsLine) CStopWatch::lineBegins();
    theLast = {};
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &m_former);  // without restarting: a sleeping script is to wake up
    theFormer = m_former;
}

CInterruptScope::~CInterruptScope() {
    sigaction(SIGINT, &m_former, nullptr);
    if (m_second == Second::endsLine) CStopWatch::lineEnds();
}

bool CInterruptScope::takeInterrupt() noexcept {
    const bool was = theInterrupt != 0;
    theInterrupt = 0;
    return was;
}

}  // namespace kzhost
