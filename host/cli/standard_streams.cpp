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

CStandardStreams::CStandardStreams()
    : m_isInteractive(isatty(STDIN_FILENO) != 0 || isatty(STDOUT_FILENO) != 0),
      m_sharesTerminal(isatty(STDOUT_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {
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
    if (!m_sharesTerminal) return outLocked(text);
    m_isErrorMidLine = m_isMidLine;
    eraseBelow();
    const int failure = outLocked(text);
    drawBelow();
    return failure;
}

int CStandardStreams::outLocked(std::string_view text) {
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

// Drops text that could not be written: later attempts would only repeat the failure.
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
    writeError(text);
}

void CStandardStreams::errorLine(const std::string& text) {
    const std::lock_guard lock(m_lock);
    writeError(m_isErrorMidLine ? "\n" + text : text);
}

void CStandardStreams::writeError(std::string_view text) {
    if (m_isReaderGone || text.empty()) return;
    m_isErrorMidLine = text.back() != '\n';
    flushLocked();
    eraseBelow();
    std::fwrite(text.data(), 1, text.size(), stderr);
    drawBelow();
    std::fflush(stderr);
}

void CStandardStreams::showBelow(std::vector<std::string> lines) {
    const std::lock_guard lock(m_lock);
    eraseBelow();
    m_below = std::move(lines);
    drawBelow();
    std::fflush(stderr);
}

void CStandardStreams::eraseBelow() {
    if (m_below.empty()) return;
    std::fputs("\x1b[J", stderr);
    std::fflush(stderr);  // before text on the other stream
}

// Moving down and up first makes room at the bottom of the screen. Otherwise the screen might scroll later, and the
// saved cursor position would be wrong. The terminal truncates lines that are too wide.
void CStandardStreams::drawBelow() {
    if (m_below.empty()) return;
    constexpr const char* goDown = "\x1b\x44";
    constexpr const char* saveAndCut = "\x1b\x37\x1b[?7l";
    constexpr const char* wrapAndRestore = "\x1b[?7h\x1b\x38";
    std::string drawing;
    for (std::size_t line = 0; line < m_below.size(); ++line) drawing += goDown;
    drawing += fmt::format("\x1b[{}A{}", m_below.size(), saveAndCut);
    for (const std::string& line : m_below) drawing += "\r\n" + line;
    std::fputs((drawing + wrapAndRestore).c_str(), stderr);
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
