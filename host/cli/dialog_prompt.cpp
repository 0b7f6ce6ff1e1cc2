// Dialogs of kzhost.
#include "host/cli/dialog_prompt.h"

#include "host/cli/standard_streams.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace kzhost {

std::optional<std::string> kzPromptOnTerminal(const DialogQuestion& question) {
    CStandardStreams& streams = CStandardStreams::get();
    if (!question.problem.empty()) streams.error(question.problem + "\n");
    const std::string separator = question.description.empty() ? "" : ", ";
    streams.error(fmt::format("{}: {}{}{} ({}) [{}]: ", question.command, question.argument, separator,
                              question.description, question.expected, question.present));
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
    if (isatty(STDIN_FILENO) == 0) streams.error(answer + "\n");  // a terminal has shown it already
    return answer;
}

}  // namespace kzhost
