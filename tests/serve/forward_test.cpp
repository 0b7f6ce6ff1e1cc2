// Calls of the host as they arrive in Python, and what comes back.
#include "serving_fixture.h"

#include "kz/command.h"

#include <thread>

namespace {

using ForwardTest = ServingTest;

struct Case {
    const char* body;  // of cmd_ArgFlags, or statements that define it otherwise
    KzResult code;
    std::uint32_t flags;  // 77 when nothing is stored
    std::size_t entries;  // in the log
};

TEST_F(ForwardTest, IntegersAndFailures) {
    constexpr std::uint32_t untouched = 77;
    const Case cases[] = {
        {"def cmd_ArgFlags(self, index): return index + 1", KZe_OK, 6, 0},
        {"def cmd_ArgFlags(self, index): return 3.9", KZe_OK, 3, 0},
        {"def cmd_ArgFlags(self, index): return True", KZe_OK, 1, 0},
        {"def cmd_ArgFlags(self, index): return -1", KZe_OK, 0xFFFFFFFF, 0},
        {"def cmd_ArgFlags(self, index): return 0xFFFFFFFFL", KZe_OK, 0xFFFFFFFF, 0},
        {"def cmd_ArgFlags(self, index): return 1 << 70", KZe_FAILED, untouched, 1},
        {"def cmd_ArgFlags(self, index): return None", KZe_FAILED, untouched, 1},
        {"def cmd_ArgFlags(self, index): return '5'", KZe_FAILED, untouched, 1},
        {"def cmd_ArgFlags(self, index): return kz.throw(0x80000017)", KZe_NOTFOUND, untouched, 2},
        {"def cmd_ArgFlags(self, index): return kz.throw(0x80000017, 1)", KZe_NOTFOUND, untouched, 0},
        {"def cmd_ArgFlags(self, index): kz.notimpl()", KZe_NOTIMPL, untouched, 0},
        {"def cmd_ArgFlags(self, index): kz.throw(0x84800004)", KZe_CMD_DISABLED, untouched, 0},
        {"def cmd_ArgFlags(self, index): raise RuntimeError('bad result: OK')", KZe_FAILED, untouched, 0},
        {"def cmd_ArgFlags(self, index): raise RuntimeError('bad result: DISABLED')", KZe_DISABLED, untouched, 0},
        {"def cmd_ArgFlags(self, index): raise SystemExit(0)", KZe_FAILED, untouched, 2},
        {"def cmd_ArgFlags(self, index): raise KeyboardInterrupt", KZe_FAILED, untouched, 2},
        {"def cmd_ArgFlags(self, index): raise MemoryError", KZe_OUTOFMEMORY, untouched, 2},
        {"def cmd_ArgFlags(self, index): raise KeyError", KZe_NOTFOUND, untouched, 2},
        {"def cmd_ArgFlags(self, index): raise TypeError('no interface')", KZe_NOINTERFACE, untouched, 2},
        {"pass", KZe_FAILED, untouched, 1},  // no such method: an AttributeError without a frame
        {"cmd_ArgFlags = 3", KZe_FAILED, untouched, 1},
        {"def cmd_ArgFlags(self): return 1", KZe_FAILED, untouched, 1},
        {"def cmd_ArgFlags(self, index):\n        yield 1", KZe_FAILED, untouched, 1},
    };
    for (const Case& one : cases) {
        const auto made = command(std::string("    ") + one.body);
        told();
        std::uint32_t flags = untouched;
        EXPECT_EQ(made->ArgFlags(5, &flags), one.code) << one.body;
        EXPECT_EQ(flags, one.flags) << one.body;
        EXPECT_EQ(told().size(), one.entries) << one.body;
    }
    const auto made = command("    def cmd_ArgFlags(self, index): return 1");
    EXPECT_EQ(made->ArgFlags(5, nullptr), KZe_OK);
}

TEST_F(ForwardTest, FindsMethodsAsPythonDoes) {
    const std::pair<const char*, std::uint32_t> cases[] = {
        {"def cmd_ArgFlags(self, index, more=7): return index + more", 12},
        {"def cmd_ArgFlags(self, *args, **named): return len(args) + len(named)", 1},
        {"cmd_ArgFlags = staticmethod(lambda index: index * 2)", 10},
        {"cmd_ArgFlags = classmethod(lambda cls, index: index * 3)", 15},
        {"cmd_ArgFlags = property(lambda self: lambda index: index * 4)", 20},
        {"def __init__(self): self.cmd_ArgFlags = lambda index: index * 5\n"
         "    def cmd_ArgFlags(self, index): return 0",
         25},
        {"def __getattr__(self, name): return lambda index: index * 6", 30},
        {"def __getattribute__(self, name): return lambda index: index * 7\n"
         "    def cmd_ArgFlags(self, index): return 0",
         35},
        {"__slots__ = ()\n    def cmd_ArgFlags(self, index): return index * 8", 40},
        {"class Callable(object):\n        def __call__(self, index): return index * 9\n"
         "    cmd_ArgFlags = Callable()",
         45},
        {"cmd_ArgFlags = int", 5},
        {"def cmd_ArgFlags(self, index):\n"
         "        del Blessed.cmd_ArgFlags; gc.collect()\n        return index * 10",
         50},
        {"def cmd_ArgFlags(self, index):\n        def inner(): return index * 11\n        return inner()", 55},
        {"class Other:\n        def cmd_ArgFlags(self, index): return index * 12\n"
         "    def __new__(cls): return cls.Other()",
         60},
        {"def make(factor): return lambda self, index: index * factor\n    cmd_ArgFlags = make(13)", 65},
    };
    for (const auto& [body, expected] : cases) {
        const auto made = command(std::string("    ") + body);
        std::uint32_t flags = 0;
        EXPECT_EQ(made->ArgFlags(5, &flags), KZe_OK) << body;
        EXPECT_EQ(flags, expected) << body;
    }
}

TEST_F(ForwardTest, StringsAreTheObjectsOwn) {
    const auto made = command("    def cmd_Name(self): return text");
    const std::pair<const char*, const char*> cases[] = {{"None", nullptr},    {"''", ""},
                                                         {"'plain'", "plain"}, {"u'wide'", "wide"},
                                                         {"'a\\0b'", "a"},     {"str(12345) * 2", "1234512345"}};
    for (const auto& [text, expected] : cases) {
        run(std::string("text = ") + text);
        const char* name = "untouched";
        EXPECT_EQ(made->Name(&name), KZe_OK) << text;
        run("text = None; gc.collect()");  // the returned object stays
        EXPECT_STREQ(name, expected);
    }
    for (const char* text : {"5", "u'\\xe9'", "['a']"}) {
        run(std::string("text = ") + text);
        const char* name = "untouched";
        told();
        EXPECT_EQ(made->Name(&name), KZe_FAILED) << text;
        EXPECT_STREQ(name, "untouched");
        EXPECT_EQ(told(), (TestLog{{"lost C++ exception", KZe_FAILED}})) << text;
    }
}

TEST_F(ForwardTest, ObjectsGoInWrappedAndComeBackAsInterfaces) {
    const auto made =
        command("    def cmd_Enable(self, message): self.seen = type(message).__name__, kz.extract(message) is self\n"
                "    def cmd_Message(self): return back\n"
                "    def cmd_IconImage(self, width, height): return self\n"
                "    def cmd_Name(self): return str(self.seen)");
    EXPECT_EQ(made->Enable(made.raw()), KZe_OK);
    const char* seen = nullptr;
    made->Name(&seen);
    EXPECT_STREQ(seen, "('Unknown', True)");
    told();
    EXPECT_EQ(made->Enable(nullptr), KZe_FAILED);
    CKzLoc_Unknown out;
    EXPECT_EQ(made->IconImage(1, 2, out.out()), KZe_OK);
    EXPECT_TRUE(CKzUser_Command(out.raw()));
    for (const char* back : {"None", "0", "object()", "5", "kz.object.Command()", "'text'"}) {
        run(std::string("back = ") + back);
        out.clear();
        EXPECT_EQ(made->Message(out.out()), KZe_NOTFOUND) << back;
        EXPECT_FALSE(out);
    }
    run("back = None");
}

TEST_F(ForwardTest, ValuesAreZeroUnlessReturned) {
    struct {
        const char* body;
        std::uint32_t expected;
        std::size_t entries;
    } cases[] = {{"return 9", 9, 0},    {"raise ValueError", 0, 0}, {"return 'x'", 0, 1},     {"return None", 0, 1},
                 {"kz.throw(1)", 0, 0}, {"return Hostile()", 0, 1}, {"return Nested()", 4, 0}};
    run("class Hostile(object):\n    def __int__(self): raise SystemExit\n"
        "class Nested(object):\n    def __int__(self): return 4L\n");
    for (const auto& one : cases) {
        run(std::string("class Counted(Others['Attributes']):\n    def attr_Count(self): ") + one.body + "\n");
        CKzLoc_Unknown object;
        {
            const CPyLock lock;
            const std::string pointer = value("kz.object.Attributes(Counted()).__peekobj__() and 0");
            EXPECT_EQ(pointer, "0");
        }
        told();
        EXPECT_EQ(value("kz.object.Attributes(Counted()).Count()"), std::to_string(one.expected)) << one.body;
        EXPECT_EQ(told().size(), one.entries) << one.body;
    }
}

TEST_F(ForwardTest, AnExceptionUnderWayIsKept) {
    run("class Noisy(Command):\n"
        "    def cmd_ArgClear(self, index): raise IndexError\n"
        "class Caller(object):\n"
        "    def __init__(self): self.command = kz.object.Command(Noisy())\n"
        "    def __del__(self):\n"
        "        try: self.command.ArgClear(1)\n"
        "        except IndexError: pass\n");
    EXPECT_EQ(run("def work():\n    caller = Caller()\n    raise KeyError('mine')\nwork()"), "KeyError: 'mine'");
    run("sys.exc_clear()");
}

TEST_F(ForwardTest, EightDeepAndOnEightThreads) {
    const auto made = command("    def cmd_ArgFlags(self, index):\n"
                              "        if not index: return 0\n"
                              "        return kz.object.Command(self).ArgFlags(index - 1) + 1");
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                std::uint32_t flags = 0;
                EXPECT_EQ(made->ArgFlags(8, &flags), KZe_OK);
                EXPECT_EQ(flags, 8U);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::uint32_t flags = 0;
    EXPECT_EQ(made->ArgFlags(100000, &flags), KZe_FAILED);  // Python's own limit ends it
}

}  // namespace
