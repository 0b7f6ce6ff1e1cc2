// Server files: how they are found, and what becomes of those that are broken.
#include "tests/support/kzhost_run.h"

#include <tuple>

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
           "one\none! one one\n--\ntwo\ntwo? two two\n--\ntwo\ntwo? two two\n--\ntwo\ntwo? two two\n--\ntwo\n"
           "two? two two\none\n--\ntwo\none! one two\n",
           {"a.py: ZeroDivisionError",
            "a.py: nothing has changed: the server \"word\" cannot be changed: Text has different interfaces",
            "b.py: imported", "\"say\" is no longer in the file"});
}

// A file that fails after it has blessed offers nothing, and is tried again when the host is told to look.
TEST_F(FilesTest, AFileCountsWholeOrNotAtAll) {
    const auto visitor = [](const std::string& name) {
        return "class V(kzifc.Visitor):\n    def vis_Evaluate(self): kz.out(WORD)\nkz.bless(V, '" + name + "')\n";
    };
    const std::string opening = "import kz, kzifc\nWORD = 'word'\n";
    serve(".hidden.py", opening + visitor("hidden"));
    serve("a.py", opening + visitor("late") + "from kzserv.servers import z\nz.WORD\n");
    serve("b.py", opening + visitor("half") + "1/0\n");
    serve("c.py", opening + visitor("twin") + visitor("twin"));
    serve("d.py", opening + visitor("free") + visitor("late"));
    serve("e.py", opening + visitor("lacking") + "import dependency\n");
    serve("json.py", opening + visitor("json") + "import json\njson.dumps\n");  // the library's, not itself
    serve("x.py", opening + visitor("broken") + "from kzserv.servers import b\n");
    serve("z.py", opening + visitor("last") + "import blessing\n");
    write("blessing.py", opening + visitor("aside"));
    const Ended ended =
        runText("import kz\nNAMES = 'hidden late half twin free lacking json broken last aside'.split()\n"
                "def show(): print [n for n in NAMES if kz.service.Host().IsServer('visitor', n)]\n"
                "show()\nopen('FOLDER/dependency.py', 'w')\nkz.eval('server.reload')\nshow()\n"
                "open('FOLDER/servers/b.py', 'a').write('\\n'); kz.eval('server.reload')\n"
                "kz.object.Visitor(kz.service.Host().SpawnServer('visitor', 'late')).Evaluate()\n");
    expect(ended, 0, "['late', 'json', 'last', 'aside']\n['late', 'lacking', 'json', 'last', 'aside']\nword\n",
           {".hidden.py: not imported, as its name begins with a dot", "b.py: ZeroDivisionError", "e.py: ImportError",
            "c.py: the server \"twin\" is blessed twice", "d.py: RuntimeError: bad result: FAILED",
            "kz.bless of \"late\": there is a server of that name for Visitor already",
            "x.py: ImportError: the server file " + path("servers/b.py") + " was not imported; the log says why",
            "e.py: imported"});
}

// The new text of the file, and the reason why neither the class, nor its tags, nor its sub-server changes.
TEST_F(FilesTest, AChangeIsTakenInWholeOrNotAtAll) {
    const std::string text = "import kz, kzifc\nWORD = 'one'\nclass Hints(kzifc.UIValueHints):\n"
                             "    def uiv_PopInternalName(self, index): return WORD\n"
                             "class Other(Hints): pass\nclass Meta(object):\n    _sub_ifcs = [(Hints, None)]\n"
                             "class Base(kzifc.StringConversion): pass\n"
                             "class Text(kzifc.Value, Base):\n    def __init__(self, meta): pass\n"
                             "    def str_Encode(self): return super(Text, self).__class__.__name__ and WORD\n"
                             "kz.bless(Text, 'word', {'word': WORD}, Meta())\n";
    const std::tuple<std::string, std::string, const char*> changes[] = {
        {"Hints(kzifc.UIValueHints)", "Hints(kzifc.UIValueHints, kzifc.Visitor)", "Hints has different interfaces"},
        {"Hints(kzifc.UIValueHints):", "Hints(kzifc.UIValueHints, Exception):", "deallocator differs"},
        {"[(Hints, None)]", "[]", "its sub-servers have changed"},
        {"(Hints): pass", "(Hints): __slots__ = ()", ""},
        {"class Hints(kzifc.UIValueHints):", "class Hints(kzifc.UIValueHints):\n    __slots__ = ()",
         "Hints has __slots__"},
        {"class Hints(kzifc.UIValueHints):",
         "class M(type): pass\nclass Hints(kzifc.UIValueHints):\n    __metaclass__ = M",
         "Hints has a different metaclass"},
        {"kz.bless(Text, 'word'", "kz.bless(Text, 'word', {}, Meta())\nkz.bless(Text, 'word'", "blessed twice"},
        {"kz.bless(Text, 'word'", "kz.bless(Hints, 'taken')\nkz.bless(Text, 'word'", "name for UIValueHints already"},
        {"kz.bless(Text, 'word'", "kz.bless(Other, 'more')\nkz.bless(Text, 'word'", ""}};
    serve("other.py", "import kz, kzifc\nclass Hints(kzifc.UIValueHints): pass\nkz.bless(Hints, 'taken')\n");
    for (const auto& [what, change, why] : changes) {
        SCOPED_TRACE(change);
        std::string changed = text;
        changed.replace(changed.find("'one'"), 5, "'two'");
        changed.replace(changed.find(what), what.size(), change);
        serve("a.py", text);
        write("changed", changed);
        const Ended ended =
            runText("import kz, shutil\nvalues = kz.service.Value()\nheld = values.CreateValue('word')\n"
                    "hints = kz.object.UIValueHints(held)\nshutil.copy('FOLDER/changed', 'FOLDER/servers/a.py')\n"
                    "kz.eval('server.reload')\nfrom kzserv.servers import a\nprint a.WORD, values.EncodeText(held, 0), "
                    "hints.PopInternalName(0), kz.service.Host().ServerTag('value', 'word', 'word')\n");
        expect(ended, 0, *why != '\0' ? "one one one one\n" : "two two two two\n", {why});
        EXPECT_EQ(ended.says("a.py: imported"), *why == '\0') << ended.error;
    }
}

// A server, the script that spawns it, what that prints, and a part of what the log gets.
const std::tuple<const char*, const char*, const char*, const char*> badServers[] = {
    {"class A(kzifc.Visitor):\n    def __new__(cls): return None\n",
     "tell(lambda: kz.object.Visitor(spawn()).Evaluate())", "RuntimeError\n", ""},
    {"class A(kzifc.Visitor):\n    def __del__(self): raise ValueError('gone')\n", "spawn()\nprint 'on'", "on\n", ""},
    {"kept = []\nclass A(kzifc.Visitor):\n    def __del__(self): kept.append(self)\n"
     "    def vis_Evaluate(self): kz.out('seen')\n",
     "spawn()\nfrom kzserv.servers import bad\nkz.object.Visitor(bad.kept[0]).Evaluate()\ndel bad.kept[:]\nprint 'on'",
     "seen\non\n", ""}};

TEST_F(FilesTest, BadServersFailWithACodeAndTheHostGoesOn) {
    for (const auto& [server, script, out, error] : badServers) {
        serve("bad.py", std::string("import kz, kzifc\n") + server + "kz.bless(A, 'bad')\n");
        const Ended ended =
            runText("import kz\ndef spawn(kind='visitor'): return kz.service.Host().SpawnServer(kind, 'bad')\n"
                    "def tell(action):\n    try: action()\n"
                    "    except Exception as error: print type(error).__name__\n" +
                    std::string(script) + "\n");
        SCOPED_TRACE(server);
        expect(ended, 0, out, {error});
    }
}

}  // namespace
