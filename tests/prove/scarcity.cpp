// Children in which memory runs out, and what their ends say.
#include "tests/prove/scarcity.h"

#include "tests/bare_host/short_memory.h"
#include "tests/prove/proof.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The statuses with which children end.
enum Status { survived = 0, through = 1, broken = 2, crashed = 3, crashedInInterpreter = 4 };

const char* theOurs = "";

// Tells whose code a crash is in: that of the innermost function that is neither the C library's nor a runtime's.
void whenCrashed(int /*signal*/) {
    void* frames[64];
    const int count = backtrace(frames, 64);
    for (int index = 2; index < count; ++index) {
        Dl_info info;
        if (dladdr(frames[index], &info) == 0 || info.dli_fname == nullptr) continue;
        const std::string_view file(info.dli_fname);
        if (file.find("libpython") != std::string_view::npos || file.find("lib-dynload") != std::string_view::npos)
            _exit(crashedInInterpreter);
        if (file.find(theOurs) != std::string_view::npos) break;
    }
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
    _exit(crashed);
}

// Whether the libraries, too, ask the allocator that fails.
bool isInPlace() {
    const CShortMemory scarce;
    return realpath("/", nullptr) == nullptr;
}

}  // namespace

int CScarcity::statusOf(const Life& life, long succeeding, bool isOneShort) const {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        theOurs = m_ours;
        bool isThrough = false;
        const bool works = life([&](const std::function<void()>& part) {
            void* frame = nullptr;
            backtrace(&frame, 1);  // the first time it needs memory
            for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE}) std::signal(signal, whenCrashed);
            const CShortMemory scarce(succeeding, isOneShort);
            try {
                part();
            } catch (const std::bad_alloc&) {  // of the test's own code
            }
            return isThrough = CShortMemory::asked() <= succeeding;
        });
        _exit(!works ? broken : isThrough ? through : survived);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : crashed;
}

void CScarcity::exhaust(const std::string& name, const Life& life) {
    ASSERT_TRUE(isInPlace()) << "no allocation would fail";
    ++m_works;
    for (const bool isOneShort : {true, false}) {
        long count = 1;  // the allocations that there are; at least so many
        while (statusOf(life, count, true) != through && count < 1000000) count *= 2;
        const long step = std::max(1L, count / m_most);
        m_sampled += step > 1 && isOneShort ? 1 : 0;
        int status = survived;
        for (long at = 0; status != through; at += step) {
            status = statusOf(life, at, isOneShort);
            EXPECT_TRUE(status != crashed && status != broken)
                << name << ", " << at << (isOneShort ? " once" : " from then on")
                << (status == crashed ? ": crashed" : ": broken afterwards");
            ++m_tried;
            m_inInterpreter += status == crashedInInterpreter ? 1 : 0;
            EXPECT_LE(at, 4 * count) << name << " never has enough";
            if (at > 4 * count) break;
        }
    }
}

void CScarcity::tellFigures(const std::string& of) const {
    for (const auto& [what, value] :
         {std::pair("works", m_works), std::pair("works of which a part was tried", m_sampled),
          std::pair("allocations that failed", m_tried), std::pair("crashes inside the interpreter", m_inInterpreter)})
        kzFigure((of + ": " + what).c_str(), value);
}
