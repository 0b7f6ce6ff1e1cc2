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
    const std::string text = R"(
        import kz, kzifc
        from kzu.command import Command
        WORD = 'one'
        class Hints(kzifc.UIValueHints):
            def uiv_PopInternalName(self, index): return WORD
        class Meta(object):
            _sub_ifcs = [(Hints, None)]
            tail = '!'
        class Text(kzifc.Value, kzifc.StringConversion):
            def __init__(self, meta): self.meta = meta
            def str_Encode(self): return WORD + self.meta.tail
        class Say(Command):
            def execute(self): super(Say, self).enabled(); kz.out(WORD)
        kz.bless(Say, 'say', {'word': WORD})
        kz.bless(Text, 'word', None, Meta()))"_lines;
    write("text", text);
    serve("a.py", text);
    const Ended ended = runText(R"(
        import kz
        values = kz.service.Value()
        held = values.CreateValue('word')
        text = open('FOLDER/text').read()
        def change(name, *pairs):
            changed = text
            for old, new in pairs: changed = changed.replace(old, new)
            open('FOLDER/servers/' + name, 'w').write(changed)
            kz.eval('server.reload')
            show()
        def show():
            kz.eval('say')
            hints, host = kz.object.UIValueHints(held), kz.service.Host()
            print values.EncodeText(held, 0), hints.PopInternalName(0), host.ServerTag('command', 'say', 'word')
        show()
        change('a.py', ("'one'", "'two'"), ("'!'", "'?'"))
        change('a.py', ("'one'", "'three'; 1/0"))
        change('a.py', ("'one'", "'four'"), ('StringConversion)', 'StringConversion, kzifc.Visitor)'))
        change('b.py', ("'say'", "'say.new'"), ("'word', None", "'new', None"))
        kz.eval('say.new')
        change('a.py', ("kz.bless(Say", '#')))"_lines);
    const std::string two = "two\ntwo? two two\n";
    expect(ended, 0, "one\none! one one\n" + two + two + two + two + "one\ntwo\none! one two\n",
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
    const Ended ended = runText(R"(
        import kz
        NAMES = 'hidden late half twin free lacking json broken last aside'.split()
        def show(): print [n for n in NAMES if kz.service.Host().IsServer('visitor', n)]
        show()
        open('FOLDER/dependency.py', 'w'); kz.eval('server.reload'); show()
        open('FOLDER/servers/b.py', 'a').write('\n'); kz.eval('server.reload')
        kz.object.Visitor(kz.service.Host().SpawnServer('visitor', 'late')).Evaluate())"_lines);
    expect(ended, 0, "['late', 'json', 'last', 'aside']\n['late', 'lacking', 'json', 'last', 'aside']\nword\n",
           {".hidden.py: not imported, as its name begins with a dot", "b.py: ZeroDivisionError", "e.py: ImportError",
            "c.py: the server \"twin\" is blessed twice", "d.py: RuntimeError: bad result: FAILED",
            "kz.bless of \"late\": there is a server of that name for Visitor already",
            "x.py: ImportError: the server file " + path("servers/b.py") + " was not imported; the log says why",
            "e.py: imported"});
}

// The new text of the file, and the reason why neither the class, nor its tags, nor its sub-server changes.
TEST_F(FilesTest, AChangeIsTakenInWholeOrNotAtAll) {
    const std::string text = R"(
        import kz, kzifc
        WORD = 'one'
        class Hints(kzifc.UIValueHints):
            def uiv_PopInternalName(self, index): return WORD
        class Other(Hints): pass
        class Meta(object): _sub_ifcs = [(Hints, None)]
        class Base(kzifc.StringConversion): pass
        class Text(kzifc.Value, Base):
            def __init__(self, meta): pass
            def str_Encode(self): return super(Text, self).__class__.__name__ and WORD
        kz.bless(Text, 'word', {'word': WORD}, Meta()))"_lines;
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
        const Ended ended = runText(R"(
            import kz, shutil
            host, values = kz.service.Host(), kz.service.Value()
            held = values.CreateValue('word')
            hints = kz.object.UIValueHints(held)
            shutil.copy('FOLDER/changed', 'FOLDER/servers/a.py'); kz.eval('server.reload')
            from kzserv.servers import a
            tag = host.ServerTag('value', 'word', 'word')
            print a.WORD, values.EncodeText(held, 0), hints.PopInternalName(0), tag)"_lines);
        expect(ended, 0, *why != '\0' ? "one one one one\n" : "two two two two\n", {why});
        EXPECT_EQ(ended.says("a.py: imported"), *why == '\0') << ended.error;
    }
}

// What a server has, the script that spawns it, and what that prints.
const std::tuple<const char*, const char*, const char*> badServers[] = {
    {"    def __new__(cls): return None", "tell(lambda: kz.object.Visitor(spawn()).Evaluate())", "RuntimeError\n"},
    {"    def __del__(self): raise ValueError('gone')", "spawn(); print 'on'", "on\n"},
    {"    def __del__(self): kept.append(self)\n    def vis_Evaluate(self): kz.out('seen')",
     "spawn(); kz.object.Visitor(bad.kept[0]).Evaluate(); del bad.kept[:]; print 'on'", "seen\non\n"}};

TEST_F(FilesTest, BadServersFailWithACodeAndTheHostGoesOn) {
    for (const auto& [server, script, out] : badServers) {
        SCOPED_TRACE(server);
        serve("bad.py", std::string("import kz, kzifc\nkept = []\nclass A(kzifc.Visitor):\n") + server +
                            "\nkz.bless(A, 'bad')\n");
        const std::string opening = R"(
            import kz
            from kzserv.servers import bad
            def spawn(): return kz.service.Host().SpawnServer('visitor', 'bad')
            def tell(action):
                try: action()
                except Exception as error: print type(error).__name__)"_lines;
        expect(runText(opening + script), 0, out);
    }
}

}  // namespace
