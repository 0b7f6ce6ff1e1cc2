// Blessed classes as servers: scripts can do and see most of it, and do so in the script beside this file.
#include "serving_fixture.h"
#include "tests/support/threads.h"

#include "kz/action.h"

namespace {

TEST(Serving, IsAsScriptsSeeIt) {
    CPluginHost host;
    host.nothingAlive.isExpected = false;  // what a sub-server keeps
    host.load().check("serve", "serving");
}

TEST_F(ServingTest, WhatTheHostAsksWronglyIsRefused) {
    run("class Textless(object):\n"
        "    def __str__(self): raise MemoryError\n"
        "class Odd(Command): pass\n"
        "kz.bless(Odd, 'odd', {Textless(): 1})\n");
    CKzLoc_Unknown found;
    EXPECT_EQ(server().GetTags("odd", &KZu_COMMAND, found.out()), KZe_FAILED);
    EXPECT_EQ(server().GetTags("odd", &KZu_ACTIONLISTENER, found.out()), KZe_NOTFOUND);
    EXPECT_EQ(server().Generate(nullptr, &KZu_COMMAND, found.out()), KZe_INVALIDARG);
    EXPECT_EQ(command("    def cmd_ArgFlags(self, index): return 1")->ArgFlags(5, nullptr), KZe_INVALIDARG);
    host.host.failOperation("GUID.Global", KZe_NOTFOUND);
    EXPECT_EQ(run("kz.bless(Odd, 'unheard')"), "LookupError: not found");
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
    const auto made = command("    def cmd_ArgFlags(self, index):\n"
                              "        if not index: return 0\n"
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
    run("gone = []\n"
        "class Dying(Command):\n"
        "    def __del__(self): gone.append(1)\n"
        "kz.bless(Dying, 'dying')\n");
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

}  // namespace
