// Lives of the plug-in: many of them one after another in a process, and ends under the hands of many threads.
#include "tests/bare_host/bare_host.h"
#include "tests/prove/proof.h"
#include "tests/support/child.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <random>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* useEverything = R"(
import kz, kzifc, kzu.object, threading
class Kept(kzifc.Command):
    def cmd_ArgFlags(self, index): return index
kz.bless(Kept, 'kept', {'tag': 'value'})
kz.command('a'), kz.Monitor(2).step()
try: kz.eval('a ?')
except RuntimeError: pass
kz.Storage('d', 1000).set(range(1000))
log = kz.service.Log().SubSystemLookup('scripts')
thread = threading.Thread(target=lambda: kz.object.Command(Kept()).ArgFlags(3))
thread.start(); thread.join()
try: kz.service.Log().SubSystemLookup()
except TypeError: pass
import gc, sys, weakref
def derived(base):
    return sum(map(derived, type.__subclasses__(base)), [base])
def memory(type):
    names = gc.get_referents(type.__dict__)[0]
    others = names, type.__mro__, type.__bases__, weakref.ref(type)  # by which its bases know it
    return sum(map(sys.getsizeof, others)) + sum(sys.getsizeof(each) + 32 for each in names.itervalues())
print 'types: %d' % sum(memory(each) for each in set(derived(object))
                        if (each.__module__[:2] == 'kz' or each.__name__ == 'module' and each is not type(sys))
                        and not each.__flags__ & 512)
gc.collect()
print 'builtins: %d' % len(set(id(names) for each in gc.get_objects() for names in gc.get_referents(each)
                               if type(names) is dict and '__debug__' in names))
print sorted(sys.modules)
)";

// Written by a forked child for its parent.
template <class Value> class CShared {
public:
    CShared()
        : m_value(static_cast<Value*>(
              mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
        new (m_value) Value();
    }
    ~CShared() { munmap(m_value, sizeof(Value)); }
    CShared(const CShared&) = delete;
    CShared& operator=(const CShared&) = delete;
    Value* operator->() noexcept { return m_value; }
    Value& operator*() noexcept { return *m_value; }

private:
    Value* m_value;
};

// The memory of this process without the images of libraries, in KB: a copy of the plug-in stays mapped, as it must, and
// what it has written to its own data belongs to no life in particular.
double anonymousMemory() {
    malloc_trim(0);
    std::ifstream maps("/proc/self/smaps");
    double sum = 0;
    std::string line, end;
    for (bool isImage = false; std::getline(maps, line);) {
        std::uint64_t first = 0, last = 0;
        char name[4096] = "";
        long size = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx %*s %*s %*s %*s %4095s", &first, &last, name) >= 2) {
            // The zeroed part of a library's data lies behind the rest and has no name.
            isImage = name[0] == '/' || (isImage && name[0] == '\0' && end == std::to_string(first));
            end = std::to_string(last);
        } else if (!isImage && std::sscanf(line.c_str(), "Anonymous: %ld", &size) == 1) {
            sum += static_cast<double>(size);
        }
    }
    return sum;
}

// Runs a life so often and tells by how many KB the process has grown with each of the later ones.
template <class Life> double growthWithEach(int count, Life&& life) {
    const int warmUp = std::max(2, count / 10);
    double before = 0;
    for (int round = 0; round < count; ++round) {
        if (round == warmUp) before = anonymousMemory();
        life(round);
    }
    return (anonymousMemory() - before) / (count - warmUp);
}

struct Grown {
    double ours = 0, copies = 0, types = 0, bare = 0;  // KB for each life
    char modules[20000] = "";
};

// A life of a copy of the plug-in, since one that has been unloaded is refused for the rest of the process.
void live(const CTestFolder& folder, int round, bool isUsed, Grown& grown) {
    const std::string plugin = folder.path("plugin" + std::to_string(round) + ".so");
    std::filesystem::copy_file(KZ_BUILD_DIR "/plugins/kzPython2.so", plugin);
    CBareHost host;
    std::thread([&] {
        ASSERT_TRUE(host.load(plugin.c_str())) << round << " " << dlerror();
        if (!isUsed) return;
        EXPECT_EQ(host.run(useEverything), kzOk) << host.log();
        EXPECT_EQ(host.execute("sum(range(10))"), kzOk);
    }).join();
    std::thread([&] { host.unload(); }).join();
    EXPECT_EQ(host.references(), 1U);
    std::filesystem::remove(plugin);
    const std::string log = host.log();
    // The interpreter keeps a copy. What holds those of a former life holds a part of that life.
    EXPECT_EQ(log.find("builtins: 2\n") != std::string::npos, isUsed) << round << " " << log;
    const auto types = log.find("types: "), modules = log.find("['");
    if (types == std::string::npos || modules == std::string::npos) return;
    grown.types = std::atof(&log[types + 7]) / (round + 1) / 1024;  // those of the copies before it are still known
    log.substr(modules, log.find(']', modules) + 1 - modules).copy(grown.modules, sizeof grown.modules - 1);
}

// The interpreter alone, which imports what the plug-in has it import, without our own packages.
void liveBare(void* interpreter, const std::string& source) {
    const auto call = [&](const char* name) { reinterpret_cast<void (*)()>(dlsym(interpreter, name))(); };
    *static_cast<int*>(dlsym(interpreter, "Py_NoSiteFlag")) = 1;
    call("Py_Initialize");
    call("PyEval_InitThreads");
    EXPECT_EQ(reinterpret_cast<int (*)(const char*)>(dlsym(interpreter, "PyRun_SimpleString"))(source.c_str()), 0);
    call("Py_Finalize");
}

// Each copy of the plug-in takes a little of the memory that is set aside when a process starts for the threads' own data of
// libraries that come later, so many copies need a process that has been told to set aside more.
void needStaticMemory(int copies) {
    constexpr const char* name = "GLIBC_TUNABLES";
    if (copies < 10 || std::getenv(name) != nullptr) return;
    setenv(name, ("glibc.rtld.optional_static_tls=" + std::to_string(copies * 128 + 4096)).c_str(), 1);
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> words;
    for (std::string word; std::getline(file, word, '\0');) words.push_back(word);
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv("/proc/self/exe", arguments.data());
}

}  // namespace

TEST(LifetimeTest, CostsNoMoreThanABareInterpreters) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer keeps freed memory for a while, and counts with each copy that is loaded";
#endif
    CShared<Grown> grown;
    const int lives = kzProofLength(6, 300);
    needStaticMemory(lives);
    for (const bool isUsed : {false, true})
        kzInChild(isUsed ? "the plug-in" : "the plug-in without Python", [&] {
            const CTestFolder folder;
            (isUsed ? grown->ours : grown->copies) =
                growthWithEach(lives, [&](int round) { live(folder, round, isUsed, *grown); });
        });
    ASSERT_NE(grown->modules[0], '\0');
    kzInChild("the interpreter", [&] {
        void* interpreter = dlopen("libpython2.7.so.1.0", RTLD_NOW | RTLD_GLOBAL);
        ASSERT_NE(interpreter, nullptr);
        setenv("PYTHONHOME", (kzBareKit + "extra64/Python").c_str(), 1);
        const std::string source = "for name in " + std::string(grown->modules) +
                                   ":\n  if name[:2] != 'kz' and name[:3] != '_kz':\n    try: __import__(name)\n"
                                   "    except ImportError: pass\n";
        grown->bare = growthWithEach(lives, [&](int) { liveBare(interpreter, source); });
    });
    kzFigure("lives", lives);
    // What each copy keeps for itself, a single plug-in has once in a process.
    const double ours = grown->ours - grown->copies - grown->types;
    kzFigure("KB that the process grows with each life", grown->ours);
    kzFigure("KB of that for loading a copy", grown->copies);
    kzFigure("KB of that for the copy's types", grown->types);
    kzFigure("KB that are left", ours);
    kzFigure("KB with each life of a bare interpreter", grown->bare);
    // The interpreter takes memory in pieces of 256 KB, so few lives show little.
    EXPECT_LE(ours, grown->bare + 512.0 / lives * (lives < 100 ? 10 : 1));
}

namespace {

constexpr int callers = 32;

struct Ends {
    double longestWait = 0;  // seconds
    std::uint64_t early = 0, late = 0, lateSuccesses = 0;
};

constexpr const char* busyPython = R"(
import threading, time, __main__
def work(until):
    while time.time() < until(): sum(range(50)); time.sleep(0.0005)
for daemon in (True, True, False, False):
    end = time.time() + 0.05
    thread = threading.Thread(target=work, args=((lambda: 1e20) if daemon else (lambda end=end: end),))
    thread.daemon = daemon
    thread.start()
)";

// Calls, adds references and drops them, each thread in its own way, until told that it is late.
void useServers(const std::array<CKzLoc_Unknown, 3>& servers, IKzUnknown& self, const std::atomic<bool>& isLate,
                int index, std::atomic<std::uint64_t>& early, std::atomic<std::uint64_t>& late,
                std::atomic<std::uint64_t>& wrong) {
    const auto once = [&](int way) {
        const IKzUnknown* before = servers[0].raw();
        std::uint32_t flags = 0;
        switch (way % 4) {
        case 0: return CKzUser_LineInterpreter(servers[0].raw()).Execute("sum(range(20))", &self);
        case 1: return CKzUser_TextScriptInterpreter(servers[1].raw()).Run(&self, 0, "", &self);
        case 2: return CKzUser_Command(servers[2].raw())->ArgFlags(3, &flags);
        default: {
            const CKzLoc_Unknown more(servers[2].raw());
            CKzLoc_Unknown other;
            more.raw()->QueryInterface(&KZu_COMMAND, reinterpret_cast<void**>(other.out()));
            return before != nullptr ? CKzUser_Command(other.raw())->ArgClear(1) : KZe_FAILED;
        }
        }
    };
    for (int way = index; !isLate; ++way)
        if (kzSucceeded(once(way))) ++early;
    for (int way = 0; way < 3; ++way, ++late)
        if (kzSucceeded(once(way))) ++wrong;
}

void endUnderCalls(std::uint32_t seed, const CTestFolder& folder, Ends& ends) {
    auto& host = *new CBareHost();  // daemon threads may be inside for good
    host.importPaths = {folder.path()};
    ASSERT_TRUE(host.load());
    EXPECT_EQ(host.run(busyPython), kzOk) << host.log();
    auto& servers = *new std::array<CKzLoc_Unknown, 3>();
    ASSERT_EQ(host.spawn(KZu_LINEINTERPRETER, servers[0]), kzOk);
    ASSERT_EQ(host.spawn(KZu_TEXTSCRIPTINTERPRETER, servers[1]), kzOk);
    CKzLoc_Unknown module;
    ASSERT_EQ(host.spawn(KZu_MODULE, module), kzOk);
    ASSERT_EQ(CKzUser_Module(module.raw()).Generate("proof", &KZu_COMMAND, servers[2].out()), kzOk) << host.log();
    module.clear();
    std::atomic<bool> isLate = false;
    std::atomic<std::uint64_t> early = 0, late = 0, wrong = 0;
    std::vector<std::thread> threads;
    threads.reserve(callers);
    for (int index = 0; index < callers; ++index)
        threads.emplace_back([&, index] { useServers(servers, host.self(), isLate, index, early, late, wrong); });
    std::mt19937 random(seed);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
    const auto begin = Clock::now();
    host.module.clear();
    ends.longestWait = std::max(ends.longestWait, std::chrono::duration<double>(Clock::now() - begin).count());
    isLate = true;
    for (std::thread& thread : threads) thread.join();
    ends.early += early;
    ends.late += late;
    ends.lateSuccesses += wrong;
    EXPECT_FALSE(host.hasLogged("Python cannot end")) << host.log();
    for (CKzLoc_Unknown& server : servers) server.clear();
}

}  // namespace

TEST(LifetimeTest, EndsUnderTheHandsOfManyThreads) {
    const CTestFolder folder;
    folder.write("servers/proof.py", R"(
        import kz, kzifc
        class Proof(kzifc.Command):
          def cmd_ArgFlags(self, index): return index
          def cmd_ArgClear(self, index): self.kept = [kz.service.Log()]
        kz.bless(Proof, 'proof'))"_lines);
    CShared<Ends> ends;
    const int rounds = kzProofLength(5, 1000);
    for (int round = 0; round < rounds && !HasFailure(); ++round)
        kzInChild(("round " + std::to_string(round)).c_str(), [&] {
            kzEndsWithLiveObjects();
            endUnderCalls(static_cast<std::uint32_t>(round), folder, *ends);
        });
    kzFigure("rounds", rounds);
    kzFigure("longest wait, seconds", ends->longestWait);
    kzFigure("calls that succeeded before the end", static_cast<double>(ends->early));
    kzFigure("calls after it", static_cast<double>(ends->late));
    kzFigure("calls after it that succeeded", static_cast<double>(ends->lateSuccesses));
    EXPECT_EQ(ends->late, static_cast<std::uint64_t>(rounds * callers * 3));
    EXPECT_GT(ends->early, static_cast<std::uint64_t>(rounds * callers));
    EXPECT_EQ(ends->lateSuccesses, 0U);
    EXPECT_LT(ends->longestWait, 10.0);
}
