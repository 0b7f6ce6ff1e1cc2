// Blessed classes as servers. Scripts can check most of this, in the file beside this one.
#include "serving_fixture.h"
#include "tests/support/child.h"
#include "tests/support/threads.h"

#include "kz/action.h"
#include "kz/command.h"
#include "kz/host.h"

namespace {

TEST(ServingScriptTest, IsAsScriptsSeeIt) {
    CPluginHost host;
    host.nothingAlive.isExpected = false;  // what a sub-server keeps
    host.load().check("serve", "serving");
}

TEST_F(ServingTest, WhatTheHostAsksWronglyIsRefused) {
    run(R"(
        class Textless(object):
            def __str__(self): raise MemoryError
        class Odd(Command): pass
        kz.bless(Odd, 'odd', {Textless(): 1}))"_lines);
    CKzLoc_Unknown found;
    EXPECT_EQ(server().GetTags("odd", &KZu_COMMAND, found.out()), KZe_FAILED);
    EXPECT_EQ(server().GetTags("odd", &KZu_ACTIONLISTENER, found.out()), KZe_NOTFOUND);
    EXPECT_EQ(server().Generate(nullptr, &KZu_COMMAND, found.out()), KZe_INVALIDARG);
    EXPECT_EQ(command("    def cmd_ArgFlags(self, index): return 1")->ArgFlags(5, nullptr), KZe_INVALIDARG);
    host.host.failOperation("GUID.Global", KZe_NOTFOUND, 1);
    EXPECT_EQ(run("kz.bless(Odd, 'unheard')"), "LookupError: not found");
    EXPECT_EQ(told().back().first, "kz.bless of \"unheard\": the host does not know the interface Command");
    host.host.failOperation("Host.ModuleUpdate", KZe_NOTREADY);
    EXPECT_EQ(run("kz.bless(Odd, 'unread')"), "");
    EXPECT_EQ(told().back().first, "kz.bless of \"unread\": the host did not read the list of servers again, and may "
                                   "not offer this one: NOTREADY");
    host.application.own = [](const KzGuid& iid, void** /*object*/) {
        return iid == KZu_HOSTSERVICE ? KZe_NOINTERFACE : KZe_NOTFOUND;
    };
    EXPECT_EQ(run("kz.bless(Odd, 'unreadable')"), "");
    EXPECT_TRUE(told().back().first.ends_with("may not offer this one: it has no host service"));
    host.application.own = nullptr;
}

TEST_F(ServingTest, InheritsFromAnotherObject) {
    const CKzUser_Command heir = command("    def inherit(self, other): self.cmd_ArgClear = other.cmd_ArgClear");
    run("heirName = blessedName");
    CKzUser_Command other = command("    def cmd_ArgClear(self, index): raise IndexError");
    CKzUser_Inheritor ask(heir.raw());
    ASSERT_TRUE(ask);
    EXPECT_EQ(ask.Inherit(other.raw()), KZe_OK);
    EXPECT_EQ(heir.ArgClear(0), KZe_OUTOFBOUNDS);
    EXPECT_EQ(ask.Inherit(nullptr), KZe_INVALIDARG);
    EXPECT_EQ(CKzUser_Inheritor(other.raw()).Inherit(heir.raw()), KZe_OK);  // without the attribute: left alone
    EXPECT_EQ(value("kz.testifc(Blessed, '8D56574E-7E0C-50D8-A8B4-F316A385BCC7')"), "False");
    run("sys.exc_clear()");
}

TEST_F(ServingTest, EightDeepAndOnEightThreads) {
    const auto made = command("    def cmd_ArgFlags(self, index):\n        if not index: return 0\n"
                              "        return kz.object.Command(self).ArgFlags(index - 1) + 1");
    onThreads(8, 100, [&](int) {
        std::uint32_t flags = 0;
        EXPECT_EQ(made->ArgFlags(8, &flags), KZe_OK);
        EXPECT_EQ(flags, 8U);
    });
    std::uint32_t flags = 0;
    EXPECT_EQ(made->ArgFlags(100000, &flags), KZe_FAILED);  // Python's own limit ends it
}

TEST_F(ServingTest, ReleasedOnAnyThread) {
    run("gone = []\nclass Dying(Command):\n    def __del__(self): gone.append(1)\nkz.bless(Dying, 'dying')\n");
    onThreads(8, 50, [this](int) {
        CKzLoc_Unknown made;
        made.take(spawn("dying"));
        EXPECT_TRUE(made);
    });
    EXPECT_EQ(value("len(gone)"), "400");
}

TEST_F(ServingTest, OutlivesPython) {
    auto held = command("    def cmd_ArgClear(self, index): pass");
    CKzUser_Inheritor inheritor(held.raw());
    EXPECT_EQ(held.ArgClear(1), KZe_OK);
    run("it = None");
    unload();
    EXPECT_EQ(held.ArgClear(1), KZe_NOTAVAILABLE);
    CKzUser_ActionListener none(held.raw());
    EXPECT_FALSE(none);
    EXPECT_EQ(inheritor.Inherit(held.raw()), KZe_NOTAVAILABLE);
    std::thread([&] { EXPECT_EQ(held.ArgClear(1), KZe_NOTAVAILABLE); }).join();
    inheritor.clear();
    held.clear();
}

// The report about instances that are never freed, at the end of the interpreter.
TEST(LeftoversTest, AreNamedByClass) {
    struct Left {
        const char *body, *made, *said;
    };
    const Left cases[] = {
        {"def __init__(self): self.me = kz.object.Unknown(self)", "kept = [A(), A()]; del kept", "__main__.A (2)"},
        {"def __init__(self): self.deep = [{1: (self.reach, kz.object.Unknown(self))}]\n    def reach(self): pass",
         "A()", "__main__.A (1)"},
        {"pass", "a, b = A(), B(); a.to, b.to = kz.object.Unknown(b), kz.object.Unknown(a); del a, b",
         "__main__.A (1), __main__.B (1)"},
        {"pass", "a = A(); a.to = kzu.object.Value(a); a.to.set(a); del a", "__main__.A (1)"},
        // Referenced from elsewhere and freed later, or kept on purpose.
        {"def __init__(self): self.me = kz.object.Unknown(self)", "a = sys.kept = A()", ""},
        {"def __init__(self): self.me = kz.object.Unknown(self)", "B.kept = a = A()", ""},
        {"pass", "sys.kept = kz.object.Unknown(A())", ""},
        {"def cmd_Message(self): self.me = kz.object.Unknown(self); return self",
         "try: kz.object.Command(A()).Message()\nexcept TypeError: pass\nsys.exc_clear()", ""},
        {"pass",
         "B._sub_ifcs = [(A, None)]; kz.bless(B, 'b', None, B); B.__init__ = lambda self, meta: None; "
         "sys.kept = kz.service.Host().SpawnServer('actionlistener', 'b'); kz.object.Command(sys.kept)",
         ""}};
    for (const auto& each : cases)
        kzInChild(each.made, [&each] {
            CPluginHost host;
            host.nothingAlive.isExpected = false;
            host.load();
            const ScriptEnd end =
                host.run("import kz, kzifc, kzu.object, sys\nclass A(kzifc.Command, kzifc.Value):\n    " +
                         std::string(each.body) + "\nclass B(kzifc.ActionListener): pass\n" + each.made);
            EXPECT_EQ(end.code, 0U) << end.message << host.log("scripts");
            host.clearLog();
            host.host.unload();
            const std::string said = host.log("python");
            EXPECT_EQ(said.substr(said.rfind(": ") + 1),
                      each.said[0] != '\0' ? std::string(" ") + each.said + "\n" : "");
        });
}

}  // namespace
