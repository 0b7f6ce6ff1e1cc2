// The end: unload and the end of the process, while threads are still inside, and without memory.
#include "tests/bare_host/bare_host.h"
#include "tests/bare_host/short_memory.h"
#include "tests/support/child.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <thread>

namespace {

using namespace std::chrono_literals;

void nap(std::chrono::milliseconds time = 50ms) { std::this_thread::sleep_for(time); }

// Ends the process slowly: this handler runs after all those of the plug-in.
void slowExit() { nap(); }

template <class Condition> void waitFor(Condition&& condition) {
    while (!condition()) nap(1ms);
}

// Threads that keep using Python, whatever it answers.
void keepCalling(CBareHost& host, bool isLoaded) {
    static std::atomic<int> begun;
    for (int index = 0; index < 3; ++index)
        std::thread([&host, isLoaded] {
            CKzLoc_Unknown console;
            host.spawn(KZu_LINEINTERPRETER, console);
            for (++begun;;) {
                CKzUser_LineInterpreter(console.raw()).Execute("print sum(range(200))", &host.self());
                if (isLoaded) host.run("print 1; import kz; kz.Monitor(), kz.service.Log(); none");
            }
        }).detach();
    waitFor([] { return begun == 3; });
    nap();
}

}  // namespace

TEST(ExitTest, IsSurvivedByThreadsThatAreInside) {
    kzInChild("never unloaded", [] {
        std::atexit(slowExit);
        auto& host = *new CBareHost();
        ASSERT_TRUE(host.load());
        host.execute("1");
        keepCalling(host, true);
    });
}

TEST(ExitTest, DoesNotCallAHostThatHasGone) {
    kzInChild("never unloaded", [] {
        kzEndsWithLiveObjects();
        auto& host = *new CBareHost();
        ASSERT_TRUE(host.load());
        EXPECT_EQ(host.run("import kz, __main__; print 1; __main__.kept = [kz.service.Log(), kz.Monitor()]"), kzOk);
        host.application.isGone = true;
    });
}

TEST(ExitTest, RegistersNothingToRunThen) {
    const auto lines = [](const char* command) {
        std::string text;
        FILE* pipe = popen(command, "r");
        for (int letter = 0; (letter = std::fgetc(pipe)) != EOF;) text += static_cast<char>(letter);
        EXPECT_EQ(pclose(pipe), 0);
        return text;
    };
    EXPECT_EQ(lines("nm -D --defined-only " KZ_BUILD_DIR "/plugins/kzPython2.so | cut -d' ' -f2-"),
              "T _IKzModule_Create\n");
    const std::string used = lines("nm -D --undefined-only " KZ_BUILD_DIR "/plugins/kzPython2.so");
    EXPECT_NE(used.find("Py_Finalize"), std::string::npos);
    EXPECT_EQ(used.find("atexit"), std::string::npos) << used.substr(used.find("atexit"), 40);
}

TEST(UnloadTest, GivesUpWhenPythonDoesNotFinishStarting) {
    const CTestFolder folder;
    folder.write("servers/slow.py", "import time; time.sleep(1000)\n");
    kzInChild("a server file that waits", [&] {
        std::atexit(slowExit);
        auto& host = *new CBareHost();
        host.importPaths = {folder.path()};
        ASSERT_TRUE(host.load());
        std::atomic<bool> isStarting = false;
        host.whenCalled = [&](const std::string& operation) { isStarting = isStarting || operation[0] == 'F'; };
        std::thread([&host] {
            pthread_setname_np(pthread_self(), "first user");
            host.run("1");
        }).detach();
        waitFor([&] { return isStarting.load(); });
        std::atomic<KzResult> waiting = kzOk;
        std::thread waiter([&] { waiting = host.run("1"); });
        nap();
        CKzLoc_Unknown late;
        host.spawn(KZu_TEXTSCRIPTINTERPRETER, late);
        const auto begin = std::chrono::steady_clock::now();
        host.module.clear();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 30s);
        waiter.join();
        EXPECT_EQ(waiting, KZe_NOTAVAILABLE);
        EXPECT_EQ(CKzUser_TextScriptInterpreter(late.raw()).Run(&host.self(), 0, "", &host.self()), KZe_NOTAVAILABLE);
        EXPECT_TRUE(host.hasLogged("\"first user\" (starting Python)")) << host.log();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    });
}

TEST(UnloadTest, SaysWhoIsInsideWhenItGivesUp) {
    const CTestFolder folder;
    kzInChild("a script that waits", [&folder] {
        std::atexit(slowExit);
        setenv("KZ_LEAKS", "report", 1);
        setenv("KZ_PROFILE_CALLS", (folder.path() + "/table").c_str(), 1);
        auto& host = *new CBareHost();
        ASSERT_TRUE(host.load());
        host.execute("1");
        std::thread([&host] {
            host.run("import kz.service, time\nlog = kz.service.Log()\nprint 'inside'\ntime.sleep(1000)");
        }).detach();
        waitFor([&] { return host.hasLogged("inside"); });
        keepCalling(host, false);
        host.module.clear();
        for (const char* line :
             {"(a script)", "Python has not ended", "1 kz.service.Log, made in bare.py:2, 1 reference"})
            EXPECT_TRUE(host.hasLogged(line)) << line << host.log().substr(host.log().size() - 900);
        EXPECT_NE(contentsOf(folder.path() + "/table").find("had not returned at the end"), std::string::npos);
    });
}

// Every kind of object of ours, dropped by a daemon thread while the interpreter ends: whatever runs Python code then
// gives it the lock, and it takes the next object from its list. Whoever holds the main thread up there (the host that
// is given a monitor back) does the same.
TEST(UnloadTest, IsProofAgainstWhatOtherThreadsDropMeanwhile) {
    const auto endWith = [](const char* name, const std::string& more) {
        kzInChild(name, [=] {
            kzEndsWithLiveObjects();
            // A daemon thread may be inside the host and never leave it, so what it uses outlives the unloading.
            auto& host = *new CBareHost();
            static std::atomic<int> released;
            ASSERT_TRUE(host.load());
            EXPECT_EQ(host.run(R"(
                import kz, sys, threading, time, __main__
                class Pause(object):
                  def __del__(self, sleep=time.sleep): sleep(0.03)
                def drop(kept, sleep=time.sleep):
                  while kept:
                    kept.pop()
                    sleep(0.002)
                kept = []
                for i in range(40):
                  kept += [kz.Monitor(2), kz.Storage('d', 9), kz.service.Log(), kz.Service('a'),
                           kz.service.Log().SubSystemLookup('a')]
                thread = threading.Thread(target=drop, args=(kept,)); thread.daemon = True)"_lines +
                               more),
                      kzOk)
                << host.log();
            // The end of a script releases its monitors, so these belong to no script.
            host.execute("import kz, __main__; __main__.live = [kz.Monitor() for i in range(20)]");
            host.execute("__main__.kept.extend(__main__.live); del __main__.live[:]; __main__.thread.start()");
            const auto save = reinterpret_cast<void* (*)()>(dlsym(host.library, "PyEval_SaveThread"));
            const auto restore = reinterpret_cast<void (*)(void*)>(dlsym(host.library, "PyEval_RestoreThread"));
            host.whenCalled = [save, restore](const std::string& operation) {
                if (operation != "Dialog.MonitorReleaseObj" || released++ != 0) return;
                void* thread = save();
                nap(60ms);
                restore(thread);
            };
            host.module.clear();
            EXPECT_GE(released, 1);
        });
    };
    endWith("held in __main__", "__main__.kept, __main__.thread, __main__.p = kept, thread, Pause()\n");
    endWith("held in sys", R"(
        __main__.kept, __main__.thread = kept, thread; sys.p = Pause()
        sys.modules['a'] = type(sys)('a'); sys.modules['a'].p = Pause())"_lines);
    endWith("held at exit", R"(
        import atexit; __main__.kept, __main__.thread = kept, thread
        atexit.register(time.sleep, 0.03)
        import codecs; codecs.register(lambda name, late=kept[:5]: None)
        class Local(threading.local): pass
        sys.local = Local(); sys.local.late = kept[5:9])"_lines);
}

TEST(UnloadTest, NeedsNoMemory) {
    if (!CShortMemory::works()) GTEST_SKIP() << "the sanitizer has the allocator";
    for (const bool elsewhere : {false, true})
        kzInChild(elsewhere ? "on another thread" : "on the thread that started", [elsewhere] {
            CBareHost host;
            ASSERT_TRUE(host.load());
            EXPECT_EQ(host.run("import atexit, sys, threading; atexit.register(sys.exit, 3)"), kzOk);
            const auto unload = [&] {
                const CShortMemory none;
                host.module.clear();
            };
            if (elsewhere) std::thread(unload).join();
            else unload();
            EXPECT_EQ(host.references(), 1U);
        });
}
