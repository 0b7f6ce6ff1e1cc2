// The example servers, driven by the host.
#include "tests/support/kzhost_run.h"

#include <tuple>

namespace {

constexpr const char* examples = KZ_SOURCE_DIR "/examples";

class ExampleServersTest : public KzHostTest {
protected:
    ExampleServersTest() { importPaths.emplace_back(examples); }
};

TEST_F(ExampleServersTest, TheyAreListedWithTheirTags) {
    const Ended ended = run({"servers"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    for (const char* part : {"text.repeat", "command.category=text", "loader.dosPattern=*.timg", "saver.dosType=TIMG",
                             "watch.session", "treeview.type=outline", "server.username=Day of the Week"})
        EXPECT_NE(ended.out.find(part), std::string::npos) << part << ended.out;
}

TEST_F(ExampleServersTest, ABadTreeEnds) {
    EXPECT_EQ(run({"tree", "nowhere"}).status, 1);
    serve("endless.py", R"(
        import kz, kzifc
        class Deep(kzifc.Tree, kzifc.TreeView):
            def tree_ToRoot(self): pass
            def tree_Count(self): return 1
            def tree_SetCurrent(self, index): pass
            def tree_ToChild(self): pass
            def treeview_ColumnCount(self): return 1
        class Wide(Deep):
            def treeview_ColumnCount(self): return 0xffffffff
        kz.bless(Deep, 'deep')
        kz.bless(Wide, 'wide'))"_lines);
    for (const char* endless : {"deep", "wide"}) EXPECT_TRUE(run({"tree", endless}).says("OUTOFBOUNDS")) << endless;
}

// Scripts use these commands like the host's own.
TEST_F(ExampleServersTest, CommandsAreExecutedQueriedAndDisabled) {
    const std::tuple<const char*, int, const char*, const char*> cases[] = {
        {"text.repeat hello count:3", 0, "hello hello hello\n", ""},
        {"text.repeat loud:true text:{a b}", 0, "A B\n", ""},
        {"text.repeat count:?", 0, "1\n", ""},
        {"text.repeat", 1, "", "argument \"text\" is missing; it is What to print"},
        {"text.repeat x count:many", 1, "", "argument \"count\": \"many\" is not an integer"},
        {"text.repeat x y:2", 1, "", "there is no argument \"y\"; there are text, count, loud"},
        {"text.repeat text:?", 1, "", ""},
        {"text.never", 1, "", "Never: there is nothing to do"}};
    for (const auto& [command, status, out, error] : cases) expect(run({"cmd", command}), status, out, {error});
    expect(runText(R"(
        import kz
        from kzserv.servers import watch
        kz.eval('text.repeat hi count:2')
        kz.command('text.repeat', text='a', loud=True)
        print kz.queryToggle('text.repeat loud:?'), repr(kz.eval('text.repeat loud:?'))
        try: kz.eval('text.never')
        except RuntimeError as error: print error
        print [line for line in watch.HEARD if line.startswith('text.')])"_lines),
           0, R"(
        hi hi
        A
        True 1
        command failed: Never: there is nothing to do (84800004)
        ['text.repeat done', 'text.repeat done', 'text.never failed'])"_lines);
}

TEST_F(ExampleServersTest, AnImageGoesThroughLoaderAndSaver) {
    const std::string image = write("a.timg", "TIMG  3   2\n1 2 3\n4 5   255\n");
    expect(run({"convert", image, path("b.timg")}), 0, "FOLDER/b.timg: 3 x 2 pixels\n");
    EXPECT_EQ(contents("b.timg"), "TIMG 3 2\n1 2 3\n4 5 255\n");
    const std::pair<std::string, const char*> failures[] = {
        {write("broken.timg", "TIMG 3 2\n1 2\n3 4 5\n"), "has not 3 pixels"},
        {write("other.timg", "nothing"), "no loader takes this file"},
        {write("a.png", "TIMG 1 1\n1\n"), "no loader takes this file"}};
    for (const auto& [file, why] : failures) expect(run({"convert", file, path("c.timg")}), 1, "", {why});
    EXPECT_TRUE(run({"convert", image, path("c.tga")}).says("no saver writes such files"));
    // Pictures of 16 bits keep them, unless a colour space is asked for.
    const std::string picture = KZ_SOURCE_DIR "/tests/objects/pictures/rgb16.png";
    expect(run({"convert", picture, path("e.png")}), 0, "FOLDER/e.png: 2 x 2 pixels\n");
    expect(run({"convert", path("e.png"), path("f.png"), "--colorspace", "linear"}), 0, "FOLDER/f.png: 2 x 2 pixels\n");
    expect(runText(R"(
        import kz
        for name in 'ef':
            out = kz.Storage('b', 6)
            kz.service.Image().Load('FOLDER/%s.png' % name, None).GetPixel(0, 0, 0x302, out)
            print out.get())"_lines),
           0, "(0, 0, 1, 0, 21, 39)\n(0, 0, 0, 0, 45, 5)\n");
    const std::string noLibrary = "program=" + path("nowhere"), badLibrary = "program=" + path("bad");
    std::filesystem::create_directories(path("bad/lib"));
    write("bad/lib/kzPictures.so", "");
    const std::tuple<std::vector<std::string>, const char*> refused[] = {
        {{"convert", picture, path("g.hdr")}, "g.hdr: such files cannot say that their colours are sRGB"},
        {{"convert", picture, path("g.png"), "--colorspace", "x"}, "there is no colour space \"x\"; there are "},
        {{"--alias", noLibrary, "convert", picture, path("g.png")},
         "kzpython2-pictures or, where this program is built, libopenimageio-dev"},
        {{"--alias", badLibrary, "convert", picture, path("g.png")}, "install libopenimageio2.4 or"}};
    for (const auto& [words, why] : refused) {
        const Ended ended = run(words);
        EXPECT_TRUE(ended.says(why)) << why << ended.error;
        EXPECT_EQ(ended.status, words.back().ends_with("hdr") ? 0 : 1) << why;
    }
    // Scripts use the same loader and saver, and get an image of the host.
    expect(runText(R"(
        import kz
        images, folder, nine = kz.service.Image(), 'FOLDER/', kz.Storage('b', 1)
        image = images.Load(folder + 'a.timg', None)
        nine.set((9,))
        kz.object.ImageWrite(image).SetPixel(2, 1, kz.symbol.iIMG_FORMAT_GREY, nine)
        images.Save(image, folder + 'd.png', None, None)
        images.Save(images.Load(folder + 'd.png', None), folder + 'd.any', 'textimage', None)
        print open(folder + 'd.any').read().split()[-2:]
        from kzserv.servers import watch
        print len([h for h in watch.HEARD if folder in h]))"_lines),
           0, "['5', '9']\n4\n");
}

TEST_F(ExampleServersTest, ASaverThatFailsLeavesWhatWasThere) {
    serve("bad.py", R"(
        import kz, kzifc, os
        class Half(kzifc.Saver):
            def sav_Save(self, source, path, monitor):
                open(path, 'w').write('half')
                open(path + '.more', 'w').close()
                if 'whole' not in path: raise ValueError('half-way')
        class Nothing(kzifc.Saver):
            def sav_Save(self, source, path, monitor): pass
        kz.bless(Half, 'half', {'saver.dosType': 'half'})
        kz.bless(Nothing, 'nothing', {'saver.dosType': 'nothing'})
        class Strict(Nothing):
            def sav_Verify(self, source, message): kz.throw(kz.symbol.e_NOACCESS, True)
        kz.bless(Strict, 'strict', {'saver.dosType': 'strict'}))"_lines);
    const std::string image = write("a.timg", "TIMG 1 1\n7\n");
    const std::tuple<const char*, int, const char*> cases[] = {
        {"to/a.half", 1, "half-way"},
        {"to/a.nothing", 1, "wrote no file"},
        {"to/whole.half", 0, ""},
        {"to/a.strict", 1, "the saver \"strict\" refuses the image: access is denied"}};
    for (const auto& [name, status, why] : cases) {
        std::filesystem::create_directory(path("to"));
        write(name, "before");
        expect(run({"convert", image, path(name)}), status, status == 0 ? "FOLDER/to/whole.half: 1 x 1 pixels\n" : "",
               {why});
        EXPECT_EQ(contents(name), status == 0 ? "half" : "before") << name;
        const auto files = std::distance(std::filesystem::directory_iterator(path("to")), {});
        EXPECT_EQ(files, status == 0 ? 2 : 1) << name;
        std::filesystem::remove_all(path("to"));
    }
}

TEST_F(ExampleServersTest, ValuesOfAServedTypeAreTheHostsOwn) {
    const Ended ended = runText(R"(
        import kz, kzu.object
        values = kz.service.Value()
        day, choices = values.CreateValue('weekday'), values.CreateValueArray('string')
        values.DecodeText(' Friday ', 1, day)
        print kzu.object.Value(day), values.EncodeText(day, 0)
        hints = kz.object.UIValueHints(day)
        print hints.PopCount(), hints.PopUserName(6)
        query = kz.service.ScriptSys().ServiceQuery('value')
        query.Select('choices', 'weekday')
        query.Query(query.Lookup('choices'), choices)
        print kzu.object.ValueArray(choices)[:2])"_lines);
    expect(ended, 0, "<Value weekday 4> friday\n7 Sunday\n['monday', 'tuesday']\n");
    EXPECT_EQ(ended.error, "");
}

// The lines that the documents show, typed one after another.
TEST_F(ExampleServersTest, WhatDocumentsShowWorks) {
    ignoreLeaks();  // of the validator, which one of the documents shows
    std::filesystem::create_directory_symlink(examples, path("examples"));
    write("in", "\n\ntrue\n+\n");
    std::vector<std::string> documents = {KZ_SOURCE_DIR "/docs/tour.md", KZ_SOURCE_DIR "/docs/servers.md"};
    for (const auto& entry : std::filesystem::directory_iterator(KZ_SOURCE_DIR "/examples/servers"))
        if (entry.path().extension() == ".py") documents.push_back(entry.path().string());
    int count = 0;
    for (const std::string& document : documents) {
        std::ifstream stream(document);
        for (std::string line; std::getline(stream, line);) {
            if (!line.starts_with("    kzhost ") || line.ends_with(" FILE")) continue;
            ++count;
            const std::string command = "cd '" + path("") + "' && PATH='" KZ_BUILD_DIR "/bin':$PATH " + line.substr(4);
            EXPECT_EQ(std::system((command + " <in >out 2>err").c_str()), 0) << document << line << contents("err");
            EXPECT_EQ(contents("err").find("exception"), std::string::npos) << line << contents("err");
        }
    }
    EXPECT_GE(count, 29);
}

// The Python code on the front page is that of the examples.
TEST(ReadmeTest, ShowsTheExamplesAsTheyAre) {
    const std::string page = contentsOf(KZ_SOURCE_DIR "/README.md"), opening = "```python\n";
    for (const char* example : {"examples/servers/lift.py", "examples/operate.py"}) {
        const std::size_t start = page.find(opening, page.find("`" + std::string(example) + "`")) + opening.size();
        EXPECT_NE(contentsOf(std::string(KZ_SOURCE_DIR "/") + example)
                      .find(page.substr(start, page.find("```", start) - start)),
                  std::string::npos)
            << example;
    }
}

// Every call from the start of the session to its end, in order.
TEST_F(ExampleServersTest, ListenersHearAllThatHappens) {
    importPaths.pop_back();
    serve("all.py", R"(
        import kz, kzifc
        def tell(name, *args): open('FOLDER/heard', 'a').write(name.replace('event_', '.') + ' ')
        class Session(kzifc.SessionListener): pass
        class Commands(kzifc.CmdSysListener): pass
        class Log(kzifc.LogListener): pass
        for cls in (Session, Commands, Log):
            for name in vars(cls.__bases__[0]):
                if name[0] != '_' and name != 'sesl_ModuleUpdated':
                    setattr(cls, name, (lambda name: lambda self, *args: tell(name, *args))(name))
            kz.bless(cls, 'all'))"_lines);
    const Ended ended = runText(R"(
        import kz
        from kzu.command import Command
        print 'out'
        kz.eval('command.alias b user.value'); kz.eval('command.unalias b')
        class New(Command):
            def execute(self): kz.eval('log.clear scripts'); raise ValueError
        kz.bless(New, 'new')
        try: kz.eval('new')
        except RuntimeError: pass
        kz.service.Log().Flush())"_lines);
    const std::string command = "cmdsys.ExecutePre ", done = "cmdsys.ExecuteResult cmdsys.ExecutePost ";
    EXPECT_EQ(contents("heard"),
              "sesl_SystemReady cmdsys.SystemReady log.SubsystemAdded log.EntryAdded log.ChildEntryAdded " + command +
                  "cmdsys.AliasAdded " + done + command + "cmdsys.AliasRemoved " + done + "cmdsys.CommandAdded " +
                  command + "cmdsys.BlockBegin cmdsys.UndoLockout " + command + "log.Cleared " + done +
                  "cmdsys.UndoLockout cmdsys.BlockEnd log.SubsystemAdded log.EntryAdded " + done +
                  "log.Flushed sesl_ShuttingDown sesl_ShutDown ")
        << ended.error;
}

// The command says why it cannot run an operation, and an operation that fails changes nothing.
TEST_F(ExampleServersTest, AMeshOperationThatFailsChangesNothing) {
    serve("half.py", R"(
        import kz, kzifc
        class Half(kzifc.MeshOperation):
            def mop_Evaluate(self, mesh, elements, mode): kz.object.Mesh(mesh).Clear(); raise ValueError('half-way')
        kz.bless(Half, 'half'))"_lines);
    expect(runText(R"(
        import kz
        scenes = kz.service.Scene()
        def tell(text):
            try: kz.eval(text)
            except RuntimeError as error: print error
        tell('mesh.operate half'); scene = scenes.Create('a'); tell('mesh.operate half')
        item = scene.ItemAdd(scenes.ItemTypeLookup('mesh'))
        mesh = kz.service.Mesh().FromItem(item, 0.0, 0)
        mesh.AddPoint((1, 2, 3))
        for words in 'half', 'none', 'half item:b': tell('mesh.operate ' + words)
        print mesh.PointByIndex(0).Position())"_lines),
           0, R"(
        command failed: mesh.operate: there is no scene, and so no mesh (80000017)
        command failed: mesh.operate: the current scene has no mesh item (80000017)
        command failed: mesh.operate: the operation failed (80000000)
        command failed: mesh.operate: argument "operation": there is no mesh operation "none" (80000017)
        command failed: mesh.operate: argument "item": there is no mesh item "b" (80000017)
        (1.0, 2.0, 3.0))"_lines);
}

// The questions on standard error, and the effect of the answers.
TEST_F(ExampleServersTest, ADialogAsksForArguments) {
    const std::string edge = std::string(30, '+') + "\n";
    const std::tuple<const char*, const char*, int, std::string, std::vector<std::string>> cases[] = {
        {"??text.banner",
         "a text that is rather long\n\nmaybe\ntrue\n+\n",
         0,
         edge + "+ a text that is rather long +\n" + edge,
         {"text, What to print (a text) []: a text", "width, How long the line is (an integer, as 12 or -3) [26]",
          "\"maybe\" is not true or false", "mark, What the frame is made of (a text) [*]"}},
        {"?text.banner", "ab\n4\n\n", 0, " ab \n", {"[20]: 4", "[false]"}},
        {"?text.banner ab width:4", "", 0, " ab \n", {}},
        {"!text.banner", "ab\n", 1, "", {"argument \"text\" is missing; it is What to print"}},
        {"?text.banner", "ab\n", 1, "", {"the dialog was cancelled"}},
        {"??text.banner ab", "\n\n\n", 0, "         ab         \n", {"[ab]: "}},
        {"text.banner ab mark:x", "", 1, "", {"argument \"mark\" cannot be used now"}},
        {"??file.alias", "here\n/tmp\n", 0, "", {"File Alias: alias", "File Alias: path"}},  // the host's own, too
    };
    for (const auto& [command, answers, status, out, told] : cases) {
        const Ended ended = run({"cmd", command}, answers);
        expect(ended, status, out, told);
        EXPECT_EQ(ended.says("mark, "), std::string(answers).find("true") != std::string::npos)
            << command << ended.error;
    }
    expect(runText(R"(
        import kz
        commands = kz.Service('command')
        for line in ('text.banner', 'text.banner frame:true', 'text.never', 'file.alias'):
            commands.select('enabled', line)
            print commands.query(), commands.queryN('argumentsEnabled'), commands.queryN('dialog'))"_lines),
           0, R"(
        1 (1, 1, 1, 0) ('', '20', 'false', '*')
        1 (1, 1, 1, 1) ('', '20', 'true', '*')
        0 () ()
        1 (1, 1) ('', ''))"_lines);
}

}  // namespace
