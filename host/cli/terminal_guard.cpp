// The terminal as it was before the console began.
#include "host/cli/terminal_guard.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <termios.h>
#include <tuple>
#include <unistd.h>

namespace kzhost {

namespace {

constexpr int deadly[] = {SIGHUP, SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGTERM};

std::atomic<pid_t> theOwner = 0;  // a forked child has no business with its parent's terminal
int theTerminal = -1;             // a descriptor of our own: quit() closes standard input
termios theSettings{};
bool theUsesEscapes = false;

bool areSame(const termios& one, const termios& other) noexcept {
    const auto numbers = [](const termios& all) {
        return std::tie(all.c_iflag, all.c_oflag, all.c_cflag, all.c_lflag, all.c_line, all.c_ispeed, all.c_ospeed);
    };
    return numbers(one) == numbers(other) && std::memcmp(one.c_cc, other.c_cc, sizeof one.c_cc) == 0;
}

// Does only what a signal handler may do. Where nothing was changed, nothing is set or written.
void restore() noexcept {
    if (theOwner != getpid()) return;
    const int error = errno;
    termios now{};
    if (tcgetattr(theTerminal, &now) == 0 && !areSame(now, theSettings)) {
        // From the background this would stop the process instead.
        sigset_t output;
        sigset_t former;
        sigemptyset(&output);
        sigaddset(&output, SIGTTOU);
        pthread_sigmask(SIG_BLOCK, &output, &former);
        tcsetattr(theTerminal, TCSANOW, &theSettings);
        constexpr char endPastes[] = "\x1b[?2004l\r";  // an editor asks the terminal to mark them
        if (theUsesEscapes && write(theTerminal, endPastes, sizeof endPastes - 1) < 0) errno = error;
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
    }
    errno = error;
}

void onDeadlySignal(int signal) {
    restore();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

}  // namespace

CTerminalGuard::CTerminalGuard() {
    static const bool isRegistered = std::atexit(restore) == 0;
    theTerminal = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
    if (!isRegistered || tcgetattr(theTerminal, &theSettings) != 0) return;
    const char* const kind = std::getenv("TERM");
    theUsesEscapes = kind != nullptr && std::strcmp(kind, "dumb") != 0;
    theOwner = getpid();
}

CTerminalGuard::~CTerminalGuard() {
    restore();
    theOwner = 0;
    if (theTerminal >= 0) close(theTerminal);
}

void CTerminalGuard::watchSignals() {
    for (const int signal : deadly) {
        struct sigaction now {};
        if (sigaction(signal, nullptr, &now) != 0 || now.sa_handler != SIG_DFL) continue;
        now.sa_handler = onDeadlySignal;
        sigaction(signal, &now, nullptr);
    }
}

}  // namespace kzhost

// What os._exit() calls. The C library has no hook for this end, but asks whether the program has a function of that name.
extern "C" [[gnu::noreturn, gnu::visibility("default")]] void _exit(int status) {
    kzhost::restore();
    for (;;) syscall(SYS_exit_group, status);
}
