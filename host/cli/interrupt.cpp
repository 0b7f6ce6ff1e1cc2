// Ctrl-C while scripts run.
#include "host/cli/interrupt.h"

#include "host/state/monitor_board.h"

#include <ctime>
#include <unistd.h>

namespace kzhost {

namespace {

constexpr int interruptedStatus = 130;

volatile std::sig_atomic_t theInterrupt = 0;
volatile std::sig_atomic_t theSecondEndsAll = 1;
timespec theLast{};
struct sigaction theFormer {};

bool isWithinASecond(const timespec& now) {
    const auto seconds = static_cast<double>(now.tv_sec - theLast.tv_sec);
    return theLast.tv_sec != 0 && seconds + static_cast<double>(now.tv_nsec - theLast.tv_nsec) * 1e-9 < 1.0;
}

// Does only what a signal handler may do.
void onInterrupt(int signal) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (theSecondEndsAll != 0 && isWithinASecond(now)) _exit(interruptedStatus);
    theLast = now;
    theInterrupt = 1;
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

CInterruptScope::CInterruptScope(Second second) {
    theSecondEndsAll = second == Second::endsAll ? 1 : 0;
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &m_former);  // without restarting: a sleeping script is to wake up
    theFormer = m_former;
}

CInterruptScope::~CInterruptScope() { sigaction(SIGINT, &m_former, nullptr); }

bool CInterruptScope::takeInterrupt() noexcept {
    const bool was = theInterrupt != 0;
    theInterrupt = 0;
    return was;
}

}  // namespace kzhost
