// kzhost check: what it finds in server files.
#include "tests/support/kzhost_run.h"

#include <set>
#include <sstream>

namespace {

class CheckTest : public KzHostTest {};

// What the comments "#: FINDING" of a server file say of their lines, or of the lines above, as the program prints it.
std::multiset<std::string> findingsIn(const std::string& file) {
    std::multiset<std::string> findings;
    std::ifstream stream(file);
    std::string line;
    for (int number = 1, above = 0; std::getline(stream, line); ++number) {
        const std::size_t at = line.find("#: ");
        if (at == std::string::npos || line.find_first_not_of(' ') < at) above = number;
        if (at != std::string::npos) findings.insert(file + ":" + std::to_string(above) + ": " + line.substr(at + 3));
    }
    return findings;
}

std::multiset<std::string> linesOf(const std::string& text) {
    std::multiset<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.insert(line);
    return lines;
}

TEST_F(CheckTest, WhatIsWrongIsNamedWithItsPlace) {
    const std::string file = write("faulty.py", contentsOf(KZ_SOURCE_DIR "/tests/pyserv/faulty.py"));
    const Ended ended = run({"check", file});
    EXPECT_EQ(linesOf(ended.out), findingsIn(file));
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.status, 1);
    expect(run({"check", serve("note.py", "import kz, kzifc; kz.bless(type('A', (kzifc.StringTag,), {}), 'a')")}), 0,
           "FOLDER/servers/note.py:1: note: server \"a\": this host never calls StringTag\n");
}

TEST_F(CheckTest, WhatCannotBeImportedIsNamedWithItsPlace) {
    const std::pair<std::string, const char*> table[] = {
        {"import kzu.command\nkzu.command.Argument('a', 'string', choices=['b'])",
         "2: it cannot be imported: ValueError: argument \"a\": choices are for the type \"choice\", not \"string\""},
        {"import kzu.command\nkzu.command.Argument('a', 'choice', choices=('b', 'c'), default='d')",
         "2: it cannot be imported: ValueError: argument \"a\": the default 'd' is not one of b, c"},
        {"import kz, kzifc\nkz.bless(kzifc.Visitor, 5)",
         "2: it cannot be imported: TypeError: the name of a server must be a text"},
        {std::string("x = 1\0", 6),
         "1: it cannot be imported: TypeError: compile() expected string without null bytes"},
        {"import sys\nfor i in range(3):\n    try: sys.exit(i)\n    except: pass\nraise KeyboardInterrupt",
         "5: it cannot be imported: KeyboardInterrupt"},
        {"def f():\n    1/0\nf()", "2: it cannot be imported: ZeroDivisionError: integer division or modulo by zero"},
        {"import sys\nsys.exit(7)", "2: it cannot be imported: SystemExit: 7"},
        {"\nx = (", "2: it cannot be imported: SyntaxError: invalid syntax"}};
    for (const auto& [text, finding] : table)
        expect(run({"check", write("checked.py", text)}), 1, path("checked.py:") + finding + "\n");
}

TEST_F(CheckTest, TheExamplesAreClean) {
    std::vector<std::string> words = {"check"};
    for (const auto& entry : std::filesystem::directory_iterator(KZ_SOURCE_DIR "/examples/servers"))
        if (entry.path().extension() == ".py") words.push_back(entry.path().string());
    ASSERT_GE(words.size(), 6U);
    const Ended ended = run(words);
    expect(ended, 0, "");
    EXPECT_EQ(ended.error, "");
}

TEST_F(CheckTest, NothingIsBlessedAndNothingIsSaidUnasked) {
    const std::string bad = "import kz, kzifc\nclass A(kzifc.Saver): pass\nkz.bless(A, 'lacking')";
    const std::string isServed = "\nimport kz; print kz.service.Host().IsServer('saver', 'lacking')";
    write("checked.py", bad);
    expect(runText("from kzserv import check\nassert check.main(['FOLDER/checked.py']) == 1\n" + isServed), 0,
           path("checked.py") +
               ":3: server \"lacking\": the method sav_Save, which Saver requires, is missing\nFalse\n");
    serve("lacking.py", bad);
    const Ended served = runText(isServed);
    expect(served, 0, "True\n");
    EXPECT_EQ(served.error, "");
    serve("unused.py", "import kz, kzifc\nclass A(kzifc.StringTag): pass\nkz.bless(A, 'unused')\n");
    EXPECT_TRUE(runText(isServed).says("kz.bless of \"unused\": this host never calls servers of the kind StringTag"));
}

TEST_F(CheckTest, FilesThatAreNotThereAreAUsageError) {
    expect(run({"check", path("missing.py")}), 2, "", {"missing.py: there is no such file"});
    expect(run({"check", path("servers")}), 2, "", {"servers is a folder; name the files in it, as in "});
}

}  // namespace
