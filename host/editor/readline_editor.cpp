// Editing with GNU Readline, the library that the interpreter's own module "readline" works with: what scripts bind, or
// put into the history, holds at the console's prompt.
//
// The library's call-back interface is used, because waiting is where signals come. Their handlers only count an event;
// the loop that waits for characters sees it and calls what no handler may call.
#include "host/editor/line_editor.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

#include <readline/readline.h>

#include <readline/history.h>

namespace kzhost {

namespace {

constexpr int keptLines = 1000;

// What the library's functions and signal handlers share; they carry no data of ours.
int theEvents = -1;  // a counter of the kernel's, which wakes whoever waits
std::atomic<bool> theInterrupt = false, theResize = false, theStop = false;
ILineEditor::Completer theCompleter;
std::optional<ILineEditor::Read> theEnd;
std::string theLine;

void wake() {
    const int error = errno;
    eventfd_write(theEvents, 1);
    errno = error;
}

void onInterrupt(int /*signal*/) {
    theInterrupt = true;
    wake();
}

void onResize(int /*signal*/) {
    theResize = true;
    wake();
}

void onStop(int /*signal*/) {
    theStop = true;
    wake();
}

class CSignals {
public:
    CSignals() {
        constexpr std::pair<int, void (*)(int)> handlers[] = {
            {SIGINT, onInterrupt}, {SIGWINCH, onResize}, {SIGTSTP, onStop}};
        for (std::size_t at = 0; at < std::size(handlers); ++at) {
            struct sigaction action {};
            action.sa_handler = handlers[at].second;
            sigemptyset(&action.sa_mask);
            sigaction(m_signals[at] = handlers[at].first, &action, &m_former[at]);
        }
    }
    ~CSignals() {
        for (std::size_t at = 0; at < std::size(m_signals); ++at) sigaction(m_signals[at], &m_former[at], nullptr);
    }
    CSignals(const CSignals&) = delete;
    CSignals& operator=(const CSignals&) = delete;

private:
    int m_signals[3];
    struct sigaction m_former[3];
};

// The host's texts are UTF-8 whatever the environment says, and so is a terminal of today. Only this thread sees the
// locale; the one of the process, which the library may change, belongs to the scripts.
class CLocale {
public:
    CLocale() : m_process(std::setlocale(LC_CTYPE, nullptr)) {
        static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        m_thread = uselocale(utf8);
    }
    ~CLocale() {
        uselocale(m_thread);
        std::setlocale(LC_CTYPE, m_process.c_str());
    }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    std::string m_process;
    locale_t m_thread;
};

// The library would end the line after Ctrl-D, on some terminals, and from then on each one twice.
void leaveTerminal() {
    rl_eof_found = 0;
    rl_deprep_terminal();
}

// The terminal goes back at once, before anything is run.
void onLine(char* line) {
    rl_callback_handler_remove();
    theEnd = line != nullptr ? ILineEditor::Read::line : ILineEditor::Read::end;
    theLine = line != nullptr ? line : "";
    std::free(line);
}

void giveUpLine() {
    rl_echo_signal_char(SIGINT);
    rl_free_line_state();
    rl_callback_sigcleanup();
    rl_callback_handler_remove();
    theEnd = ILineEditor::Read::interrupted;
}

// Ctrl-Z. While the process sleeps, the terminal is as the shell left it.
void sleep() {
    rl_deprep_terminal();
    struct sigaction plain {};
    struct sigaction former {};
    plain.sa_handler = SIG_DFL;
    sigaction(SIGTSTP, &plain, &former);
    raise(SIGTSTP);
    sigaction(SIGTSTP, &former, nullptr);
    rl_prep_terminal(1);
    rl_forced_update_display();
}

void handleEvents() {
    eventfd_t count = 0;
    eventfd_read(theEvents, &count);
    if (theResize.exchange(false)) rl_resize_terminal();
    if (theStop.exchange(false)) sleep();
    if (theInterrupt.exchange(false)) giveUpLine();
}

// How much all words begin with, in whole characters.
std::size_t commonLength(const std::vector<std::string>& words) {
    const std::string& first = words.front();
    std::size_t length = first.size();
    for (const std::string& word : words)
        for (std::size_t at = 0; at < length; ++at)
            if (at == word.size() || word[at] != first[at]) length = at;
    while (length < first.size() && (static_cast<unsigned char>(first[length]) & 0xC0U) == 0x80U) --length;
    return length;
}

void replaceWord(std::size_t start, const std::string& text) {
    rl_begin_undo_group();
    rl_delete_text(static_cast<int>(start), rl_point);
    rl_point = static_cast<int>(start);
    rl_insert_text(text.c_str());
    rl_end_undo_group();
}

// Below the line, which is drawn again under it. No more than fits on the screen.
void showBelow(const std::string& note, std::vector<std::string> words) {
    if (!note.empty()) {
        rl_crlf();
        std::fputs(note.c_str(), rl_outstream);
    }
    int rows = 0, columns = 0;
    rl_get_screen_size(&rows, &columns);
    std::size_t widest = 1;
    for (const std::string& word : words) widest = std::max(widest, word.size());
    const std::size_t inRow = std::max<std::size_t>(static_cast<std::size_t>(columns) / (widest + 2), 1);
    const std::size_t room = inRow * static_cast<std::size_t>(std::max(rows - 4, 4));
    const std::size_t left = words.size() > room ? words.size() - room : 0;
    words.resize(words.size() - left);
    std::vector<char*> list = {const_cast<char*>("")};
    for (std::string& word : words) list.push_back(word.data());
    list.push_back(nullptr);
    if (words.size() < 2) rl_crlf();
    else rl_display_match_list(list.data(), static_cast<int>(words.size()), static_cast<int>(widest));
    if (left > 0) std::fprintf(rl_outstream, "... and %zu more\n", left);
    rl_on_new_line();
    rl_forced_update_display();
}

// What scripts have the interpreter's module complete, where the console knows nothing.
void askScripts(Completion& completion, const std::string& line) {
    if (rl_attempted_completion_function == nullptr) return;
    completion.start = line.find_last_of(" \t\n\"'()[]{}<>=+-*/%,;:&|^~!#$?`\\") + 1;
    char** const matches =
        rl_attempted_completion_function(line.c_str() + completion.start, static_cast<int>(completion.start), rl_point);
    if (matches == nullptr) return;
    for (char** each = matches[1] != nullptr ? matches + 1 : matches; *each != nullptr; ++each)
        completion.words.emplace_back(*each);
    for (char** each = matches; *each != nullptr; ++each) std::free(*each);
    std::free(matches);
}

// The library's functions cannot pass an exception on.
Completion completionOf(const std::string& line) noexcept {
    try {
        Completion completion = theCompleter ? theCompleter(line) : Completion();
        if (completion.words.empty() && completion.note.empty()) askScripts(completion, line);
        return completion;
    } catch (...) {
        return {};
    }
}

// Tab. At the beginning of a line it indents.
int complete(int /*count*/, int key) {
    static int lastPoint = -1;
    const std::string line(rl_line_buffer, static_cast<std::size_t>(rl_point));
    if (line.substr(line.rfind('\n') + 1).find_first_not_of(" \t") == std::string::npos) return rl_insert(1, key);
    const Completion found = completionOf(line);
    const std::string word = line.substr(std::min(found.start, line.size()));
    const std::string common = found.words.empty() ? "" : found.words.front().substr(0, commonLength(found.words));
    const bool isLonger = !word.starts_with(common);
    const bool isAgain = rl_last_func == complete && lastPoint == rl_point;
    if (isLonger) replaceWord(found.start, common);
    if (!found.note.empty() || (isAgain && !isLonger && found.words.size() > 1)) showBelow(found.note, found.words);
    else if (!isLonger) rl_ding();
    lastPoint = rl_point;
    return 0;
}

// The interpreter's module makes Tab an ordinary key when it is imported, and pdb lets it complete without a question.
void bindTab() {
    rl_command_func_t* const bound = rl_function_of_keyseq("\t", nullptr, nullptr);
    for (rl_command_func_t* each : {rl_insert, rl_tab_insert, rl_complete})
        if (bound == each) rl_bind_key('\t', complete);
}

class CReadlineEditor final : public ILineEditor {
public:
    CReadlineEditor() {
        const CLocale locale;
        theEvents = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        rl_readline_name = "kzhost";
        rl_catch_signals = 0;
        rl_catch_sigwinch = 0;
        rl_deprep_term_function = leaveTerminal;
        rl_initialize();
        for (const auto& [name, value] : {std::pair("input-meta", "on"), std::pair("output-meta", "on"),
                                          std::pair("convert-meta", "off"), std::pair("page-completions", "off")})
            rl_variable_bind(name, value);
        rl_bind_key('\t', complete);
        using_history();
        stifle_history(keptLines);
    }
    void setCompleter(Completer completer) override { theCompleter = std::move(completer); }
    Read read(const std::string& prompt, std::string& line) override;
    void remember(const std::string& line) override { add_history(line.c_str()); }
};

ILineEditor::Read CReadlineEditor::read(const std::string& prompt, std::string& line) {
    const CLocale locale;
    for (std::atomic<bool>* each : {&theInterrupt, &theResize, &theStop}) *each = false;  // of the line before
    const CSignals signals;
    theEnd.reset();
    rl_reset_screen_size();
    bindTab();
    rl_callback_handler_install(prompt.c_str(), onLine);
    while (!theEnd) {
        pollfd sources[] = {{theEvents, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        if (poll(sources, std::size(sources), -1) < 0 && errno != EINTR) break;
        if (sources[0].revents != 0) handleEvents();
        else if (sources[1].revents != 0) rl_callback_read_char();
    }
    if (!theEnd) rl_callback_handler_remove();
    line = std::exchange(theLine, {});
    return theEnd.value_or(Read::end);
}

}  // namespace

}  // namespace kzhost

extern "C" [[gnu::visibility("default")]] kzhost::ILineEditor* kzLineEditor() {
    static auto* editor = new kzhost::CReadlineEditor();  // never destroyed: the library ends with the process
    return editor;
}
