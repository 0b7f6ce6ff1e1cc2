// kzhost validate: the faults that it finds, and the level at which it does.
#include "tests/support/kzhost_run.h"

#include <nlohmann/json.hpp>

#include <regex>
#include <set>
#include <sstream>

namespace {

constexpr const char* planted = KZ_SOURCE_DIR "/tests/pyserv/planted.py";

// What some of the findings say.
const std::map<std::string, std::string> texts = {
    {"L2-Curve.curve_Position-raises", "has no len(), called with 0.5"},
    {"L3-Command.cmd_Execute-raises", R"(called with \"L3-Command.cmd_Execute-raises size:{1}\")"},
    {"L4-Curve.curve_Degree-slow", "planted.py:153 in <lambda>"},
    {"L5-Command.cmd_Execute-hang", "has not returned after 2 s, called with size:1 step:0"},
    {"L7-Curve.curve_Degree-hang", "has not returned after 8 s while 4 threads called it"},
    {"L9-Curve.curve_Degree-leak", "the list kzserv.servers.planted.kept grows by 1 with each call"},
};

class ValidateTest : public KzHostTest {
protected:
    ValidateTest() { ignoreLeaks(); }
    // What was found, each as "LEVEL-METHOD-KIND", by server.
    std::map<std::string, std::multiset<std::string>> validate(const std::string& only,
                                                               const std::string& level) const {
        std::map<std::string, std::multiset<std::string>> found;
        const Ended ended = run({"validate", planted, "--only", only, "--level", level, "--json", "--rounds", "60",
                                 "--limit", "2", "--slow", "0.5"});
        std::istringstream stream(ended.out);
        for (std::string line; std::getline(stream, line);) {
            const auto row = nlohmann::json::parse(line);
            found[row["server"]].insert("L" + std::to_string(row["level"].get<int>()) + "-" +
                                        row["label"].get<std::string>() + "-" + row["code"].get<std::string>());
            EXPECT_GE(row["line"].get<int>(), 1) << line;
            if (const auto text = texts.find(row["server"]); text != texts.end()) {
                EXPECT_NE(line.find(text->second), std::string::npos) << line;
            }
        }
        EXPECT_EQ(ended.status, found.empty() ? 0 : 1) << ended.error;
        return found;
    }
};

// Each server of the file is called after its only fault and the level that promises it. A fault that a lower level
// finds has that level in its finding.
TEST_F(ValidateTest, EveryFaultIsFoundAtItsLevelAndNothingElse) {
    const std::string text = contentsOf(planted);
    const std::regex name("'(L(\\d+)-[^']+)'");
    std::map<std::string, std::map<std::string, std::multiset<std::string>>> expected;
    for (std::sregex_iterator at(text.begin(), text.end(), name), end; at != end; ++at)
        expected[(*at)[2]][(*at)[1]].insert((*at)[1]);
    ASSERT_EQ(expected.size(), 10U);
    for (const auto& [level, servers] : expected)
        EXPECT_TRUE(std::stoi(level) > std::stoi(highestLevel) || validate("L" + level + "-", level) == servers)
            << level;
    EXPECT_TRUE(validate("clean", highestLevel).empty());
}

// A server that answers as the description says is clean, of whatever kind it is.
TEST_F(ValidateTest, WhatAnswersAsDescribedIsClean) {
    const std::string file = write("kinds.py", R"(
import kz, kzifc
from kzvalidate import arguments, shapes
def well(method):
    return lambda self, *given: arguments.answer(method)
for kind in kzifc.__all__[::5]:
    kz.bless(type(kind, (getattr(kzifc, kind),), dict((each.name, well(each)) for each in shapes.methods(kind))), kind)
)");
    expect(run({"validate", file}), 0, "41 servers, level 5, seed 1: nothing found\n");
}

TEST_F(ValidateTest, TheExamplesPassAtEveryLevel) {
    importPaths.emplace_back(KZ_SOURCE_DIR "/examples/palette");
    std::vector<std::string> words = {"validate", "--level", highestLevel, "--rounds", "120"};
    for (const char* folder : {"/examples/servers", "/examples/palette/servers"})
        for (const auto& entry : std::filesystem::directory_iterator(KZ_SOURCE_DIR + std::string(folder)))
            if (entry.path().extension() == ".py") words.push_back(entry.path().string());
    ASSERT_GE(words.size(), 14U);
    const Ended ended = run(words);
    EXPECT_EQ(ended.status, 0);
    EXPECT_TRUE(ended.out.ends_with(std::string("servers, level ") + highestLevel + ", seed 1: nothing found\n"))
        << ended.out;
}

TEST_F(ValidateTest, WrongCommandLinesAreRefusedAndABrokenFileIsAFinding) {
    serve("named.py",
          "import kz, kzifc\nclass A(kzifc.Visitor):\n    def vis_Evaluate(self): pass\nkz.bless(A, 'named')\n");
    expect(run({"validate", "nmaed"}), 2, "", {"no server \"nmaed\"; did you mean \"named\"?"});
    expect(run({"validate", path("servers")}), 2, "", {"servers is a folder; name the files in it"});
    expect(run({"validate", "named", "--level", "11"}), 2, "", {"--level: Value 11 not in range 1 to 10"});
    expect(run({"validate", "named", "--level", "2"}), 0, "1 server, level 2, seed 1: nothing found\n");
    expect(run({"validate", "named", "--only", "x"}), 2, "", {"named: there is no server with \"x\" in its name"});
    expect(run({"-c", "import sys; from kzvalidate import __main__ as validate; validate.EVERY = 0; "
                      "sys.exit(validate.main(['" +
                          write("slow.py", "import kz, kzifc\nclass A(kzifc.Visitor): pass\nkz.bless(A, 'slow')\n") +
                          "', '--level=1']))"}),
           0, "1 server, level 1, seed 1: nothing found\n", {"kzhost: slow: level 1, after "});
    const Ended broken = run({"validate", write("broken.py", "import kz\n1/0\n")});
    EXPECT_EQ(broken.status, 1);
    EXPECT_NE(broken.out.find("broken.py:2: error: level 1: import of "), std::string::npos) << broken.out;
}

}  // namespace
