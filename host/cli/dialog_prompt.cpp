// Dialogs of kzhost.
#include "host/cli/dialog_prompt.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace kzhost {

std::optional<std::string> kzPromptOnTerminal(const DialogQuestion& question) {
    if (!question.problem.empty()) fmt::print(stderr, "{}\n", question.problem);
    const std::string separator = question.description.empty() ? "" : ", ";
    fmt::print(stderr, "{}: {}{}{} ({}) [{}]: ", question.command, question.argument, separator, question.description,
               question.expected, question.present);
    std::fflush(stderr);
    char* line = nullptr;
    std::size_t room = 0;
    // The stream that scripts read from, so that none of its lines is lost between them.
    const auto length = getline(&line, &room, stdin);
    const std::unique_ptr<char, decltype(&std::free)> owned(line, std::free);
    if (length < 0) {
        std::clearerr(stdin);  // after Ctrl-C it can be read again
        fmt::print(stderr, "\n");
        return {};
    }
    std::string answer(line, static_cast<std::size_t>(length));
    while (!answer.empty() && (answer.back() == '\n' || answer.back() == '\r')) answer.pop_back();
    if (isatty(STDIN_FILENO) == 0) fmt::print(stderr, "{}\n", answer);  // where nobody has seen it typed
    return answer;
}

}  // namespace kzhost
