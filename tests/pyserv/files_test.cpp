// Server files: how they are found, and what becomes of those that are broken.
#include "tests/support/kzhost_run.h"

namespace {

class FilesTest : public KzHostTest {};

TEST_F(FilesTest, OneBadFileNeverStopsTheOthers) {
    serve("a.py", "import kz, kzifc\nclass A(kzifc.Visitor): pass\nkz.bless(A, 'first')\n");
    serve("b.py", "def deep():\n    raise ValueError('n\\0o ' + u'\\xe9')\ndeep()\n");
    serve("c.py", "import sys\nsys.exit(3)\n");
    serve("d.py", "this is no Python\n");
    serve("e.py", "import kz\nclass Old: pass\nkz.bless(Old, 'old')\n");
    serve("f.py", "class E(Exception):\n    def __str__(self): raise E()\nraise E()\n");
    serve("g.py", std::string("x = 1\0", 6));
    serve("h.py", "from kzserv.servers import a\na.LAST = 1\nimport kz\nkz.bless(a.A, 'last')\n");
    serve("notes.txt", "raise SystemExit\n");
    const Ended ended = runText("import kz\nhost = kz.service.Host()\n"
                                "print [host.IsServer('visitor', name) for name in ('first', 'last', 'old')]\n");
    expect(ended, 0, "[True, True, False]\n",
           {"b.py: ", "ValueError: n", ".. ", "b.py: 2\n", "b.py: 3\n", "c.py: SystemExit: 3", "d.py: SyntaxError",
            "e.py: ", "f.py: E", "g.py: "});
    EXPECT_FALSE(ended.says("a.py") || ended.says("h.py")) << ended.error;
}

TEST_F(FilesTest, FilesOfOneNameInTwoFoldersAreBothImported) {
    std::filesystem::create_directories(path("other/servers"));
    std::filesystem::create_directory_symlink(path("servers"), path("other/again"));
    const std::string text = "import kz, kzifc\nclass A(kzifc.Visitor): pass\nkz.bless(A, NAME)\n";
    serve("same.py", "NAME = 'one'\n" + text);
    write("other/servers/same.py", "NAME = 'two'\n" + text);
    importPaths.push_back(path("other"));
    expect(runText("import kzserv.servers\nprint sorted(n for n in dir(kzserv.servers) if n[0] != '_')\n"), 0,
           "['same', 'same_2']\n");
}

// Objects that the host holds, and those that it makes from then on, are what the file says now.
TEST_F(FilesTest, AChangedFileIsTakenInWhenTheHostIsTold) {
    const std::string text = "import kz, kzifc\nfrom kzu.command import Command\nWORD = 'one'\n"
                             "class Hints(kzifc.UIValueHints):\n    def uiv_PopInternalName(self, index): return WORD\n"
                             "class Meta(object):\n    _sub_ifcs = [(Hints, None)]\n    tail = '!'\n"
                             "class Text(kzifc.Value, kzifc.StringConversion):\n"
                             "    def __init__(self, meta): self.meta = meta\n"
                             "    def str_Encode(self): return WORD + self.meta.tail\n"
                             "class Say(Command):\n    def execute(self):\n        super(Say, self).enabled()\n"
                             "        kz.out(WORD)\n"
                             "kz.bless(Say, 'say', {'word': WORD})\nkz.bless(Text, 'word', None, Meta())\n";
    write("text", text);
    serve("a.py", text);
    const Ended ended = runText(
        "import kz\nvalues = kz.service.Value()\nheld = values.CreateValue('word')\ntext = open('FOLDER/text').read()\n"
        "def change(name, *pairs):\n    print '--'\n    changed = text\n"
        "    for old, new in pairs: changed = changed.replace(old, new)\n"
        "    open('FOLDER/servers/' + name, 'w').write(changed)\n    kz.eval('server.reload')\n    show()\n"
        "def show():\n    kz.eval('say')\n    print values.EncodeText(held, 0), "
        "kz.object.UIValueHints(held).PopInternalName(0), kz.service.Host().ServerTag('command', 'say', 'word')\n"
        "show()\nchange('a.py', (\"'one'\", \"'two'\"), (\"'!'\", \"'?'\"))\n"
        "change('a.py', (\"'one'\", \"'three'; 1/0\"))\n"
        "change('a.py', (\"'one'\", \"'four'\"), ('StringConversion)', 'StringConversion, kzifc.Visitor)'))\n"
        "change('b.py', (\"'say'\", \"'say.new'\"), (\"'word', None\", \"'new', None\"))\n"
        "kz.eval('say.new')\nchange('a.py', (\"kz.bless(Say\", '#'))\n");
    expect(ended, 0,
           "one\none! one one\n--\ntwo\ntwo? two two\n--\ntwo\ntwo? two two\n--\nfour\ntwo? two four\n--\nfour\n"
           "two? two four\none\n--\nfour\none! one four\n",
           {"a.py: ZeroDivisionError", "\"word\" stays as it was until the host ends: Text has other", "b.py: taken in",
            "\"say\" is not in it any more"});
}

// Each server is spawned by a script; `out` is what the script prints, `error` a part of what the log gets.
struct BadServer {
    const char* server;
    const char* script;
    const char* out;
    const char* error;
};

const BadServer badServers[] = {
    {"class A(kzifc.Visitor):\n    def __init__(self, needed): pass\n", "tell(spawn)", "RuntimeError\n",
     "Spawning Python server failed: bad"},
    {"class A(kzifc.Visitor):\n    def __new__(cls): return None\n",
     "tell(lambda: kz.object.Visitor(spawn()).Evaluate())", "RuntimeError\n", ""},
    {"class A(kzifc.Visitor):\n    def __del__(self): raise ValueError('gone')\n", "spawn()\nprint 'on'", "on\n", ""},
    {"kept = []\nclass A(kzifc.Visitor):\n    def __del__(self): kept.append(self)\n"
     "    def vis_Evaluate(self): kz.out('seen')\n",
     "spawn()\nfrom kzserv.servers import bad\nkz.object.Visitor(bad.kept[0]).Evaluate()\ndel bad.kept[:]\nprint 'on'",
     "seen\non\n", ""},
};

TEST_F(FilesTest, BadServersFailWithACodeAndTheHostGoesOn) {
    for (const BadServer& each : badServers) {
        serve("bad.py", std::string("import kz, kzifc\n") + each.server + "kz.bless(A, 'bad')\n");
        const Ended ended =
            runText("import kz\ndef spawn(kind='visitor'): return kz.service.Host().SpawnServer(kind, 'bad')\n"
                    "def tell(action):\n    try: action()\n"
                    "    except Exception as error: print type(error).__name__\n" +
                    std::string(each.script) + "\n");
        SCOPED_TRACE(each.server);
        expect(ended, 0, each.out, {each.error});
    }
}

TEST_F(FilesTest, TagsWithoutATextAreNoTags) {
    serve("bad.py", "import kz, kzifc\nclass A(kzifc.Visitor): pass\n"
                    "class K(object):\n    def __str__(self): raise ValueError('no text')\n"
                    "kz.bless(A, 'good', {1: None, 'b': 2.5})\nkz.bless(A, 'raising', {K(): 1})\n"
                    "kz.bless(A, 'wide', {u'\\xe9': 1})\nkz.bless(A, u'plain')\n");
    const Ended ended = run({"servers"});
    EXPECT_EQ(ended.status, 0);
    for (const char* part : {"  1=None", "  b=2.5", "raising", "wide", "plain"})
        EXPECT_NE(ended.out.find(part), std::string::npos) << part << ended.out << ended.error;
}

}  // namespace
