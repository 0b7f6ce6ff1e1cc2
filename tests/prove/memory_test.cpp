// Memory that runs out, at each allocation in turn, for that one or from then on: whatever the plug-in is doing, it ends with
// a code or a MemoryError, and works afterwards.
#include "tests/bare_host/bare_host.h"
#include "tests/bare_host/short_memory.h"
#include "tests/prove/proof.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Work {
    const char* name;
    bool starts;  // Python has not run before
    KzResult (*run)(CBareHost& host, CKzLoc_Unknown& server);
};

template <const char* const& script> KzResult scripted(CBareHost& host, CKzLoc_Unknown& /*server*/) {
    return host.run(script);
}

constexpr const char* plain = "a = [str(i) for i in range(20)]; print len(a)";
constexpr const char* text = "import kz; kz.service.Log().SubSystemLookup('scripts')";
constexpr const char* failing = "import kz\ntry: kz.service.Log().CreateEntry('x', 'y')\nexcept TypeError: pass";
constexpr const char* storage = "import kz; kz.Storage('d', 100).set(range(100))";
constexpr const char* command = "import kz; kz.command('a', b=1)";
constexpr const char* monitor = "import kz; kz.Monitor(2).step()";
constexpr const char* bless = "import kz, kzifc; kz.bless(type('A', (kzifc.Command,), {}), 'blessed', {'a': 1})";
constexpr const char* serve = "import kz, kzifc; kz.object.Unknown(type('A', (kzifc.Command,), {})())";

const Work works[] = {
    {"start", true, [](CBareHost& host, CKzLoc_Unknown&) { return host.execute("1"); }},
    {"console line", false, [](CBareHost& host, CKzLoc_Unknown&) { return host.execute("'a' * 3"); }},
    {"script", false, scripted<plain>},
    {"wrapper", false, scripted<text>},
    {"failing wrapper", false, scripted<failing>},
    {"storage", false, scripted<storage>},
    {"command", false, scripted<command>},
    {"monitor", false, scripted<monitor>},
    {"blessing", false, scripted<bless>},
    {"serving", false, scripted<serve>},
    {"adapter", false, [](CBareHost&, CKzLoc_Unknown& server) { return CKzUser_Command(server.raw())->ArgClear(3); }},
    {"adapter with an answer", false,
     [](CBareHost&, CKzLoc_Unknown& server) {
         const char* name = nullptr;
         return CKzUser_Command(server.raw())->Name(&name);
     }},
    {"spawning", false,
     [](CBareHost& host, CKzLoc_Unknown&) {
         CKzLoc_Unknown module, made;
         if (const KzResult code = host.spawn(KZu_MODULE, module); kzFailed(code)) return code;
         return CKzUser_Module(module.raw()).Generate("proof", &KZu_COMMAND, made.out());
     }},
};

// The statuses with which children end.
enum Status { survived = 0, through = 1, broken = 2, ours = 3, interpreters = 4 };

// Tells whose code a crash is in: that of the innermost function that is neither the C library's nor a runtime's.
void whenCrashed(int /*signal*/) {
    void* frames[64];
    const int count = backtrace(frames, 64);
    for (int index = 2; index < count; ++index) {
        Dl_info info;
        if (dladdr(frames[index], &info) == 0 || info.dli_fname == nullptr) continue;
        const std::string_view file(info.dli_fname);
        if (file.find("libpython") != std::string_view::npos || file.find("lib-dynload") != std::string_view::npos)
            _exit(interpreters);
        if (file.find("kzPython2") != std::string_view::npos) break;
    }
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
    _exit(ours);
}

class MemoryTest : public testing::Test {
protected:
    // In a child: lets so many allocations succeed.
    [[noreturn]] void live(const Work& work, long succeeding, bool isOneShort) const {
        CBareHost host;
        host.importPaths = {folder.path()};
        CKzLoc_Unknown module, server;
        if (!host.load()) _exit(broken);
        if (!work.starts) {
            host.run("import kz, kz.object, kz.service, kzifc");
            host.spawn(KZu_MODULE, module);
            if (kzFailed(CKzUser_Module(module.raw()).Generate("proof", &KZu_COMMAND, server.out()))) _exit(broken);
            CShortMemory all(1L << 60);
            work.run(host, server);  // what is made once is there now
        }
        void* frame = nullptr;
        backtrace(&frame, 1);  // the first time it needs memory
        for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE}) std::signal(signal, whenCrashed);
        {
            const CShortMemory scarce(succeeding, isOneShort);
            try {
                work.run(host, server);
            } catch (const std::bad_alloc&) {  // of this host
            }
        }
        const bool isThrough = CShortMemory::asked() <= succeeding;
        // A start that failed is not tried again.
        const bool works =
            work.starts ? isThrough <= kzSucceeded(host.execute("1")) : kzSucceeded(host.execute("print 1"));
        module.clear();
        server.clear();
        host.unload();
        if (!works || host.references() != 1) {
            std::fprintf(stderr, "afterwards: %d, %u references\n%s\n", works, host.references(), host.log().c_str());
            _exit(broken);
        }
        _exit(isThrough ? through : survived);
    }
    int statusOf(const Work& work, long succeeding, bool isOneShort) const {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) live(work, succeeding, isOneShort);
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : ours;
    }

    CTestFolder folder;
};

}  // namespace

TEST_F(MemoryTest, MayRunOutAnywhere) {
    if (!CShortMemory::works()) GTEST_SKIP() << "the sanitizer has the allocator";
    folder.write("servers/proof.py", R"(
        import kz, kzifc
        class Proof(kzifc.Command):
          def cmd_Name(self): return 'name'
          def cmd_ArgClear(self, index): self.kept = [index, str(index)]
        kz.bless(Proof, 'proof'))"_lines);
    const long most = kzProofLength(8, 3000);  // of each work; there are fewer of most
    double tried = 0, inInterpreter = 0;
    std::set<std::string> sampled;
    for (const Work& work : works)
        for (const bool isOneShort : {true, false}) {
            long count = 1;  // the allocations that there are; at least so many
            while (statusOf(work, count, true) != through && count < 1000000) count *= 2;
            const long step = std::max(1L, count / most);
            if (step > 1) sampled.insert(work.name);
            int status = survived;
            for (long at = 0; status != through; at += step) {
                status = statusOf(work, at, isOneShort);
                EXPECT_TRUE(status != ours && status != broken)
                    << work.name << ", " << at << (isOneShort ? " once" : " from then on")
                    << (status == ours ? ": crashed" : ": broken afterwards");
                ++tried;
                inInterpreter += status == interpreters ? 1 : 0;
            }
        }
    kzFigure("allocations that failed", tried);
    kzFigure("crashes inside the interpreter", inInterpreter);
    kzFigure("works of which only a part was tried", static_cast<double>(sampled.size()));
}
