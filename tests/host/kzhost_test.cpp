// The program kzhost as its users see it: what goes where, and with which status it ends.
#include "tests/support/kzhost_run.h"

#include <nlohmann/json.hpp>

#include "kz/mesh.h"
#include "kz/tables.h"

#include <csignal>
#include <regex>

namespace {

TEST_F(KzHostTest, TheStatusSaysHowAScriptEnded) {
    const std::tuple<std::string, int, const char*> cases[] = {
        {"x = 1", 0, ""},
        {"", 0, ""},
        {"import sys; sys.exit()", 0, ""},
        {"import sys; sys.exit(7)", 7, ""},
        {"import sys; sys.exit(125)", 125, ""},
        {"import sys; sys.exit(126)", 125, "it becomes 125"},
        {"import sys; sys.exit('0x80000017')", 1, "80000017 NOTFOUND: "},
        {"import sys; sys.exit('error: gone')", 0, "error: gone (the status is 0, because this text is no code)"},
        {"import sys; sys.exit('0: done')", 0, "script.py: done\n"},
        {"1/0", 1, "Unhandled exception \"ZeroDivisionError\""},
        {"raise ValueError('exception \"KeyboardInterrupt\"')", 1, "ValueError"},
        {"raise KeyboardInterrupt", 130, "Unhandled exception \"KeyboardInterrupt\""},
        {R"(
            import kz, kzifc, os, signal, threading, time
            def slow(self, flags):
              threading.Timer(.2, os.kill, (os.getpid(), signal.SIGINT)).start()
              time.sleep(20)
            kz.bless(type('Slow', (kzifc.Command,), {'cmd_Execute': slow}), 'slow')
            try: kz.eval('slow')
            except Exception: print 'an interrupt is no error')"_lines,
         130, "script.py: 6\n"},
        {R"(
            import kz, os, time
            m = kz.Monitor(9)
            try: m.step(-1)
            except RuntimeError: m.step()
            try: os.kill(os.getpid(), 2) or time.sleep(20)
            except KeyboardInterrupt: kz.Monitor(9).step()
            m.step())"_lines,
         1, "script.py: 7\n"},
        {"import kz; kz.Monitor(2).step(2)", 0, ""}};
    for (const auto& [text, status, error] : cases) {
        const Ended ended = runText(text);
        expect(ended, status, "", {error});
        EXPECT_FALSE(ended.says("FAILED")) << text << "\none report is enough: " << ended.error;
    }
}

TEST_F(KzHostTest, CoverageIsTrue) {
    const std::pair<std::vector<std::string>, const char*> lines[] = {
        {{"coverage"}, "kzifc.MeshOperation"},
        {{"coverage", "Mesh"}, "kz.object.Mesh.PointCount                           works\n"},
        {{"coverage", "ColorMapping"}, "kz.service.ColorMapping.LoadConfig                  not implemented\n"},
        {{"coverage", "StdDialog"},
         "kz.service.StdDialog.FileOpen                       needs a window or a renderer\n"},
        {{"coverage", "Force"}, "  there is no such object\n"},
        {{"coverage", "Loader"}, "kzifc.Loader.load_Recognize                         called\n"},
        {{"coverage", "Loader"}, "kzifc.Loader.load_SpawnOptions                      never called\n"}};
    for (const auto& [words, line] : lines) {
        const Ended ended = run(words);
        EXPECT_NE(ended.out.find(line), std::string::npos) << line << ended.out;
    }
    expect(run({"coverage", "Mush"}), 2, "", {"there is no interface, service or kind of server \"Mush\""});
    // What the description calls a service's method without arguments answers as the table says.
    write("coverage.json", run({"coverage", "--json"}).out);
    expect(runText(R"(
        import json, kz.service
        table = json.load(open('FOLDER/coverage.json'))
        services, absent, wrong, count = table['services'], table['needs a window or a renderer'], [], 0
        for name in services:
            service = getattr(kz.service, name)()
            for method in dir(service):
                call = getattr(service, method)
                if not str(call.__doc__).partition(' = ')[2].startswith(method + '()'): continue
                if 'kz.service.%s.%s' % (name, method) in absent: continue
                count, listed = count + 1, method in services[name]
                try: found = bool(call()) or listed
                except NotImplementedError: found = False
                except Exception: found = True
                if found != listed: wrong.append(method)
        print wrong, count > 50)"_lines),
           0, "[] True\n");
}

// Each text with its standard output and standard error, run as a script and as console lines.
TEST_F(KzHostTest, TextArrivesAsWritten) {
    write("inner.py", "print 'inner'\n");
    serve("untrue.py", "import kz.service\nlog = kz.service.Log()\nlog.SubSystemLookup('x').AddEntry("
                       "log.CreateEntry(0x80000018, 'Python subsystem failed to start'))\n");
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {"print 'trace of the matrix'\nprint ' .. x'\nprint 'ERROR: x'\n", "trace of the matrix\n .. x\nERROR: x\n",
         ""},
        {"import sys\nsys.stderr.write(' .. e')\nsys.stdout.write('o')\nsys.stderr.write('f')\n", "o", " .. ef"},
        {"import sys\nsys.stdout.write('a')\nsys.stdout.flush()\nsys.stdout.write('b')\n", "ab", ""},
        {"import sys\nfor c in 'a\\xe2\\x82\\xac': sys.stdout.write(c); sys.stdout.flush()\n", "a\xE2\x82\xAC", ""},
        {"print 'a\\0b\\r\\x1b[1m\\x03(c)\\xff'\n", std::string("a\0b\r\x1b[1m\x03(c)\xff\n", 14), ""},
        {"import kz\nprint 'held',\nkz.out('line')\nprint 'more',\n", "held\nline\nmore\n", ""},
        {"import kz\nprint 'FOLDER/inner.py'\nkz.eval('@FOLDER/inner.py')\n", "FOLDER/inner.py\ninner\n", ""},
        {R"(
            import atexit, threading, time
            def late(): time.sleep(.2); print 'late'

            threading.Thread(target=late).start()
            _ = atexit.register(eval, '__import__("sys").stdout.write("end")'))"_lines,
         "late\nend", ""},
        {"import os\nr, w = os.pipe()\nos.close(r)\ntry: os.write(w, 'x')\nexcept OSError as e: print e.errno\n\n",
         "32\n", ""},
        {R"(
            import os, resource
            resource.setrlimit(resource.RLIMIT_FSIZE, (999, 999))
            f = open('FOLDER/f', 'wb', 0)
            try: f.write('x' * 2000)
            except IOError as e: sys = os.write(2, str(e.errno))
            )"_lines,
         "", "27"}};
    for (const auto& [text, out, error] : cases)
        for (const bool asLines : {false, true}) {
            SCOPED_TRACE((asLines ? "console: " : "run: ") + text);
            const Ended ended = asLines ? run({"--quiet", "console"}, inFolder(text))
                                        : run({"--quiet", "run", write("script.py", text)});
            expect(ended, 0, out);
            EXPECT_EQ(ended.error, "x: Python subsystem failed to start\n" + std::string(error));
        }
}

TEST_F(KzHostTest, OutputThatIsLostEndsWithAReason) {
    const std::string lines = write("lines.py", "while 1: print 'x' * 100\n"), one = write("one.py", "print 1,");
    const std::string full = " > /dev/full", head = " | head -c 10 >/dev/null; exit ${PIPESTATUS[0]}";
    const char* why = "kzhost: standard output cannot be written: No space left on device\n";
    const std::tuple<std::string, int, const char*> cases[] = {
        {"run " + one + full, 1, why},
        {"eval 1" + full, 1, why},
        {"cmd 'unit.system ?'" + full, 1, why},
        {"commands" + full, 1, why},
        {"servers" + full, 1, why},
        {"--help" + full, 1, why},
        {"--log - run " + one + full, 1, why},
        {"run " + lines + full, 1, "[Errno 28] No space left on device"},
        {"--log /dev/full run " + one + " > /dev/null", 1,
         "kzhost: the log file /dev/full cannot be written: No space"},
        {"run " + lines + head, 141, ""}};
    for (const auto& [words, status, error] : cases) {
        SCOPED_TRACE(words);
        const Ended ended = shell(words);
        expect(ended, status, "", {error});
        EXPECT_EQ(ended.error.empty(), *error == '\0') << ended.error;
    }
}

TEST_F(KzHostTest, LinesLeaveWithTheirStatus) {
    const std::tuple<const char*, int, const char*> cases[] = {
        {"import sys; sys.exit(4)", 4, ""},
        {"raise SystemExit", 0, ""},
        {"raise SystemExit('error: gone')", 0, "the status is 0"},
        {"raise KeyboardInterrupt", 130, "KeyboardInterrupt"},
        {"raise ValueError('\"KeyboardInterrupt\"')", 1, "ValueError"}};
    for (const auto& [line, status, error] : cases) {
        const char* after = status == 1 ? "2\n" : "";
        expect(run({"eval", line, "2"}), status, after, {error});
        expect(run({"console"}, line + std::string("\n2\n")), status, after, {error});
    }
}

TEST_F(KzHostTest, AScriptFindsWhatItExpects) {
    write("helper.py", "import sys\nargv = sys.argv\n");
    write("inner/inner.py", "import sys\nprint sys.argv[1:], sys.path[0] == 'FOLDER/inner'\nf\n");
    const std::string script = write("outer.py", R"(
        import helper, kz, multiprocessing, pickle, subprocess, sys, __main__
        class C(object): pass
        def f(x): return 2 * x
        before = sys.argv, sys.path[0], __main__
        print __name__, __file__ == 'FOLDER/outer.py', sys.argv == [__file__] + list(kz.args()), helper.argv[1:]
        done = pickle.loads(pickle.dumps(C())).__class__ is C, multiprocessing.Pool(1).map(f, [2])
        print done
        print subprocess.check_output([sys.executable, '-c', 'import kz, sys; print kz.__name__, sys.argv[1:]', 'x'])
        try: kz.eval('@FOLDER/inner/inner.py "a b" c')
        except RuntimeError: print before == (sys.argv, sys.path[0], sys.modules['__main__']))"_lines);
    importPaths.clear();
    expect(run({"run", "--quiet", "--", script, "12", "-1", "", "a \"b", "--quiet", "--help"}), 0,
           R"(
               __main__ True True ['12', '-1', '', 'a "b', '--quiet', '--help']
               (True, [4])
               kz ['x']

               ['a b', 'c'] True
               True)"_lines,
           {"name 'f' is not defined"});
    expect(run({"run", "-", "--x"}, "import sys; print sys.argv, sys.path[0] == '', '__file__' in globals()"), 0,
           "['-', '--x'] True False\n");
    expect(run({"eval", "import sys; print sys.argv"}), 0, "['']\n");
}

TEST_F(KzHostTest, ItIsAPythonInterpreterWhenAskedToBeOne) {
    const std::string file = write("file.py", "import kz, sys; print sys.argv[1:], kz.args()");
    serve("toy.py", R"(
        import kz, kzifc
        class Toy(kzifc.Command):
            def cmd_Execute(self, flags): kz.out('toy')
        kz.bless(Toy, 'toy'))"_lines);
    const struct {
        std::vector<std::string> words;
        int status;
        const char* out;
        const char* error = "";
        const char* input = "";
    } cases[] = {
        {{file, "--help", "", "a \"b"}, 0, "['--help', '', 'a \"b'] ('--help', '', 'a \"b')\n"},
        {{"python", file, "run"}, 0, "['run'] ('run',)\n"},
        {{"-c", "import sys; print sys.argv; sys.exit(3)", "a"}, 3, "['-c', 'a']\n"},
        {{"-c", "raise SystemExit('bye')"}, 1, "", "bye\n"},
        {{"-c", "print 1; import kz; kz.eval('toy'); print 2; kz.eval('no')"}, 1, "1\ntoy\n2\n", "RuntimeError"},
        {{"-c", "import atexit, kz; atexit.register(kz.out, 'e'); print kz.symbol.iVALUE_TYPE_STRING"}, 0, "3\ne\n"},
        {{"-W", "error", "-c", "import warnings; warnings.warn('x')"}, 1, "", "UserWarning: x"},
        {{"-ES", "-c", "import sys; print 'site' in sys.modules, sys.flags.ignore_environment"}, 0, "False 1\n"},
        {{"-m", "json.tool"}, 0, "[\n    1\n]\n", "", "[1]"},
        {{"-"}, 0, "read\n", "", "print 'read'"},
        {{}, 0, "True\n", "", "import sys; print sys.executable == '" KZ_BUILD_DIR "/bin/kzhost'"},
        {{"-V"}, 0, "", "Python 2.7"},
        {{"-v", "-c", "import kz"}, 0, "", "import kzu.object # precompiled"},
        {{path("run")}, 0, "a file\n"},
        {{"run"}, 2, "", "SCRIPT"}};
    write("run", "print 'a file'\n");
    std::filesystem::current_path(path());
    for (const auto& [words, status, out, error, input] : cases) expect(run(words, input), status, out, {error});
    importPaths.clear();
    const Ended lazy = run({"-v", "-c", "import kz; kz.symbol, kz.object"});
    for (const char* unused : {"import threading", "import kzifc._command"}) EXPECT_FALSE(lazy.says(unused)) << unused;
}

// A sample of the interpreter's own tests. docs/limits.md lists those that fail, with reasons.
TEST_F(KzHostTest, TheInterpretersOwnTestsPass) {
    if (run({"-c", "import test.test_cmd_line"}).status != 0) GTEST_SKIP() << "Python's test-suite is not installed";
    std::filesystem::current_path(path());
    const Ended ended =
        run({"-m", "test.regrtest", "test_cmd_line", "test_cmd_line_script", "test_readline", "test_sys"});
    EXPECT_EQ(ended.status, 0) << ended.out << ended.error;
}

TEST_F(KzHostTest, OutputAndErrorsGoTheirWays) {
    std::string script = R"(
        import kz, sys
        print 'one'
        kz.out('two', 2)
        sys.stderr.write('remark\n')
        kz.out(' .. no trace')
        def f():
            raise ValueError('wrong')
        f())"_lines;
    for (std::size_t at = 0; (at = script.find('\n', at)) != std::string::npos; at += 2) script.insert(at, "\r");
    expect(runText(script), 1, "one\ntwo 2\n .. no trace\n",
           {"remark\n", "Unhandled exception \"ValueError\"; wrong\n", "script.py: 7\n", "script.py: 8\n"});
}

TEST_F(KzHostTest, BadInputIsNamed) {
    importPaths.clear();
    const std::string zero = write("zero.py", std::string("a\nb\0", 4));
    const std::string none = write("none.txt", "text");
    const std::string good = write("good.py", "");
    write("broken/site.py", "'Python does not start with a site module that cannot add folders'\n");
    const std::tuple<std::vector<std::string>, int, const char*> cases[] = {
        {{"--import-path", "/", "fly"}, 2, "there is no command \"fly\" and no such file; the commands are: run"},
        {{"--nonsense", "/dev/null"}, 2, "there is no option \"--nonsense\""},
        {{"--nonsense", "cmd", "x"}, 2, "there is no option \"--nonsense\""},
        {{"commands", "x"}, 2, "\"x\" is one word too many for commands"},
        {{"run"}, 2, "SCRIPT"},
        {{"run", path("missing.py")}, 2, "missing.py: there is no such file"},
        {{"run", zero}, 2, "zero.py: this is not a text: line 2 contains a NUL byte"},
        {{"run", path()}, 2, "folder"},
        {{"run", none}, 2, "none.txt: no interpreter takes this script"},
        {{"check", "a \"b"}, 2, "argument 1 (a \"b)"},
        {{"--plugin", "/no/such.so", "run", good}, 3, "/no/such.so"},
        {{"--import-path", path("broken"), "run", good}, 4, "good.py: the interpreter \"python\" failed to start"},
        {{"--import-path", path("broken"), "eval", "1"}, 4, "init failed: importing kzu"},
        {{"--alias", "x", "run", good}, 2, "NAME=PATH"},
        {{"--import-path", "/no/such/folder", "run", good}, 2, "/no/such/folder"},
        {{"--log", "/no/such/folder/log", "run", good}, 2, "/no/such/folder/log"}};
    for (const auto& [words, status, error] : cases) expect(run(words), status, "", {error});
    EXPECT_EQ(run({"--help"}).status, 0);
    EXPECT_EQ(run({"--version"}).out, "kzhost " + run({"eval", "print kz.__version__"}).out);
}

TEST_F(KzHostTest, TheLogFileHoldsEveryLineAsJson) {
    const std::string script = write("script.py", "print 'caf\\xe9 \"q\"'\n1/0\n");
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t runs = 20, atOnce = 5;  // each takes ten times as long
#else
    constexpr std::size_t runs = 200, atOnce = 40;
#endif
    for (std::size_t begun = 0; begun < runs; begun += atOnce) {
        std::vector<pid_t> children;
        while (children.size() < atOnce) children.push_back(start({"--log", path("log"), "run", script, "a \xff"}));
        for (const pid_t child : children) EXPECT_EQ(finish(child).status, 1);
    }
    std::map<int, std::vector<nlohmann::json>> all;  // by process
    std::ifstream stream(path("log"));
    for (std::string line; std::getline(stream, line);)
        if (const auto row = nlohmann::json::parse(line); row.value("subsystem", "scripts") == "scripts")
            all[row["process"].get<int>()].push_back(row);
    ASSERT_EQ(all.size(), runs);
    for (const auto& [process, rows] : all) {
        ASSERT_EQ(rows.size(), 5U);
        std::string origins;
        for (const auto& row : rows) origins += row.value("origin", row["time"].get<std::string>().substr(0, 2)) + " ";
        EXPECT_EQ(origins, "script output report report 20 ");
        EXPECT_EQ(rows[0]["text"], script);
        EXPECT_EQ(rows[1]["script"], script);
        EXPECT_EQ(rows[1]["depth"], 1);
        EXPECT_EQ(rows[2]["level"].get<std::string>() + " " + rows[2]["code"].dump(), "FAILED 2147483648");
        EXPECT_LT(rows[2]["entry"].get<int>(), rows[3]["entry"].get<int>());
        EXPECT_EQ(rows[4]["script"].get<std::string>() + rows[4]["arguments"].dump(), script + "[\"a \uFFFD\"]");
        EXPECT_EQ(rows[4]["status"], 1);
        EXPECT_GT(rows[4]["seconds"].get<double>(), 0);
    }
    EXPECT_NE(run({"--log", "-", "run", script}).out.find("q\"\n{\"time\""), std::string::npos);
}

TEST_F(KzHostTest, LinesAreEvaluatedWithTheirResults) {
    expect(run({"eval", "1+1", "x = [3, 'a']", "x", "for i in range(2):", "    print i"}), 0, "2\n3\na\n0\n1\n");
    expect(run({"eval", "1/0", "2"}), 1, "2\n", {"ZeroDivisionError"});
}

TEST_F(KzHostTest, CommandsAreExecutedQueriedAndListed) {
    expect(run({"cmd", "unit.system ?"}), 0, "si\n");
    expect(run({"cmd", "unit.system miles"}), 1, "", {"\"system\": \"miles\" is not one of si metric english"});
    EXPECT_TRUE(std::regex_search(
        run({"commands"}).out, std::regex(R"(\nuser\.value +name\? \[value\?\] \[type\?\] \[choices\?\] \[delete\])")));
    expect(run({"cmd", "@" + write("script.py", "print 'ran'\n")}), 0, "ran\n");
    EXPECT_NE(run({"servers"}).out.find("lineinterpreter"), std::string::npos);
}

TEST_F(KzHostTest, ScenesAreShownConvertedAndOpened) {
    const std::string scene =
        write("a.kzscene", "kzscene 1\nscene \"a\"\nitem \"mesh\" \"m\"\nvalue \"pos.X\" 2\nmesh\n"
                           "point 0 0 0\npoint 1 0 0\npoint 0 1 0\npolygon face 0 0 1 2\nend 1\n");
    const std::string facts = "  1 mesh\n  3 points, 1 polygons\n  from 2 0 0 to 3 1 0 m\n";
    expect(run({"scene", "info", scene}), 0, "FOLDER/a.kzscene\n" + facts);
    expect(run({"scene", "convert", scene, path("b.kzscene")}), 0, "FOLDER/b.kzscene\n" + facts);
    expect(run({"scene", "info", path("b.kzscene")}), 0, "FOLDER/b.kzscene\n" + facts);
    const std::string script = write("s.py", "import kz; print kz.service.Scene().Current().Name()");
    expect(run({"--scene", scene, "run", script}), 0, "a\n");
    const std::string bad = write("bad.kzscene", "kzscene 9\n");
    const std::tuple<std::vector<std::string>, int, const char*> refused[] = {
        {{"scene", "info", bad}, 1, "line 1, column 9: the format has version 9"},
        {{"scene", "convert", scene, path("a.nothing")}, 1, "no saver of scenes is for this extension"},
        {{"--scene", bad, "run", script}, 1, "line 1, column 9"},
        {{"--scene", scene, "eval", "1"}, 2, "--scene is for run"},
        {{"scene"}, 2, "subcommand"}};
    for (const auto& [words, status, why] : refused) expect(run(words), status, "", {why});
}

TEST_F(KzHostTest, PasswordsAreAskedForWithoutBeingShown) {
    serve("login.py", R"(
        import kz, kzu.command
        class Login(kzu.command.Command):
          arguments = [kzu.command.Argument('pin', 'integer', password=True)]
          def execute(self, pin): print pin
        kz.bless(Login, 'login'))"_lines);
    expect(run({"cmd", "?login"}, "471x\n4711\n"), 0, "4711\n", {"the password is not an integer"});
    const Ended shown = run({"cmd", "??login pin:4710"}, "4712\n");
    expect(shown, 0, "4712\n", {"[***]"});
    EXPECT_FALSE(shown.says("471")) << shown.error;
}

TEST_F(KzHostTest, DialogsAskAsTheHintsSay) {
    serve("hinted.py", R"(
        import kz, kzifc
        import kz.object as k
        from kz.symbol import fUIHINT_HIDDEN, fUIHINT_PASSWORD, fVALHINT_FILTER, fVALHINT_POPUPS

        NAMES, TYPES = ['size', 'pin', 'mode', 'unseen'], ['integer', 'string', 'string', 'string']

        class Hints(kzifc.UIValueHints):
          mode = False

          def uiv_Flags(self):
            return fVALHINT_POPUPS if self.mode else fVALHINT_FILTER

          def uiv_PopCount(self):
            return 2

          def uiv_PopInternalName(self, index):
            return ('fast', 'exact')[index]

          def uiv_StringFilter(self, text):
            if 'x' in text: kz.throw(kz.result.INVALIDARG)
            return text.strip('!')

        class Modes(Hints):
          mode = True

        class Hinted(kzifc.Command, kzifc.Attributes, kzifc.AttributesUI):
          def __init__(self):
            self.values = {}

          def cmd_Execute(self, flags):
            print self.values

          def attr_Count(self):
            return 4

          def attr_Name(self, index):
            return NAMES[index]

          def attr_TypeName(self, index):
            return TYPES[index]

          def attr_SetString(self, index, text):
            self.values[NAMES[index]] = text

          def attr_SetInt(self, index, number):
            self.values[NAMES[index]] = number

          def atrui_UIHints(self, index, hints):
            hints = k.UIHints(hints)
            if index == 0: hints.Range(1.0, 9.0)
            if index == 1: hints.Flags(fUIHINT_PASSWORD, fUIHINT_PASSWORD)
            if index == 3: hints.Flags(fUIHINT_HIDDEN, fUIHINT_HIDDEN)

          def atrui_UIValueHints(self, index):
            if index == 1: return Hints()
            if index == 2: return Modes()
            kz.throw(kz.result.NOTFOUND)

        kz.bless(Hinted, 'hinted'))"_lines);
    const Ended asked = run({"cmd", "??hinted"}, "0\n10\n7\n47x1\n!4712!\nexact\n");
    for (const char* said :
         {", from 1, up to 9", "0 is below 1", "10 is above 9", "one of fast exact", "that password is not allowed"})
        EXPECT_TRUE(asked.says(said)) << said << asked.error;
    EXPECT_FALSE(asked.says("unseen")) << asked.error;
    std::string tries;
    for (int count = 0; count < 20; ++count) tries += "47x1\n";
    const Ended refused = run({"cmd", "??hinted"}, "7\n" + tries);
    EXPECT_NE(refused.status, 0);
    EXPECT_FALSE(refused.says("47x1")) << refused.error;  // nor does the last failure tell the password
    EXPECT_EQ(asked.out, "{'mode': 'exact', 'pin': '4712', 'size': '7'}\n");
}

TEST_F(KzHostTest, ThePipedConsoleGoesOnAfterAFailure) {
    expect(run({"console"}, "1+1\nfor i in range(2):\n  print i\n\n1/0\r\n'end'\n"), 1, "2\n0\n1\nend\n",
           {"ZeroDivisionError"});
    expect(run({"console"}), 0, "");
}

TEST_F(KzHostTest, APastedScriptRunsAsAtThePromptOfPython) {
    std::string script, expected;
    for (int at = 0; at < 150; ++at) {
        script += std::regex_replace(R"(
            def fN(a,
                b=N):
                """It's

                "long"."""
                return a + b

            fN(1))"_lines,
                                     std::regex("N"), std::to_string(at));
        expected += std::to_string(at + 1) + "\n";
    }
    const Ended ended = run({"console"}, script);
    EXPECT_EQ(ended.out, expected);
    EXPECT_EQ(ended.status, 0) << ended.error;
}

TEST_F(KzHostTest, WhatIsTypedRunsOnce) {
    const std::pair<const char*, const char*> table[] = {
        {"print 1 \\\n+ 1\n", "2\n"},
        {"n = 0\nn += 1 \\\n\nn\n", "1\n"},  // an empty line ends it
        {"n = [\n0]\nn[0] += 1; n = (n + \\\n[1,\n\n2]) \\\n+ [3]\nn\n", "1\n1\n2\n3\n"},
        {"if 1:\n  print 'a', \\\n  'b'\n\n", "a b\n"},
        {"'it\\\n is'\n'it\\\n'\n", "it is\nit\n"},
        {"# no \\\n'(' # ( \\\n\"(\"\n", "(\n(\n"},
        {"s = '''a\nb\n\nc'''\ns\n", "a\nb\n\nc\n"},
        {"x = 1 + \\\n2\nx\n", "3\n"},
        {"if 1:\n  y = [1,\n\n  '''p\n\nq''']\n\ny[1]\n", "p\n\nq\n"},
        {"(  # no end\ndef g\n'it\\\ns' '(' # (\n", "its(\n"}};
    for (const auto& [typed, out] : table) EXPECT_EQ(run({"console"}, typed).out, out) << typed;
}

TEST_F(KzHostTest, LongBlocksAreTakenAsShortOnesAre) {
    std::string block = "def f():\n  n = 0\n";
    for (int at = 0; at < 300; ++at) block.append("  if n >= 0:\n    n += \\\n    1\n    s = '''\n\n'''\n");
    for (const char* end : {"  return n, len(s)\n\nf()\n", "  return n, len(s)\n\n\nf()"})
        EXPECT_EQ(run({"console"}, block + end).out, "300\n2\n") << end;
    expect(run({"console"}, block + "  return (]\n\nf()\n'on'\n"), 1, "on\n",
           {"invalid syntax", "name 'f' is not defined"});
}

// Types each text, Ctrl-C and Ctrl-D included, when the prompt appears. A program that shows none is killed.
const std::string typist = R"(
    import kz, os, pty, re, select, signal
    program, child = kz.args()[0], pty.fork()
    if not child[0]: os.execl(program, program, *kz.args()[1:])
    def heard():
        text = ''
        while not text.endswith(('>>> ', '? ', '(Pdb) ')):
            if not select.select([child[1]], [], [], 60)[0]: os.kill(child[0], signal.SIGKILL)
            try: text += os.read(child[1], 512) or 1 / 0
            except OSError: break
        return text)"_lines;

TEST_F(KzHostTest, TheConsoleIsAsPythonsPrompt) {
    setenv("XDG_STATE_HOME", path().c_str(), 1);
    setenv("TERM", "xterm", 1);
    importPaths = {KZ_SOURCE_DIR "/tests/support"};
    const Ended ended = run({"run", KZ_SOURCE_DIR "/tests/host/console.py", program});
    EXPECT_NE(ended.out.find(" checks, 0 failed\n"), std::string::npos) << ended.out << ended.error;
}

// Debuggers need what ./dev setup test brings.
TEST_F(KzHostTest, ObeysStopsAndDebuggers) {
    setenv("XDG_DATA_HOME", KZ_SOURCE_DIR "/build/data", 1);
    importPaths = {KZ_SOURCE_DIR "/tests/support"};
    const Ended ended = run({"run", KZ_SOURCE_DIR "/tests/host/outside.py", program, path()});
    EXPECT_NE(ended.out.find(" checks, 0 failed\n"), std::string::npos) << ended.out << ended.error;
}

TEST_F(KzHostTest, PromptsOfScriptsShowBeforeTheAnswer) {
    const std::string script = write("ask.py", R"(
        import pdb, sys
        print 'a',
        name = raw_input('name? ')
        sys.stdout.write('sure? ')
        sys.stdin.readline()
        pdb.set_trace()
        print 'hello', name)"_lines);
    const std::string talk = R"(
        said = ''
        for answer in 'me', 'yes', 'c':
            said += heard()
            os.write(child[1], answer + '\n')
        said += heard()
        print os.waitpid(child[0], 0)[1], said.replace('\r', ''))"_lines;
    expect(run({"run", write("typist.py", typist + talk), program, "run", script}), 0, R"(
        0 a name? me
        sure? yes
        > FOLDER/ask.py(7)<module>()
        -> print 'hello', name
        (Pdb) c
        hello me
        )"_lines);
}

// A row is a run of the program, and what it prints.
TEST_F(KzHostTest, WhatIsKeptIsThereInTheNextRun) {
    serve("client.py", R"(
        import kz, kz.object, kz.service, kzifc
        class Client(kzifc.PersistenceClient):
            def cc_Setup(self):
                entries = kz.service.Persistence()
                entries.AddValue('runs', 'integer', '1')
                for name, kind in (('tools', kz.symbol.iPERSIST_HASH), ('recent', kz.symbol.iPERSIST_LIST)):
                    entries.Begin(name, kind)
                    entries.AddValue('text', 'string', 'none')
                    entries.End()
            def cc_Loaded(self, root): print 'loaded', self.runs(root).GetInt()
            def cc_Storing(self, root): self.runs(root).SetInt(self.runs(root).GetInt() + 1)
            def runs(self, root): return kz.object.PersistentEntry(root).SubByName('runs').Value()
        kz.bless(Client, 'shop'))"_lines);
    const std::string script = write("keep.py", R"(
        import kz, kz.service
        entries = kz.service.Persistence()
        tools, recent = entries.Lookup('shop/tools'), entries.Lookup('shop/recent')
        runs = entries.Lookup('shop/runs').Value().GetInt()
        tools.Append('a/%%%d' % runs)
        recent.Append('')
        text = recent.SubByName('text').Value()
        print tools.Count(), text.GetString(),
        text.SetString('file %d' % recent.Count())
        entries.Lookup('shop/recent/0')
        print recent.SubByName('text').Value().GetString(), entries.IsModified('shop')
        if tools.Count() > 1:
            entries.Lookup('shop/tools/a%%2F%%25%d' % (runs - 1)).Delete()
        kz.eval('user.value kept 7 type:integer life:config')
        kz.eval('command.alias mine {user.value other 1}'))"_lines);
    importPaths = {path()};
    setenv("KZ_PREFERENCES", path("preferences").c_str(), 1);
    const std::vector<std::string> query{"eval", "print kz.evalN('command.history ?'), kz.evalN('command.alias ?')"};
    const struct {
        std::vector<std::string> words;
        std::string output;
    } rows[] = {
        {{"run", script}, "1 none file 1 True\n"},
        {{"run", script}, "loaded 2\n2 none file 1 True\n"},
        {{"run", script}, "loaded 3\n2 none file 1 True\n"},
        {{"cmd", "user.value kept value:?"}, "loaded 4\n7\n"},
        {{"--no-preferences", "eval", "print kz.evalN('user.value ?')"}, "()\n"},
        {{"--preferences", path("others"), "cmd", "user.value own 1"}, ""},
        {{"cmd", "user.value short 1"}, "loaded 5\n"},
        {{"cmd", "command.alias b {unit.system english}"}, "loaded 6\n"},
        {{"cmd", "b"}, "loaded 7\n"},
        {{"cmd", "user.value kept delete:true"}, "loaded 8\n"},
        {{"cmd", "unit.system ?"}, "loaded 9\nenglish\n"},
        {{"eval", "print kz.evalN('user.value ?'), kz.evalN('command.alias ?')"}, "loaded 10\n() ('b',)\n"},
        {query, "loaded 11\n('user.value name:short value:1', 'command.alias alias:b command:{unit.system english}', "
                "'unit.system system:english', 'user.value name:kept delete:true') ('b',)\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(run(row.words).out, row.output) << contents("words") << contents("err");
}

TEST_F(KzHostTest, PresetsOfTheHostAndOfPythonAreSavedListedAndApplied) {
    serve("names.py", R"(
        import kz, kz.object, kzifc
        class Names(kzifc.PresetType):
            def ptyp_Recognize(self, path):
                if not open(path).read(6) == 'name: ': kz.throw(kz.symbol.e_NOTFOUND, True)
                return 'names'
            def ptyp_Apply(self, path, item): kz.object.Item(item).SetName(open(path).read()[6:])
            def ptyp_CanApplyTo(self, path, item): return kz.object.Item(item).Name() != 'Fixed'
            def ptyp_Save(self, path, item): open(path, 'w').write('name: ' + kz.object.Item(item).Name())
            def ptyp_StoreThumbnail(self, path, image): print 'thumbnail', kz.object.Image(image).Size()
        class Brought(kzifc.PresetDo):
            def pdo_DoByName(self, name):
                if name != 'brought': kz.throw(kz.symbol.e_NOTFOUND, True)
                return '/brought'
            def pdo_Do(self, path, item): kz.object.Item(item).SetName('By ' + path)
        kz.bless(Names, 'names'), kz.bless(Brought, 'brought'))"_lines);
    importPaths = {path()};
    expect(runText(R"(
        import kz, kz.service
        scenes, browser, places = kz.service.Scene(), kz.service.PresetBrowser(), kz.service.PresetDestination()
        scene = scenes.Create('presets')
        a, b, light = [scene.ItemAdd(scenes.ItemTypeLookup(kind)) for kind in 'mesh', 'mesh', 'groupLocator']
        for item, name in (a, 'A'), (b, 'B'), (light, 'Fixed'): item.SetName(name)
        scene.WriteChannels(None, 0).DoubleByName(a, 'pos.X', 2.5)
        kz.eval('preset.save moved A')
        kz.eval('preset.save called A type:names')
        print kz.evalN('preset.list ?'), kz.eval('preset.list called type:?'), kz.evalN('preset.save type:?')
        for line in 'moved B', 'called B', 'brought Fixed': kz.eval('preset.apply ' + line)
        print scene.Channels(None, 0).DoubleByName(b, 'pos.X'), b.Name(), light.Name()
        def refused(call, *given):
            try: return call(*given)
            except Exception as error: return type(error).__name__
        folder = 'FOLDER/config/kzhost/presets/'
        print refused(kz.eval, 'preset.apply moved {By /brought}'), refused(kz.eval, 'preset.apply none A'), \
            refused(browser.Open, None, None)
        idents = kz.service.Value().CreateValueArray('string')
        places.Candidates(folder + 'moved', idents)
        print idents.Count(), places.Identify(a), places.Accepts(light, folder + 'moved'), \
            browser.Recognize(folder + 'called')[1], browser.TypeCount()
        browser.Save(folder + 'third', 'names', a, kz.service.Image().Create(2, 1, kz.symbol.iIMG_FORMAT_GREY, 0))
        packages, package = kz.service.PresetPackage(), folder + '../both'
        packages.Create(package, 'Both')
        for name in 'moved', 'called': packages.AddPreset(package, folder + name, 0)
        packages.Close(package)
        print packages.IsPackage(package), packages.IsPackage(folder + 'called'), packages.Count(package)
        packages.Install(package, 'FOLDER/new/place', kz.service.StdDialog().MonitorAllocate('install'))
        print open('FOLDER/new/place/moved').read() == open(folder + 'moved').read())"_lines),
           0, R"(
        ('called', 'moved') names ('preset.channels', 'preset.profile', 'preset.color', 'names')
        2.5 A By /brought
        RuntimeError RuntimeError RuntimeError
        2 item False names 4
        thumbnail (2L, 1L)
        True False 2
        True)"_lines);
}

TEST_F(KzHostTest, PreferencesSurviveManyWritersAndBadFiles) {
    setenv("KZ_PREFERENCES", path("preferences").c_str(), 1);
    std::vector<pid_t> writers;
    for (int index = 0; index < 50; ++index)
        writers.push_back(start({"cmd", "user.value v" + std::to_string(index) + " 1 life:config"}));
    for (const pid_t writer : writers) finish(writer);
    expect(run({"eval", "print len(kz.evalN('user.value ?')), len(kz.evalN('command.history ?'))"}), 0, "50 50\n");
    for (const char* text : {"", "other 1\n", "kzhost preferences 1\nalias\n", "kzhost preferences 1\nvalue\tcut"}) {
        write("preferences", text);
        EXPECT_TRUE(run({"cmd", "user.value w 1 life:config"}).says(path("preferences.unreadable-"))) << text;
        expect(run({"cmd", "user.value w value:?"}), 0, "1\n");
    }
    EXPECT_EQ(contents("preferences.unreadable-3"), "kzhost preferences 1\nalias\n");
    write("preferences", "kzhost preferences 2\nsecret\n");
    EXPECT_TRUE(run({"cmd", "user.value w 1 life:config"}).says("later version"));
    EXPECT_EQ(contents("preferences"), "kzhost preferences 2\nsecret\n");
    // What this version does not understand stays, and what cannot be written is named.
    write("preferences", "kzhost preferences 1\nfuture\tname\t\\011x\nvalue\tw\tunknown\t1\n");
    EXPECT_TRUE(run({"cmd", "user.value x 1 life:config"}).says("\"w\" is not available"));
    const std::string kept = contents("preferences");
    EXPECT_NE(kept.find("future\tname\t\\011x\nvalue\tw\tunknown\t1\nvalue\tx\tstring\t1\n"), std::string::npos)
        << kept;
    setenv("KZ_PREFERENCES", "/dev/full/preferences", 1);
    EXPECT_TRUE(run({"cmd", "user.value y 1 life:config"}).says("/dev/full/preferences cannot be written: "));
}

TEST_F(KzHostTest, ProgressStaysBelowTheText) {
    setenv("TERM", "xterm", 1);
    const std::string script = write("work.py", R"(
        import kz, sys; a = kz.Monitor(4); print 'one'
        b = kz.Monitor(2); b.step(); del b; sys.stderr.write('two'); a.step(4))"_lines);
    const std::string talk = R"(
        said = re.sub(r'Progress \[#* *\] +(\d+)%', r'{\1}', heard().replace('\x1b', '^').replace('\r\n', '/'))
        print os.waitpid(child[0], 0)[1], re.sub(r'\^7\^\[\?7l(.*?)\^\[\?7h\^8', r'<\1>', said))"_lines;
    expect(run({"run", write("typist.py", typist + talk), program, "run", script}), 0,
           "0 ^D^[1A<\r/{0}>^[Jone^D^[1A<\r/{0}>^[J/^D^[1A<\r/{0}>^[J^D^D^[2A<\r/{0}\r/{0}>^[J^D^D^[2A<\r/{0}\r/{50}>"
           "^[J^D^[1A<\r/{0}>^[Jtwo^D^[1A<\r/{0}>^[J^D^[1A<\r/{100}>^[J/{100}/\n");
}

TEST_F(KzHostTest, AnInterpreterInPythonRunsItsScripts) {
    serve("toy.py", R"(
        import kz, kzifc
        class Toy(kzifc.TextScriptInterpreter):
            def tsi_ValidateHeader(self, header):
                if not header.startswith('#toy'): kz.throw(kz.symbol.e_SCRIPT_UNKNOWN, True)
            def tsi_Run(self, script, flags, args, message):
                text = kz.object.Script(script).Buffer()
                kz.out('toy', text.split()[-1], args)
                if 'bad' in text: kz.throw(kz.symbol.e_NOACCESS, True)
        class Broken(Toy):
            def __init__(self): raise ValueError('never')
        kz.bless(Toy, 'toy', {'loader.dosPattern': '*.toy'})
        kz.bless(Broken, 'broken', {'loader.dosPattern': '*.*'}))"_lines);
    const std::string good = write("good.toy", "play"), bad = write("bad.toy", "bad"),
                      named = write("named", "#toy me");
    expect(run({"cmd", "@" + good + " a"}), 0, "toy play a\n");
    expect(run({"run", good, "a"}), 0, "toy play a\n");
    expect(run({"run", named}), 0, "toy me\n");
    expect(run({"run", bad}), 1, "toy bad\n", {"bad.toy: 0x80000009 NOACCESS: access is denied"});
    expect(run({"run", write("un.known", "x")}), 2, "",
           {"no interpreter takes this script", "\"broken\" cannot be made"});
}

}  // namespace

// The description of the host differs from the plug-in's: an interface that both know has other methods.
TEST_F(KzHostTest, SaysWhyThePluginRefusesIt) {
    std::string plugin = testing::internal::ReadEntireFile(std::fopen(KZ_BUILD_DIR "/plugins/kzPython2.so", "rb"));
    const auto change = [&](std::string_view found) {
        const std::size_t at = plugin.find(found);
        ASSERT_NE(at, std::string::npos);
        plugin[at] ^= 1;
    };
    change(kzDescriptionHash);
    for (const KzIdentityRow& row : kzIdentityRows)
        if (row.iid == KZu_MESH) change({reinterpret_cast<const char*>(&row.signature), sizeof row.signature});
    expect(run({"--plugin", write("other.so", plugin), "run", write("script.py", "print 1")}), 3, "",
           {kzDescriptionHash, "interfaces that differ: Mesh\n"});
}
