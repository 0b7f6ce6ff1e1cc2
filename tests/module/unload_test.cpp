// Unload: the process survives whatever Python code has left behind.
#include "host/core/scripts.h"
#include "host/state/path_aliases.h"
#include "tests/support/child.h"
#include "tests/support/host_test.h"

#include "kz/result.h"

#include <chrono>
#include <thread>

using namespace kzhost;

using UnloadTest = PluginTest;

TEST(UnloadInAChildTest, SurvivesWhatScriptsLeaveBehind) {
    const std::pair<const char*, std::string> table[] = {
        {"an exit handler that leaves", "import atexit, sys; atexit.register(sys.exit, 3)"},
        {"an exit function that leaves", "import sys\ndef f(): raise SystemExit(3)\nsys.exitfunc = f"},
        {"an exit handler that fails", "import atexit; atexit.register(int, 'x')"},
        {"a daemon thread", R"(
            import threading, time
            def f():
              while True: time.sleep(0.001)
            t = threading.Thread(target=f); t.daemon = True; t.start())"_lines},
        {"a busy daemon thread",
         "import threading\ndef f():\n  while True: pass\nt = threading.Thread(target=f)\nt.daemon = True\nt.start()"},
        {"a raw thread", "import thread, time; thread.start_new_thread(time.sleep, (60,))"},
        {"an object that prints when it goes", R"(
            import __main__
            class D(object):
              def __del__(self): import sys; sys.stdout.write('gone')
            __main__.d = D())"_lines},
        {"wrappers",
         "import kz, __main__; __main__.kept = [kz.service.Log(), kz.object.Unknown(), kz.Service('hostservice')]"},
        {"a host that calls back late", R"(
            import kz, sys
            class D(object):
              def __init__(self, log): self.log = log
              def __del__(self): self.log.CreateEntry(1, 'late')
            sys.kept = D(kz.service.Log()))"_lines},
        {"an object that has its thread's state asked for", R"(
            import ctypes, sys
            class D(object):
              def __del__(self, call=ctypes.PYFUNCTYPE(None)(int)): call()
            sys.kept = D())"_lines},
        {"no modules", "import sys; sys.modules.clear()"},
        {"no streams", "import sys; del sys.stdout, sys.stderr, sys.__stdout__, sys.__stderr__"}};
    for (const bool elsewhere : {false, true}) {
        SCOPED_TRACE(elsewhere ? "unloaded on another thread" : "unloaded on the same thread");
        for (const auto& [name, script] : table)
            kzInChild(name, [elsewhere, script = script] {
                CPluginHost host;
                CTestSession session(host.load());
                host.run(script);
                if (elsewhere) std::thread([&] { host.host.unload(); }).join();
                else host.host.unload();
                EXPECT_EQ(session.execute("1"), KZe_NOTAVAILABLE);
                host.clearLog();
            });
    }
}

TEST_F(UnloadTest, PassesOnWhatIsPrintedLast) {
    host.run(R"(
        import atexit, threading, time
        def f(): print 'exit'
        atexit.register(f)
        def late(): time.sleep(0.1); print 'thread'
        threading.Thread(target=late).start()
        print 'half',)"_lines);
    host.host.unload();
    EXPECT_EQ(host.log("scripts"), "test.py\n  half\n");
    // The print statement writes the blank, because text that is shown as it is written reads "half thread".
    EXPECT_EQ(host.log("python"), " thread\nexit\n");
}

TEST(UnloadOfAnIdleHostTest, IsForGood) {
    CPluginHost host;
    host.load().host.unload();  // nothing ran, nothing is started
    std::string why;
    EXPECT_FALSE(CKzHost().load(host.host.files().expand("module:kzPython2.so").value_or(""), why));
}

TEST_F(UnloadTest, LetsServersOutlivePython) {
    CKzLoc_Unknown scripts;
    host.spawn(KZa_TEXTSCRIPTINTERPRETER, scripts);
    EXPECT_EQ(session.run("if 1:\n"), "");
    host.host.unload();
    const CKzUser_TextScriptInterpreter interpreter(scripts.raw());
    EXPECT_EQ(interpreter->ValidateHeader("python"), KZe_OK);
    EXPECT_EQ(interpreter->Run(CHostRef<CScript>::make("late.py", "1").raw(), 0, "", nullptr), KZe_NOTAVAILABLE);
    EXPECT_EQ(session.prompt(), "... ");
    EXPECT_EQ(session.execute("  1"), KZe_NOTAVAILABLE);
}

TEST_F(UnloadTest, FromWithinAScriptIsSurvived) {
    host.nothingAlive.isExpected = false;  // what the script was using
    const auto begin = std::chrono::steady_clock::now();
    session.console->whenTold = [&] { host.host.unload(); };
    EXPECT_EQ(session.run("print 'before'; print 'after'\n"), "before\nafter\n");
    session.console->whenTold = nullptr;
    EXPECT_EQ(session.execute("1"), KZe_NOTAVAILABLE);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}
