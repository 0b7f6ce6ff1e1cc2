// The program that reads and writes foreign models. It hands on what it has read in a file in memory, and says what is
// wrong on a pipe, whose end tells that it is over.
#include "host/objects/model_program.h"

#include "host/objects/program_part.h"
#include "host/state/descriptor.h"
#include "host/state/path_aliases.h"

#include "kz/result.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace kzhost {

namespace {

constexpr ProgramPart theProgram{"kzModels", "kzpython2-models", "libassimp-dev"};
constexpr std::uintmax_t greatestFile = std::uintmax_t{1} << 30U;
constexpr std::size_t greatestText = 4096;

int orThrow(int result, const char* what) {
    if (result < 0) throw ModelError(std::string(what) + ": " + std::strerror(errno));
    return result;
}

void writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        orThrow(count > 0 ? 0 : -1, "a model cannot be handed on");
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::string allOf(int file) {
    struct stat facts {};
    orThrow(fstat(file, &facts), "a model cannot be taken over");
    std::string bytes(static_cast<std::size_t>(facts.st_size), '\0');
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count = ::pread(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) continue;
        orThrow(count > 0 ? 0 : -1, "a model cannot be taken over");
        done += static_cast<std::size_t>(count);
    }
    return bytes;
}

class CRun {
public:
    CRun(std::vector<std::string> words, std::string_view input)
        : m_input(orThrow(memfd_create("model", MFD_CLOEXEC), "no memory for a model")),
          m_output(orThrow(memfd_create("model", MFD_CLOEXEC), "no memory for a model")) {
        writeAll(m_input.get(), input);
        orThrow(static_cast<int>(lseek(m_input.get(), 0, SEEK_SET)), "a model cannot be handed on");
        int ends[2];
        orThrow(pipe2(ends, O_CLOEXEC), "no pipe");
        CDescriptor said(ends[1]);
        m_said = ends[0];
        start(std::move(words), said.get());
    }
    ~CRun() {
        if (m_child > 0) end();
        ::close(m_said);
    }
    CRun(const CRun&) = delete;
    CRun& operator=(const CRun&) = delete;

    // Waits until it is over. Throws what went wrong.
    void wait(const ModelGoesOn& goesOn) {
        for (bool isOver = false; !isOver;) {
            if (!goesOn()) throw KZe_ABORT;
            pollfd watched{m_said, POLLIN, 0};
            if (poll(&watched, 1, 100) <= 0) continue;
            char part[512];
            const ssize_t count = ::read(m_said, part, sizeof part);
            if (count > 0 && m_text.size() < greatestText) m_text.append(part, static_cast<std::size_t>(count));
            isOver = count == 0 || (count < 0 && errno != EINTR);
        }
        const int status = reap();
        if (!goesOn()) throw KZe_ABORT;  // who interrupts the host may have ended the program as well
        if (WIFSIGNALED(status))
            throw ModelError(std::string("its reader or writer crashed: ") + strsignal(WTERMSIG(status)));
        if (WEXITSTATUS(status) == 2) throw ModelUnknown(m_text);
        if (WEXITSTATUS(status) != 0) throw ModelError(m_text.empty() ? "its reader or writer failed" : m_text);
    }
    std::string output() const { return allOf(m_output.get()); }

private:
    void start(std::vector<std::string> words, int said) {
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawnattr_t attributes;
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_adddup2(&actions, m_input.get(), 0);
        posix_spawn_file_actions_adddup2(&actions, m_output.get(), 1);
        posix_spawn_file_actions_adddup2(&actions, said, 2);
        posix_spawn_file_actions_addclosefrom_np(&actions, 3);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
        const int code = posix_spawn(&m_child, words.front().c_str(), &actions, &attributes, arguments.data(), environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
        if (code == 0) return;
        m_child = 0;
        throw ModelError(words.front() + " cannot be started: " + std::strerror(code));
    }
    // Somebody else may have waited for the process already; what it has said and written then counts alone.
    int reap() {
        int status = 0;
        while (waitpid(m_child, &status, 0) < 0)
            if (errno != EINTR) {
                status = m_text.empty() ? 0 : W_EXITCODE(1, 0);
                break;
            }
        m_child = 0;
        return status;
    }
    void end() {
        kill(m_child, SIGKILL);
        reap();
    }

    CDescriptor m_input, m_output;
    int m_said = -1;
    pid_t m_child = 0;
    std::string m_text;
};

}  // namespace

ForeignModel kzReadModel(const CPathAliases& files, const std::string& path, const ModelGoesOn& goesOn) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) throw ModelError(error.message());
    if (size > greatestFile) throw ModelError("the file is larger than 1 GiB");
    CRun run({kzProgramPart(files, theProgram, "Scene"), "read", path}, {});
    run.wait(goesOn);
    const std::string bytes = run.output();
    CModelParser in(bytes);
    ForeignModel model;
    kzFields(in, model);
    kzCheckModel(model);
    return model;
}

void kzWriteModel(const CPathAliases& files, ForeignModel model, const std::string& format, const std::string& path,
                  const ModelGoesOn& goesOn) {
    CModelBytes out;
    kzFields(out, model);
    CRun(std::vector<std::string>{kzProgramPart(files, theProgram, "Scene"), "write", format, path}, out.bytes)
        .wait(goesOn);
}

}  // namespace kzhost
