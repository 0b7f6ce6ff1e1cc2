// The program's standard output and standard error. Everything that it writes there goes through this class, which
// keeps both in order and remembers every failed write.
#pragma once

#include <fmt/format.h>

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CStandardStreams {
public:
    static CStandardStreams& get();

    // Ignores the signals for broken pipes and for files that are too large, so that such writes fail instead of ending
    // the process: this class handles the failures of the program itself, and scripts get an exception.
    static void ignoreSignals() noexcept;

    // Writes text unchanged: at once to a terminal, otherwise by whole lines, so that the lines of processes that share
    // a file stay intact. Returns the errno of a failure, or 0.
    int out(std::string_view text);
    int flush();
    void error(std::string_view text);
    template <class... Arguments> int print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        return out(fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    // Shows lines below all other text, if standard error is a terminal; without lines, removes them. The cursor stays
    // in the text above, so that prompts and typed text stay in place.
    void showBelow(std::vector<std::string> lines);
    // Writes a whole line to standard error, after ending a line that is unfinished.
    void errorLine(const std::string& text);

    // Whether the text that was written last ends in an unfinished line.
    bool isMidLine() const { return m_isMidLine; }
    // Records that something else could not be written, as a full sentence.
    void fail(std::string why);

    // The exit status: the given one, unless output was lost.
    int finish(int status);

private:
    CStandardStreams();
    int flushLocked();
    int outLocked(std::string_view text);
    void writeError(std::string_view text);
    void eraseBelow();
    void drawBelow();

    std::mutex m_lock;
    bool m_isInteractive;
    bool m_sharesTerminal;  // both streams go to one
    bool m_isMidLine = false;
    bool m_isErrorMidLine = false;
    bool m_isReaderGone = false;
    bool m_hasFailed = false;
    bool m_isLost = false;
    std::vector<std::string> m_failures;
    std::vector<std::string> m_below;
};

}  // namespace kzhost
