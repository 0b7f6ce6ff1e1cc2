// Dialogs of kzhost.
#include "host/cli/dialog_prompt.h"

#include "host/cli/standard_streams.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <termios.h>
#include <unistd.h>

namespace kzhost {

namespace {

// Leaves the terminal without an echo for as long as it lives, where that is wanted.
class CSilence {
public:
    explicit CSilence(bool isWanted) : m_isSet(isWanted && tcgetattr(STDIN_FILENO, &m_before) == 0) {
        termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (m_isSet) tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~CSilence() {
        if (!m_isSet) return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        CStandardStreams::get().error("\n");
    }
    CSilence(const CSilence&) = delete;
    CSilence& operator=(const CSilence&) = delete;

private:
    termios m_before{};
    bool m_isSet;
};

}  // namespace

std::optional<std::string> kzPromptOnTerminal(const DialogQuestion& question) {
    CStandardStreams& streams = CStandardStreams::get();
    if (!question.problem.empty()) streams.error(question.problem + "\n");
    const std::string separator = question.description.empty() ? "" : ", ";
    streams.error(fmt::format("{}: {}{}{} ({}) [{}]: ", question.command, question.argument, separator,
                              question.description, question.expected, question.present));
    const CSilence silence(question.isSecret);
    char* line = nullptr;
    std::size_t room = 0;
    // Through stdio, as scripts do: another buffer would keep lines from them.
    const auto length = getline(&line, &room, stdin);
    const std::unique_ptr<char, decltype(&std::free)> guard(line, std::free);
    if (length < 0) {
        std::clearerr(stdin);  // after Ctrl-C it can be read again
        streams.error("\n");
        return {};
    }
    std::string answer(line, static_cast<std::size_t>(length));
    while (!answer.empty() && (answer.back() == '\n' || answer.back() == '\r')) answer.pop_back();
    if (isatty(STDIN_FILENO) == 0)  // where nobody has seen it typed
        streams.error((question.isSecret ? std::string() : answer) + "\n");
    return answer;
}

}  // namespace kzhost
