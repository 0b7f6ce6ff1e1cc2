// Instances of blessed classes as host objects: how they are made, what they answer, how they end.
#include "serving_fixture.h"

#include "kz/action.h"
#include "kz_paths.h"

#include <thread>

namespace {

using InstanceTest = ServingTest;

TEST_F(InstanceTest, EachSpawnMakesAnInstanceOfItsOwn) {
    run("made = []\n"
        "class Two(Command):\n"
        "    def __init__(self): made.append(weakref.ref(self))\n"
        "kz.bless(Two, 'two')\n");
    CKzLoc_Unknown first;
    CKzLoc_Unknown second;
    first.take(spawn("two"));
    second.take(spawn("two"));
    EXPECT_EQ(value("made[0]() is made[1]()"), "False");
    run("kept = made[1]()");
    first.clear();
    second.clear();
    EXPECT_EQ(value("[made[0]() is None, made[1]() is kept]"), "[True, True]");
    run("kept = None");
    EXPECT_EQ(value("made[1]()"), "None");
}

TEST_F(InstanceTest, TheMetaObjectGoesToTheConstructor) {
    run("class WithMeta(Command):\n"
        "    def __init__(self, meta): meta.seen = self.__class__.__name__\n"
        "class WithoutMeta(Command): pass\n"
        "class Meta(object): pass\n"
        "meta = Meta()\n"
        "kz.bless(WithMeta, 'with.meta', None, meta)\n"
        "kz.bless(WithMeta, 'without.meta', {}, None)\n");
    CKzLoc_Unknown made;
    made.take(spawn("with.meta"));
    EXPECT_TRUE(made);
    EXPECT_EQ(value("meta.seen"), "WithMeta");
    EXPECT_EQ(spawn("without.meta"), nullptr);  // the constructor wants an argument
    const TestLog log = told();
    ASSERT_EQ(log.size(), 2U);
    EXPECT_NE(log[0].first.find("TypeError"), std::string::npos);
    EXPECT_EQ(log[1], (TestLog::value_type{"Spawning Python server failed: without.meta", KZe_FAILED}));
}

TEST_F(InstanceTest, ARaisingConstructorFailsTheSpawn) {
    run("class Raising(Command):\n"
        "    def __init__(self): raise error\n"
        "kz.bless(Raising, 'raising')\n");
    for (const char* error :
         {"NotImplementedError()", "LookupError('x')", "SystemExit(3)", "KeyboardInterrupt()", "MemoryError()"}) {
        told();
        run(std::string("error = ") + error);
        IKzUnknown* made = nullptr;
        EXPECT_EQ(server().Generate("raising", &KZu_COMMAND, &made), KZe_FAILED) << error;
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(told().back().first, "Spawning Python server failed: raising");
    }
    IKzUnknown* made = nullptr;
    EXPECT_EQ(server().Generate("raising", &KZu_ACTIONLISTENER, &made), KZe_NOTFOUND);
    EXPECT_EQ(server().Generate("rais", &KZu_COMMAND, &made), KZe_NOTFOUND);
    EXPECT_EQ(server().Generate(nullptr, &KZu_COMMAND, &made), KZe_INVALIDARG);
}

TEST_F(InstanceTest, SubServersAnswerForWhatTheClassLacks) {
    run("class Sub(Others['ActionListener']):\n"
        "    def __init__(self, meta):\n"
        "        meta.made = self\n"
        "        if meta.fail: raise ValueError('no sub')\n"
        "class Outer(Command):\n"
        "    def __init__(self, meta): pass\n"
        "class Meta(object): fail = False\n"
        "subMeta = Meta()\n"
        "outerMeta = Meta()\n"
        "outerMeta._sub_ifcs = ((Outer, outerMeta), [Sub, subMeta])\n"  // one that names itself does no harm
        "kz.bless(Outer, 'outer', None, outerMeta)\n");
    EXPECT_EQ(value("kz.testifc(Outer, '3200DF2C-CB32-5F24-9D7F-789EF98A6941', outerMeta)"), "False");
    CKzLoc_Unknown outer;
    outer.take(spawn("outer"));
    run("subMeta.fail = True");
    EXPECT_FALSE(CKzUser_ActionListener(outer.raw()));
    EXPECT_NE(told().at(0).first.find("no sub"), std::string::npos);
    run("subMeta.fail = False; subMeta.made = None; sys.exc_clear()");
    {
        CKzUser_ActionListener sub(outer.raw());
        ASSERT_TRUE(sub);
        CKzUser_ActionListener again(outer.raw());
        EXPECT_EQ(sub.raw(), again.raw());
        run("alive = weakref.ref(subMeta.made); subMeta.made = None");
    }
    outer.clear();
    EXPECT_EQ(value("alive() is not None"), "True");  // the reference that a sub-object's making gave is kept
}

TEST_F(InstanceTest, InheritsFromAnotherObject) {
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

TEST_F(InstanceTest, AnyInstanceCanBePassedAndFoundAgain) {
    run("class Passed(Command):\n"
        "    def cmd_ArgClear(self, index): self.cleared = index\n"
        "passed = Passed()\n"
        "wrapper = kz.object.Unknown(passed)\n");
    EXPECT_EQ(value("kz.extract(wrapper) is passed"), "True");
    EXPECT_EQ(run("kz.object.Command(wrapper).ArgClear(5)"), "");
    EXPECT_EQ(value("passed.cleared"), "5");
    EXPECT_EQ(value("kz.object.Unknown(object())"), "RuntimeError: Object cannot be converted to interface");
    run("wrapper = passed = None");
}

TEST_F(InstanceTest, GeneratedBaseClassesAnswerForWhatIsLeftOut) {
    run("sys.path.insert(0, '" KZ_BUILD_DIR "/python')\n"
        "import kzifc\n"
        "class Derived(kzifc.Command, kzifc.Attributes):\n"
        "    def cmd_ArgFlags(self, index): return index + 1\n"
        "kz.bless(Derived, 'derived')\n");
    CKzLoc_Unknown made;
    made.take(spawn("derived"));
    const CKzUser_Command derived(made.raw());
    std::uint32_t flags = 0;
    EXPECT_EQ(derived.ArgFlags(6, &flags), KZe_OK);
    EXPECT_EQ(flags, 7U);
    EXPECT_EQ(derived.Flags(&flags), KZe_NOTIMPL);
    EXPECT_EQ(CKzUser_Attributes(made.raw()).Count(), 0U);
    EXPECT_EQ(told(), TestLog());
}

TEST_F(InstanceTest, ReleasedOnAnyThread) {
    run("gone = []\n"
        "class Dying(Command):\n"
        "    def __del__(self): gone.append(1)\n"
        "kz.bless(Dying, 'dying')\n");
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([this] {
            for (int round = 0; round < 50; ++round) {
                CKzLoc_Unknown made;
                made.take(spawn("dying"));
                EXPECT_TRUE(made);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(value("len(gone)"), "400");
}

TEST_F(InstanceTest, OutlivesPython) {
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
