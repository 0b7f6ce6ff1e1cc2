// The program's standard output and standard error.
#include "host/cli/standard_streams.h"

#include "host/cli/exit_status.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdio_ext.h>
#include <unistd.h>

namespace kzhost {

CStandardStreams& CStandardStreams::get() {
    static auto* streams = new CStandardStreams();  // never destroyed: threads may write while the process ends
    return *streams;
}

CStandardStreams::CStandardStreams() : m_isInteractive(isatty(STDIN_FILENO) != 0 || isatty(STDOUT_FILENO) != 0) {
    constexpr std::size_t longLine = 1U << 16;
    std::setvbuf(stdout, nullptr, _IOFBF, longLine);
}

void CStandardStreams::ignoreSignals() noexcept {
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

int CStandardStreams::out(std::string_view text) {
    const std::lock_guard lock(m_lock);
    if (m_isReaderGone) return EPIPE;
    if (text.empty()) return 0;
    m_isMidLine = text.back() != '\n';
    const std::size_t lines = m_isInteractive ? text.size() : text.rfind('\n') + 1;
    std::fwrite(text.data(), 1, lines, stdout);
    const int failure = lines > 0 ? flushLocked() : 0;
    std::fwrite(text.data() + lines, 1, text.size() - lines, stdout);
    return failure;
}

int CStandardStreams::flush() {
    const std::lock_guard lock(m_lock);
    return flushLocked();
}

// What could not be written is given up: trying again at each later text would only repeat the failure.
int CStandardStreams::flushLocked() {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return 0;
    const int failure = errno != 0 ? errno : EIO;
    __fpurge(stdout);
    std::clearerr(stdout);
    if (failure == EPIPE) m_isReaderGone = true;
    else if (!std::exchange(m_hasFailed, true))
        m_failures.push_back(std::string("standard output cannot be written: ") + std::strerror(failure));
    return failure;
}

void CStandardStreams::error(std::string_view text) {
    const std::lock_guard lock(m_lock);
    if (m_isReaderGone) return;
    flushLocked();
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

void CStandardStreams::fail(std::string why) {
    const std::lock_guard lock(m_lock);
    m_failures.push_back(std::move(why));
}

int CStandardStreams::finish(int status) {
    flush();
    if (m_isReaderGone) return exitReaderGone;
    for (const std::string& why : std::exchange(m_failures, {})) {
        error("kzhost: " + why + "\n");
        m_isLost = true;
    }
    return m_isLost ? exitFailed : status;
}

}  // namespace kzhost
