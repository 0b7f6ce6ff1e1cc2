// Recordings: a script that is played gives the same output without the host's answers, and every difference is told.
#include "tests/support/kzhost_run.h"

#include <fstream>
#include <regex>

namespace {

class RecordingTest : public KzHostTest {
protected:
    RecordingTest() {
        std::filesystem::create_directory_symlink(KZ_SOURCE_DIR "/examples", path("examples"));
        std::filesystem::create_directories(path("made"));
        importPaths = {KZ_SOURCE_DIR "/examples", KZ_SOURCE_DIR "/examples/palette"};
    }

    // Records a run and plays it: both end alike. Without what the script has written for itself meanwhile.
    void expectReplay(std::vector<std::string> words, bool isDeterministic = true) {
        SCOPED_TRACE(words.front());
        std::vector<std::string> replay = {"replay", path("it.rec"), words.front()};
        words.insert(words.begin(), {"--record", path("it.rec"), "run"});
        const Ended recorded = run(words);
        std::filesystem::remove_all(path("made"));
        std::filesystem::create_directories(path("made"));
        const Ended replayed = run(replay);
        EXPECT_EQ(replayed.status, recorded.status);
        EXPECT_EQ(replayed.out, recorded.out);
        EXPECT_TRUE(!isDeterministic || replayed.error == recorded.error) << replayed.error << "and not\n"
                                                                          << recorded.error;
        EXPECT_FALSE(contents("it.rec").empty());
    }

    Ended replay(const std::string& text) { return run({"replay", path("it.rec"), write("script.py", text)}); }
};

TEST_F(RecordingTest, PlaysEveryExample) {
    std::filesystem::current_path(path());
    const std::vector<std::vector<std::string>> rows = {{"hello", "one", "two words"},
                                                        {"one_line"},
                                                        {"commands", "mine"},
                                                        {"settings"},
                                                        {"batteries"},
                                                        {"scene"},
                                                        {"circle", path("made/a.png")},
                                                        {"mesh"},
                                                        {"operate"},
                                                        {"image", path("made/b.png")},
                                                        {"contact_sheet", "examples/pictures", path("made/c.png")},
                                                        {"check_pictures", "examples/pictures", path("made/d.json")},
                                                        {"fractal", path("made/e.png")},
                                                        {"fractal", path("made/f.png"), "20"},
                                                        {"farm/check_asset", "examples/farm/box.mesh"}};
    for (auto words : rows) {
        words.front() = "examples/" + words.front() + ".py";
        expectReplay(words);
    }
    expectReplay({write("servers.py", contentsOf(KZ_SOURCE_DIR "/tests/recording/servers.py"))});
    expectReplay({"examples/palette/tests/test_palette.py"}, false);  // it tells how long it took
}

// What an earlier version has recorded: kept.rec and what it prints are never made anew.
TEST_F(RecordingTest, PlaysWhatAnEarlierVersionRecorded) {
    std::filesystem::current_path(path());
    const std::string kept = KZ_SOURCE_DIR "/tests/recording/kept.";
    expect(run({"replay", kept + "rec", kept + "py"}), 0, contentsOf(kept + "out"));
}

constexpr const char* small = R"(import kz
mesh = kz.service.Mesh().Create()
data = kz.Storage('i', 2)
try:
    mesh.PointByIndex(7)
except IndexError:
    print kz.eval1('log.lines count:?') >= 0, 'caught'
)";

TEST_F(RecordingTest, IsTextThatPeopleRead) {
    importPaths.clear();
    expect(run({"--record", path("it.rec"), "run", write("script.py", small)}), 0, "True caught\n");
    const std::string head =
        "kz-recording 1\n\\{.*\"script\": \".*/script.py\", \"seed\": [0-9]+, \"words\": \\[\\]\\}\n";
    const std::string body = R"(kz.service.Mesh.__new__\(\)
= service.Mesh\(1\)
service.Mesh\(1\).Create\(\)
= Mesh\(2\)
Mesh\(2\).PointByIndex\(7\)
! IndexError\('out of bounds'\)
kz.eval1\('log.lines count:\?'\)
= [0-9]+
end
)";
    EXPECT_TRUE(std::regex_match(contents("it.rec"), std::regex(head + body))) << contents("it.rec");
}

TEST_F(RecordingTest, TellsTheFirstDifference) {
    run({"--record", path("it.rec"), "run", write("script.py", small)});
    struct Row {
        const char* from;
        const char* to;
        std::vector<std::string> says;
    };
    const Row rows[] = {
        {"Index(7)",
         "Index(8)",
         {"it.rec: the script calls\n  Mesh(2).PointByIndex(8)\nwhere line 7 expects\n", "PointByIndex(7)\n"}},
        {"PointByIndex(7)", "PointCount()", {"calls\n  Mesh(2).PointCount()\n"}},
        {"print kz.eval1('log.lines count:?')", "print 1", {"the script has ended, where line 9 expects\n  kz.eval1("}},
        {"print kz.eval1('log.lines count:?')", "1/0", {"the script failed before line 9, which expects\n  kz.eval1("}},
        {"'caught'",
         "kz.eval('log.clear')",
         {"the script calls\n  kz.eval('log.clear')\nwhere the recorded one has ended"}},
        {"except IndexError", "except", {}},
    };
    for (const auto& [from, to, says] : rows) {
        std::string text = small;
        text.replace(text.find(from), std::string(from).size(), to);
        const Ended ended = replay(text);
        SCOPED_TRACE(text);
        EXPECT_EQ(ended.status, says.empty() ? 0 : 1);
        for (const std::string& part : says) EXPECT_TRUE(ended.says(part)) << part << "\nin\n" << ended.error;
    }
    const Ended swallowed = replay("import kz\ntry: kz.eval('a')\nexcept BaseException: print 'swallowed'\n");
    expect(swallowed, 1, "swallowed\n", {"kz.eval('a')"});
}

TEST_F(RecordingTest, RefusesByNameWhatItCannotRepeat) {
    const std::pair<const char*, const char*> rows[] = {
        {"thread = threading.Thread(target=lambda: kz.eval('log.lines count:?')); thread.start(); thread.join()",
         "kz.eval: it is called on another thread, beside the script"},
        {"kz.object.GLViewport().NativeContext()",
         "kz.object.GLViewport.NativeContext: it returns raw memory of the host"},
    };
    for (const auto& [code, says] : rows) {
        const std::string script =
            "import kz, threading\ntry:\n    " + std::string(code) + "\nexcept Exception: pass\nprint 'done'\n";
        const Ended ended = run({"--record", path("it.rec"), "run", write("script.py", script)});
        expect(ended, 1, "done\n", {std::string("the recording is of no use: ") + says});
        const Ended replayed = run({"replay", path("it.rec"), path("script.py")});
        EXPECT_TRUE(replayed.status == 1 && replayed.says(std::string("it.rec: ") + says)) << replayed.error;
    }
}

TEST_F(RecordingTest, RefusesDamagedRecordings) {
    run({"--record", path("it.rec"), "run", write("script.py", small)});
    const std::string whole = contents("it.rec");
    const auto with = [&](const std::string& from, const std::string& to) {
        std::string text = whole;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::pair<std::string, const char*> rows[] = {
        {"", "it does not begin with \"kz-recording 1\""},
        {"kz-recording 2\n", "it has version \"2\" of the format, and only version 1 can be played here"},
        {"kz-recording 1\n", "its second line"},
        {with("{", "["), "its second line"},
        {with("end\n", ""), "it is not whole"},
        {with("= Mesh(2)", "= Mesh(2"), "is no value of a recording"},
        {with("= Mesh(2)", "= Nonsense(2)"), "there is no kz.object.Nonsense here"},
        {with("= Mesh(2)", "= cls('os.nothing')"), "there is no os.nothing here"},
        {with("= Mesh(2)", "= (lambda: 1)()"), "is no value of a recording"},
        {with("! IndexError", "! int"), "there is no exceptions.int here"},
        {with("= Mesh(2)", "      = Mesh(2)"), "line 6 is indented too far"},
        {with("= Mesh(2)\n", ""), "the call in line 5 has no end"},
    };
    for (const auto& [text, says] : rows) {
        write("it.rec", text);
        const Ended ended = run({"replay", path("it.rec"), path("script.py")});
        EXPECT_EQ(ended.status, 1) << text;
        EXPECT_TRUE(ended.says(says)) << text << "says\n" << ended.error;
    }
    expect(run({"replay", path("none.rec"), path("script.py")}), 2, "", {"does not exist: ", "none.rec"});
    expect(run({"--record", path("none/a.rec"), "run", path("script.py")}), 2, "",
           {"none/a.rec cannot be written: No such file or directory"});
}

}  // namespace
