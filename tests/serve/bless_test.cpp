// Blessing classes, testing them for interfaces, and what the host reads of them.
#include "serving_fixture.h"

#include "serve/adapters.h"

#include "kz/action.h"

#include <algorithm>

namespace {

constexpr const char* invalid = "TypeError: invalid argument";
constexpr const char* failed = "RuntimeError: bad result: FAILED";

using BlessTest = ServingTest;

struct Case {
    const char* statement;
    std::string expected;
};

TEST_F(BlessTest, RefusesWhatItCannotServe) {
    run("class Good(Command): pass\n"
        "class Bad(object): pass\n"
        "class Meta(object):\n"
        "    def __init__(self, servers): self._sub_ifcs = servers\n");
    const Case cases[] = {
        {"kz.bless(Good, 'refuse.good')", ""},
        {"kz.bless(Good, 'refuse.good')", failed},
        {"kz.bless(Good, 'refuse.second', None)", ""},
        {"kz.bless(Others['CommandEvent'], ':CommandEvent')", ""},
        {"kz.bless(Good)", "TypeError: function takes at least 2 arguments (1 given)"},
        {"kz.bless(Good, 'x', tags={})", "TypeError: bless() takes no keyword arguments"},
        {"kz.bless(Good(), 'refuse.instance')", failed},
        {"kz.bless(None, 'refuse.none')", failed},
        {"kz.bless(Good, ':Nonsense')", invalid},
        {"kz.bless(Good, ':')", invalid},
        {"kz.bless(Good, ':command')", invalid},
        {"kz.bless(Bad, 'refuse.bad')", invalid},
        {"kz.bless(Command, 'refuse.base')", invalid},  // its own mark does not count, only those of its bases
        {"kz.bless(Good, 'refuse.list', [])", invalid},
        {"kz.bless(Good, 'refuse.meta1', None, Meta([Good]))", failed},
        {"kz.bless(Good, 'refuse.meta2', None, Meta([(Good, None, 1)]))", failed},
        {"kz.bless(Good, 'refuse.meta3', None, Meta(['ab']))", failed},
        {"kz.bless(Good, 'refuse.meta4', None, Meta([(Bad, None)]))", invalid},
        {"kz.bless(Good, 'refuse.meta5', None, Meta(3))", ""},
        {"kz.testifc(Good, 'nonsense')", failed},
        {"kz.testifc(Good(), '7155E51E-C5A4-5C6A-BEF1-BAAEF1DB8E25')", failed},
        {"kz.testifc(Bad, '7155E51E-C5A4-5C6A-BEF1-BAAEF1DB8E25')", invalid},
    };
    host.host.core().calls.count(true);
    for (const auto& [statement, expected] : cases) EXPECT_EQ(run(statement), expected) << statement;
    EXPECT_EQ(host.host.core().calls.countOf("Host.ModuleUpdate"), 3);
    EXPECT_EQ(told(), TestLog());
    host.host.failOperation("GUID.Global", KZe_NOTFOUND);
    EXPECT_EQ(run("kz.bless(Good, 'refuse.unheard')"), "LookupError: not found");
    host.host.core().calls.heal();
}

TEST_F(BlessTest, WalksTheBasesDepthFirst) {
    run("class Marked(Others['Attributes']): pass\n"
        "kz.bless(Marked, ':ActionListener')\n"
        "class Plain(object): pass\n"
        "class Old: pass\n"
        "class Middle(Plain, Command, Old): pass\n"
        "class Both(Middle, Marked): pass\n"
        "kz.bless(Both, 'walk.both')\n");
    CKzLoc_Unknown both;
    both.take(spawn("walk.both"));
    ASSERT_TRUE(both);
    EXPECT_TRUE(CKzUser_Command(both.raw()));
    EXPECT_TRUE(CKzUser_ActionListener(both.raw()));
    EXPECT_FALSE(CKzUser_Attributes(both.raw()));  // a marked base ends its branch
    EXPECT_EQ(value("[kz.testifc(Both, guid) for guid in ('7155E51E-C5A4-5C6A-BEF1-BAAEF1DB8E25', "
                    "'3200DF2C-CB32-5F24-9D7F-789EF98A6941')]"),
              "[True, False]");
}

TEST_F(BlessTest, SurvivesHostileShapes) {
    EXPECT_EQ(run("deep = Command\n"
                  "for index in range(1200): deep = type('Deep', (deep,), {})\n"),
              "");
    EXPECT_NE(value("kz.bless(deep, 'hostile.deep')").find("recursion"), std::string::npos);
    EXPECT_EQ(run("class Endless(object):\n"
                  "    @property\n"
                  "    def _sub_ifcs(self): return [(Deep1, Endless())]\n"
                  "class Deep1(Command): pass\n"),
              "");
    EXPECT_NE(value("kz.bless(Deep1, 'hostile.endless', {}, Endless())").find("recursion"), std::string::npos);
    EXPECT_EQ(run("class Shrinking(object):\n"
                  "    def __len__(self): return 5\n"
                  "    def __getitem__(self, index): raise KeyboardInterrupt\n"
                  "class ShrinkingMeta(object): _sub_ifcs = Shrinking()\n"
                  "kz.bless(Deep1, 'hostile.shrinking', {}, ShrinkingMeta())"),
              "KeyboardInterrupt: ");
    run("deep = None; gc.collect()");
}

TEST_F(BlessTest, MayOnlyBeCalledFromTheFirstThread) {
    EXPECT_EQ(run("import threading\n"
                  "class Threaded(Command): pass\n"
                  "def work():\n"
                  "    global caught\n"
                  "    try: kz.bless(Threaded, 'threaded')\n"
                  "    except RuntimeError as e: caught = str(e)\n"
                  "thread = threading.Thread(target=work); thread.start(); thread.join()\n"),
              "");
    EXPECT_EQ(value("caught"), "bad result: FAILED");
}

TEST_F(BlessTest, ListsServersInTheOrderOfBlessing) {
    CKzUser_TagDescription list(&server());
    const std::uint32_t before = list.Count();
    run("class Listed(Command): pass\n"
        "class Listener(Others['ActionListener']): pass\n"
        "kz.bless(Listed, 'listed'); kz.bless(Listener, 'listed'); kz.bless(Listed, 'listed.z')\n");
    const std::pair<const char*, KzGuid> expected[] = {
        {"listed", KZu_COMMAND}, {"listed", KZu_ACTIONLISTENER}, {"listed.z", KZu_COMMAND}};
    ASSERT_EQ(list.Count(), before + 3);
    for (std::uint32_t index = 0; index < 3; ++index) {
        KzTagRecord record{};
        ASSERT_EQ(list.Describe(before + index, &record), KZe_OK);
        EXPECT_STREQ(record.type, "server");
        EXPECT_STREQ(record.tag, expected[index].first);
        EXPECT_EQ(*record.info, expected[index].second);
    }
    KzTagRecord none{};
    EXPECT_EQ(list.Describe(before + 3, &none), KZe_OUTOFBOUNDS);
}

TEST_F(BlessTest, HandsOutTags) {
    run("class Tagged(Command): pass\n"
        "class Textless(object):\n"
        "    def __str__(self): raise MemoryError\n"
        "class Growing(object):\n"
        "    def __str__(self):\n"
        "        for index in range(100): tags[index] = index\n"
        "        return 'growing'\n"
        "tags = {'a': 1, 'name': None}\n"
        "kz.bless(Tagged, 'tagged', tags); kz.bless(Tagged, 'tagged.none'); kz.bless(Tagged, 'tagged.bad', "
        "{Textless(): 1})\n");
    const auto tagsOf = [this](const char* name, const KzGuid& iid, std::vector<std::string>& pairs) {
        CKzLoc_Unknown found;
        pairs.clear();
        const KzResult code = server().GetTags(name, &iid, found.out());
        CKzUser_TagDescription tags(found.raw());
        KzTagRecord record{};
        for (std::uint32_t index = 0; kzSucceeded(tags.Describe(index, &record)); ++index)
            pairs.push_back(std::string(record.type) + "=" + record.tag);
        EXPECT_EQ(pairs.size(), tags.Count());
        std::ranges::sort(pairs);
        return code;
    };
    std::vector<std::string> pairs;
    EXPECT_EQ(tagsOf("tagged", KZu_COMMAND, pairs), KZe_OK);
    EXPECT_EQ(pairs, (std::vector<std::string>{"a=1", "name=None"}));
    run("tags['later'] = Growing()");  // the dictionary is kept as it is, not copied
    EXPECT_EQ(tagsOf("tagged", KZu_COMMAND, pairs), KZe_OK);
    EXPECT_EQ(pairs, (std::vector<std::string>{"a=1", "later=growing", "name=None"}));
    EXPECT_EQ(tagsOf("tagged.none", KZu_COMMAND, pairs), KZe_OK);
    EXPECT_TRUE(pairs.empty());
    EXPECT_EQ(tagsOf("tagged.bad", KZu_COMMAND, pairs), KZe_FAILED);
    EXPECT_EQ(tagsOf("tagged", KZu_ACTIONLISTENER, pairs), KZe_NOTFOUND);
    EXPECT_EQ(tagsOf("nobody", KZu_COMMAND, pairs), KZe_NOTFOUND);
}

}  // namespace
