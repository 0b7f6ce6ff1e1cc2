// Lines typed on a terminal.
#include "host/cli/console_editor.h"

#include "host/cli/completion.h"
#include "host/cli/line_session.h"
#include "host/state/path_aliases.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <iterator>
#include <memory>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace kzhost {

namespace {

constexpr std::size_t keptLines = 1000;

// Null when it cannot be loaded, after saying why.
ILineEditor* loadEditor(const CPathAliases& files) {
    const std::string path = files.expand("program:").value_or("") + "/lib/kzLineEditor.so";
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    auto* const entry =
        library != nullptr ? reinterpret_cast<LineEditorEntry*>(dlsym(library, kzLineEditorEntry)) : nullptr;
    if (entry != nullptr) return entry();
    const char* const why = dlerror();
    CProgram::say(std::string("lines are not edited and not kept: ") + (why != nullptr ? why : "no entry point"));
    return nullptr;
}

int theInterrupts = -1;  // a counter of the kernel's, so that none is lost before reading begins

void onInterrupt(int /*signal*/) {
    const int error = errno;
    eventfd_write(theInterrupts, 1);
    errno = error;
}

// False if Ctrl-C came first.
bool waitForLine() {
    for (;;) {
        pollfd sources[] = {{theInterrupts, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        eventfd_t count = 0;
        if (poll(sources, std::size(sources), -1) < 0 && errno == EINTR) continue;
        return sources[0].revents == 0 || eventfd_read(theInterrupts, &count) != 0;
    }
}

// As the terminal gives it. Prompts go to standard error: standard output may be a file.
ILineEditor::Read readPlain(const std::string& prompt, std::string& line) {
    if (theInterrupts < 0) theInterrupts = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    struct sigaction action {};
    struct sigaction former {};
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, &former);
    std::fputs(prompt.c_str(), stderr);
    const bool isTyped = waitForLine();
    sigaction(SIGINT, &former, nullptr);
    if (!isTyped) return ILineEditor::Read::interrupted;
    char* text = nullptr;
    std::size_t room = 0;
    const auto length = getline(&text, &room, stdin);
    const std::unique_ptr<char, decltype(&std::free)> owned(text, std::free);
    if (length < 0) {
        std::clearerr(stdin);
        return ILineEditor::Read::end;
    }
    line.assign(text, static_cast<std::size_t>(length));
    if (line.ends_with('\n')) line.pop_back();
    return ILineEditor::Read::line;
}

}  // namespace

CConsoleEditor::CConsoleEditor(CLineSession& session, CKzHost& host)
    : m_history(CHistoryFile::usualPath()), m_editor(isatty(STDOUT_FILENO) != 0 ? loadEditor(host.files()) : nullptr) {
    if (m_editor == nullptr) return;
    m_editor->setCompleter([&session, &host](const std::string& line) { return kzComplete(session, host, line); });
    for (const std::string& line : m_history.read(keptLines)) m_editor->remember(line);
}

CConsoleEditor::~CConsoleEditor() {
    if (m_editor != nullptr) m_editor->setCompleter(nullptr);
}

ILineEditor::Read CConsoleEditor::read(const std::string& prompt, std::string& line) {
    if (m_editor == nullptr) return readPlain(prompt, line);
    const ILineEditor::Read read = m_editor->read(prompt, line);
    if (read == ILineEditor::Read::line && !line.empty()) {
        m_editor->remember(line);
        m_history.append(line);
    }
    return read;
}

}  // namespace kzhost
