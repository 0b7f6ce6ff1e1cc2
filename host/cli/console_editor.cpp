// A line editor on the terminal.
#include "host/cli/console_editor.h"

#include "host/core/command_dispatcher.h"

#include <editline/readline.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace kzhost {

namespace {

constexpr int keptLines = 1000;

// The library's callbacks carry no data of ours; there is one editor at a time.
CLineSession* theSession = nullptr;
CKzHost* theHost = nullptr;
std::vector<std::string> theMatches;
int theInterrupts = -1;  // an event of the kernel's that counts them
bool theInterrupted = false;

// Does only what a signal handler may do.
void onInterrupt(int /*signal*/) {
    const int error = errno;
    eventfd_write(theInterrupts, 1);
    errno = error;
}

bool takeInterrupt() {
    eventfd_t count = 0;
    return eventfd_read(theInterrupts, &count) == 0;
}

// The library's source of characters. Its own would go on reading after Ctrl-C; here, waiting for either, is where a line
// can be given up with nothing half done.
int nextCharacter(std::FILE* /*stream*/) {
    std::mbstate_t state{};
    for (;;) {
        pollfd sources[] = {{theInterrupts, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        const bool isReady = poll(sources, std::size(sources), -1) > 0;
        if (isReady && sources[0].revents != 0 && takeInterrupt()) {
            theInterrupted = true;
            return EOF;
        }
        char byte = 0;
        const ssize_t size = isReady ? read(STDIN_FILENO, &byte, 1) : -1;
        if (size < 0 && errno == EINTR) continue;
        if (size != 1) return EOF;
        wchar_t character = 0;
        const std::size_t taken = std::mbrtowc(&character, &byte, 1, &state);
        if (taken <= 1) return static_cast<int>(character);
        if (taken == static_cast<std::size_t>(-1)) state = {};  // not of this locale, so it cannot be shown either
    }
}

std::string stateFolder() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state != '\0') return std::string(state) + "/kzhost";
    const char* home = std::getenv("HOME");
    return home != nullptr ? std::string(home) + "/.local/state/kzhost" : std::string();
}

char* nextMatch(const char* /*word*/, int state) {
    static std::size_t at = 0;
    if (state == 0) at = 0;
    return at < theMatches.size() ? strdup(theMatches[at++].c_str()) : nullptr;
}

char** complete(const char* word, int /*start*/, int end) {
    theMatches = kzCompletions(*theSession, *theHost, std::string(rl_line_buffer, static_cast<std::size_t>(end)));
    rl_attempted_completion_over = 1;
    return theMatches.empty() ? nullptr : rl_completion_matches(word, nextMatch);
}

bool isWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.'; }

std::string lastWord(const std::string& line) {
    std::size_t start = line.size();
    while (start > 0 && isWordCharacter(line[start - 1])) --start;
    return line.substr(start);
}

// Only names are looked up: asking must not run what the line would run.
std::vector<std::string> namesOf(CLineSession& session, const std::string& object) {
    const std::string ask =
        object.empty() ? "sorted(set(globals().keys() + dir(__builtins__)))" : "dir(" + object + ")";
    return session.ask(ask).value_or(std::vector<std::string>());
}

}  // namespace

std::vector<std::string> kzCompletions(CLineSession& session, CKzHost& host, const std::string& line) {
    const std::string word = lastWord(line);
    const std::size_t before = line.size() - word.size();
    std::vector<std::string> matches;
    const auto take = [&](const std::vector<std::string>& names, const std::string& prefix, const std::string& stem) {
        for (const std::string& name : names)
            if (name.starts_with(stem)) matches.push_back(prefix + name);
    };
    if (before > 0 && (line[before - 1] == '"' || line[before - 1] == '\'')) {
        take(host.commands().registry().names(), "", word);
        return matches;
    }
    if (session.isContinued()) return matches;  // asking would become part of the open statement
    const std::size_t dot = word.rfind('.');
    const std::string object = dot == std::string::npos ? "" : word.substr(0, dot);
    take(namesOf(session, object), dot == std::string::npos ? "" : object + ".",
         word.substr(dot == std::string::npos ? 0 : dot + 1));
    return matches;
}

CConsoleEditor::CConsoleEditor(CLineSession& session, CKzHost& host) {
    theSession = &session;
    theHost = &host;
    theInterrupts = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    rl_readline_name = const_cast<char*>("kzhost");
    rl_getc_function = nextCharacter;
    rl_initialize();
    rl_attempted_completion_function = complete;
    rl_completion_append_character = '\0';  // a name is rarely followed by a blank
    rl_completer_word_break_characters = const_cast<char*>(" \t\n\"'()[]{}<>=+-*/%,;:&|^~!@#$?`\\");
    using_history();
    stifle_history(keptLines);
    const std::string folder = stateFolder();
    std::error_code error;
    if (folder.empty() || (std::filesystem::create_directories(folder, error), error)) return;
    m_historyFile = folder + "/history";
    read_history(m_historyFile.c_str());
}

CConsoleEditor::~CConsoleEditor() {
    if (!m_historyFile.empty()) write_history(m_historyFile.c_str());
    if (theInterrupts >= 0) close(theInterrupts);
    theSession = nullptr;
    theHost = nullptr;
}

CConsoleEditor::Read CConsoleEditor::read(const std::string& prompt, std::string& line) {
    struct sigaction action {};
    struct sigaction former {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &former);
    takeInterrupt();  // one that came too late for the line before
    theInterrupted = false;
    // The library would show the prompt first, and a Ctrl-D typed right then would not be the editor's but be lost.
    rl_prep_terminal(0);
    char* typed = readline(prompt.c_str());
    sigaction(SIGINT, &former, nullptr);
    if (typed == nullptr) {
        std::putchar('\n');
        return theInterrupted ? Read::interrupted : Read::end;
    }
    line = typed;
    std::free(typed);
    if (!line.empty()) add_history(line.c_str());
    return Read::line;
}

}  // namespace kzhost
