// Entering Python from many threads.
#include "host/core/log_store.h"
#include "tests/support/host_test.h"
#include "tests/support/threads.h"

#include "kz/result.h"

#include <atomic>
#include <thread>

using namespace kzhost;

using ThreadsTest = PluginTest;

TEST_F(ThreadsTest, MayAllEnterFirst) {
    onThreads(8, 1, [&](int index) {
        CTestSession session(host);
        const std::string number = std::to_string(index);
        for (int round = 0; round < 20; ++round)
            EXPECT_EQ(session.run("x" + number + " = " + number + "\nx" + number + " + 1\n"),
                      "= " + std::to_string(index + 1) + "\n");
        EXPECT_EQ(host.run("sum(range(1000))").code, KZe_OK);
    });
    EXPECT_EQ(host.log("python"), "");
}

TEST_F(ThreadsTest, KeepTheStateThatPythonGaveThem) {
    std::thread([&] {
        CTestSession session(host);  // Python starts on a thread that is not the host's main thread
        session.run("import threading, thread\nlocal = threading.local()\nlocal.mine = 1\n");
        EXPECT_EQ(session.run("local.mine\n"), "= 1\n");
    }).join();
    EXPECT_EQ(session.run("getattr(local, 'mine', 'none')\nlocal.mine = 2\n"), "= none\n");
    EXPECT_EQ(session.run("local.mine\n"), "= 2\n");
    EXPECT_EQ(session.run("import sys\nlen(sys._current_frames())\n"), "= 1\n");
}

TEST_F(ThreadsTest, SharePythonWithThreadsOfItsOwn) {
    session.run(R"(
        import threading
        hits = []
        def work():
          for i in xrange(2000): hits.append(i)

        threads = [threading.Thread(target=work) for i in range(4)]
        for t in threads: t.start()
        )"_lines);
    onThreads(4, 1, [&](int) {
        EXPECT_EQ(host.run("import __main__\nfor i in xrange(2000): __main__.hits.append(i)").code, KZe_OK);
    });
    session.run("for t in threads: t.join()\n\n");
    EXPECT_EQ(session.run("type(threading.currentThread()).__name__\n"), "= _MainThread\n");
    EXPECT_EQ(session.run("len(hits)\n"), "= 16000\n");
}

TEST_F(ThreadsTest, OfScriptsEndInAnyOrder) {
    // Two scripts on two host threads: the one that began first ends first.
    host.run("import threading, __builtin__\n__builtin__.e = [threading.Event() for i in range(3)]");
    std::thread first([&] { host.run("print 'a'\ne[0].set()\ne[1].wait(20)\nprint 'a'"); });
    host.run("e[0].wait(20)");
    std::thread second([&] { host.run("print 'b'\ne[1].set()\ne[2].wait(20)\nprint 'b'"); });
    first.join();
    EXPECT_EQ(host.run("print 'c'\ne[2].set()").code, KZe_OK);
    second.join();
    EXPECT_EQ(host.run("print 'd'").code, KZe_OK);
    std::string texts;
    for (const LogLine& line : host.host.log().lines("scripts"))
        if (line.text != "test.py") texts += line.text;
    EXPECT_EQ(texts.size(), 6U) << texts;
}

TEST_F(ThreadsTest, AreTurnedAwayWhilePythonGoes) {
    std::vector<std::unique_ptr<CTestSession>> sessions;
    for (int index = 0; index < 4; ++index) sessions.push_back(std::make_unique<CTestSession>(host));
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (const auto& session : sessions)
        threads.emplace_back([&isOver, &session] {
            while (!isOver) {
                const KzResult code = session->execute("sum(range(100))");
                EXPECT_TRUE(code == KZe_OK || code == KZe_NOTAVAILABLE) << code;
            }
            EXPECT_EQ(session->execute("1"), KZe_NOTAVAILABLE);
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    host.host.unload();
    isOver = true;
    for (std::thread& thread : threads) thread.join();
}
