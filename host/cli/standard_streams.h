// The program's standard output and standard error. All that it writes there goes through here, so that both stay in order
// and nothing that could not be written is forgotten.
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

    // Writing to what nobody reads any more, or to a file that is full, fails instead of ending the process: the program's
    // own output is handled here, and scripts get the exception that they expect.
    static void ignoreSignals() noexcept;

    // Text as it is, nothing added. Where somebody sits before the program it shows at once; elsewhere line by line, so
    // that processes that share a file do not tear each other's lines. Answers the system's number of a failure, or 0.
    int out(std::string_view text);
    int flush();
    void error(std::string_view text);
    template <class... Arguments> int print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        return out(fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    // Lines that stay below all other text on the terminal to which standard error goes, until there are none. The
    // cursor remains where text goes on, so that prompts and what is typed stay in place.
    void showBelow(std::vector<std::string> lines);
    // A whole line to standard error: after text that has not ended its own, it begins a new one.
    void errorLine(const std::string& text);

    // Whether what was written last has not ended its line.
    bool isMidLine() const { return m_isMidLine; }
    // Something else could not be written, as a full sentence.
    void fail(std::string why);

    // The status with which the program ends: that one, unless output was lost.
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
