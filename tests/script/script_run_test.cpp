// Script runs: the script's environment, how it ended, and that it leaves nothing behind.
#include "host/core/message.h"

#include "host/core/scripts.h"
#include "host/state/call_watch.h"
#include "tests/support/host_test.h"

#include "kz/module.h"
#include "kz/result.h"

#include <csignal>
#include <cstdlib>
#include <regex>

using namespace kzhost;

using ScriptRunTest = PluginTest;

TEST_F(ScriptRunTest, IsAskedByTheWordPython) {
    CKzLoc_Unknown object;
    const CKzUser_TextScriptInterpreter interpreter(host.spawn(KZa_TEXTSCRIPTINTERPRETER, object).raw());
    const std::pair<const char*, KzResult> table[] = {
        {"#python", KZe_OK},      {"#!/usr/bin/python2.7", KZe_OK}, {"no python here", KZe_OK},
        {"", KZe_SCRIPT_UNKNOWN}, {"#Python", KZe_SCRIPT_UNKNOWN},  {nullptr, KZe_SCRIPT_UNKNOWN}};
    for (const auto& [header, code] : table)
        EXPECT_EQ(interpreter->ValidateHeader(header), code) << (header ? header : "-");

    const CKzUser_TagDescription tags(interpreter.raw());
    std::string all;
    for (std::uint32_t index = 0; index < tags.Count(); ++index) {
        KzTagRecord record{};
        EXPECT_EQ(tags.Describe(index, &record), KZe_OK);
        all += std::string(record.type) + "=" + record.tag + ";";
    }
    EXPECT_EQ(all, "server.username=Python Scripts;loader.dosPattern=*.py;saver.dosType=PY;");
    KzTagRecord record{};
    EXPECT_EQ(tags.Describe(3, &record), KZe_OUTOFBOUNDS);
    EXPECT_EQ(interpreter->Run(nullptr, 0, "", nullptr), KZe_INVALIDARG);
    EXPECT_EQ(interpreter->Run(CHostRef<CScript>::make("quiet.py", "1/0").raw(), 0, nullptr, nullptr), KZe_FAILED);
}

CKzUser_InterpreterStop theStop;

// Before the start, from a signal handler, twice, after the script's end, and after the interpreter's.
TEST_F(ScriptRunTest, IsStoppedFromOutside) {
    CKzLoc_Unknown object;
    theStop.set(host.spawn(KZa_TEXTSCRIPTINTERPRETER, object).raw());
    EXPECT_EQ(theStop.Stop(), KZe_NOTAVAILABLE);
    EXPECT_EQ(theStop.Prepare(), KZe_OK);
    EXPECT_EQ(theStop.Prepare(), KZe_OK);
    std::signal(SIGUSR1, [](int) { EXPECT_EQ(theStop.Stop(), KZe_OK); });
    const std::string swallow = "\n  while True:\n    try: spin()\n    except: pass\n";
    for (const std::string stops : {"kill(getpid(), 10)", "kill(getpid(), 10); kill(getpid(), 10)"}) {
        EXPECT_EQ(theStop.Stop(), KZe_OK);
        EXPECT_EQ(host.run("import sys\nassert sys.gettrace() is None").code, KZe_OK) << "it began after the stop";
        host.clearLog();
        EXPECT_EQ(
            host.run("from os import *\nimport sys\nsys.settrace(lambda *a: None)\ndef spin():\n  while True: pass\n"
                     "def swallow():" +
                     swallow + stops + "\ntry: swallow()\nfinally: f = sys.gettrace")
                .code,
            KZe_FAILED);
        EXPECT_NE(host.log("python").find("where Python was:\nthread "), std::string::npos) << host.log("python");
        EXPECT_EQ(host.run("import sys\nassert sys.gettrace()\nsys.settrace(None)").code, KZe_OK) << "given back";
    }
    host.host.unload();
    EXPECT_EQ(theStop.Stop(), KZe_NOTAVAILABLE);
    EXPECT_EQ(theStop.Prepare(), KZe_NOTAVAILABLE);
    theStop.clear();
}

TEST_F(ScriptRunTest, SplitsItsArguments) {
    const std::pair<const char*, const char*> table[] = {{"", "()"},
                                                         {"   ", "()"},
                                                         {"\"\"", "()"},
                                                         {"a b", "('a', 'b')"},
                                                         {"a \"b c\"d x\"\"y", "('a', 'b c', 'd', 'x\"\"y')"},
                                                         {"  \"open", "('open',)"},
                                                         {"\"a\"\"b\" \"\" c", "('a', 'b', 'c')"},
                                                         {"a\tb c\\\"d", "('a\\tb', 'c\\\\\"d')"},
                                                         {"\"", "()"},
                                                         {"\xC3\xA9", "('\\xc3\\xa9',)"}};
    for (const auto& [args, tuple] : table) {
        const std::string text = host.output("import kz; kz.out(repr(kz.args())); kz.out(repr(kz.arg()))", args);
        EXPECT_TRUE(text.starts_with(std::string("test.py\n  ") + tuple + "\n")) << args << ": " << text;
    }
    EXPECT_EQ(host.output("import kz; kz.out(repr(kz.arg()))", "  "), "test.py\n  '  '\n");
}

TEST_F(ScriptRunTest, TellsHowItEnded) {
    const std::tuple<const char*, KzResult, const char*> table[] = {
        {"pass", KZe_OK, nullptr},
        {"", KZe_OK, nullptr},
        {"import sys; sys.exit()", KZe_OK, nullptr},
        {"raise SystemExit", KZe_OK, nullptr},
        {"import sys; sys.exit(None)", KZe_OK, nullptr},
        {"import sys; sys.exit('')", KZe_OK, nullptr},
        {"import sys; sys.exit(0)", KZe_OK, "exit_code|OK"},
        {"import sys; sys.exit(1234)", 1234, "exit_code|<unknown code>"},
        {"import sys; sys.exit('word')", KZe_OK, "exit_code|OK"},
        {"import sys; sys.exit(-1)", 0xFFFFFFFFU, "exit_code|<unknown code>"},
        {"import sys; sys.exit(99999999999999999999)", 0xFFFFFFFFU, "exit_code|<unknown code>"},
        {"import sys; sys.exit('KZe_NOTFOUND:no mesh')", KZe_NOTFOUND, "exit_code_msg|NOTFOUND|no mesh"},
        {"import sys; sys.exit('KZe_NOTFOUND:a:b')", KZe_NOTFOUND, "exit_code_msg|NOTFOUND|a:b"},
        {"import sys; sys.exit(u'KZe_NOTFOUND:\\xe9')", KZe_NOTFOUND, "exit_code_msg|NOTFOUND|\xC3\xA9"},
        {"import sys; sys.exit('KZe_NOSUCH:why')", KZe_FAILED, "exit_code_msg|FAILED|why"},
        {"import sys; sys.exit('KZe_NOTFOUND:')", KZe_NOTFOUND, "exit_code|NOTFOUND"},
        {"import sys; sys.exit('0x80000019')", KZe_DISABLED, "exit_code|DISABLED"},
        {"import sys; sys.exit('0X80000019:off')", KZe_DISABLED, "exit_code_msg|DISABLED|off"},
        {"import sys; sys.exit(':only words')", KZe_FAILED, "exit_msg|only words"},
        {"import sys; sys.exit(':')", KZe_FAILED, nullptr},
        {"import sys; sys.exit((1, 2))", KZe_OK, "exit_code|OK"},
        {"raise ValueError('bad')", KZe_FAILED, "script_err|Unhandled exception \"ValueError\" @ test.py: line 1; bad"},
        {"def f():\n  g()\ndef g():\n  raise KeyError\nf()", KZe_FAILED,
         "script_err|Unhandled exception \"KeyError\" @ test.py: line 4 / test.py: line 2 / test.py: line 5; "},
        {"class Old: pass\nraise Old()", KZe_FAILED, nullptr},
        {"x = (", KZe_FAILED,
         "script_err|Unhandled exception \"SyntaxError\"; unexpected EOF while parsing (test.py, line 1)"},
        {"import kz\nkz.throw(0x80000017)", KZe_FAILED,
         "script_err|Unhandled exception \"LookupError\" @ test.py: line 2; not found"},
        {"class Mute(Exception):\n  def __str__(self): raise ValueError\nraise Mute()", KZe_FAILED, nullptr},
        {"class Mute(Exception):\n  def __str__(self): raise ValueError\nraise SystemExit(Mute())", KZe_FAILED,
         "exception|ValueError; |        ..test.py: line 2"},
        {"# -*- coding: latin-1 -*-\nimport sys\nsys.exit(int(u'\xE9' != u'\\xe9'))", KZe_OK, "exit_code|OK"},
        {"#coding: nonsense\n", KZe_FAILED,
         "script_err|Unhandled exception \"SyntaxError\"; unknown encoding: nonsense (test.py, line 0)"},
        {"def f(): f()\ntry: f()\nexcept RuntimeError: pass\nelse: 1/0", KZe_OK, nullptr},
        {"import sys\nsys.exit(2)   \n\n  # trailing words (\n\t\n", 2, "exit_code|WARNING"},
        {"x = 1\n# a (\n\n#b", KZe_OK, nullptr}};
    for (const auto& [text, code, expected] : table) {
        const auto message = CHostRef<CMessage>::make();
        CKzLoc_Unknown object;
        const CKzUser_TextScriptInterpreter interpreter(host.spawn(KZa_TEXTSCRIPTINTERPRETER, object).raw());
        const auto script = CHostRef<CScript>::make("test.py", text);
        EXPECT_EQ(interpreter->Run(script.raw(), 0, "", message.raw()), code) << text;
        if (expected == nullptr) continue;
        const char* texts[] = {"", "", ""};
        message->msg_Key(&texts[0]);
        for (std::uint32_t index : {1, 2}) message->msg_Argument(index, &texts[index]);
        std::string told;
        for (const char* each : texts) told += (told.empty() || *each == '\0' ? "" : "|") + std::string(each);
        EXPECT_EQ(told, expected) << text;
        EXPECT_EQ(message->msg_Code(), told.starts_with("exception") ? KZe_FAILED : KZe_OK) << text;
    }
}

TEST_F(ScriptRunTest, StartsAfreshAndLeavesNothingBehind) {
    const std::pair<const char*, KzResult> runs[] = {
        {"leftover = 1; import kz; del kz", 0},
        {"assert 'leftover' not in globals(); kz.out('there')", 0},
        {"import sys; sys.stdout = None; sys.stderr = 5; print 'lost'", KZe_FAILED},
        {"import sys; assert sys.stdout is not None; print 'back'", KZe_FAILED},
        {"import sys; sys.stdout = sys.__stdout__; sys.stderr = sys.__stderr__", 0},
        {"import __main__; __main__.__dict__.clear()", 0},
        {"print 1", 0},
        {"import sys; sys.modules.clear()", 0},
        {"1/0", KZe_FAILED}};
    for (const auto& [script, code] : runs) EXPECT_EQ(host.run(script).code, code) << script;
    EXPECT_EQ(host.run("").code, 0U);
}

TEST_F(ScriptRunTest, KeepsWhatBelongsToTheOuterScript) {
    const CTestFolder folder;
    const std::string inner = folder.write("inner.py", R"(
        #python
        import kz, sys
        kz.setOption('queryAnglesAs', 'degrees')
        kz.out('in', kz.args())
        if kz.args() == ('2',): sys.exit(7)
        1/0)"_lines);
    const auto withInner = [&](const std::string& text) {
        return std::regex_replace(text, std::regex("INNER"), inner);
    };
    const std::string outer = withInner(R"(
        import kz, kz.service
        run = kz.service.ScriptSys().Run
        print 'unfinished',
        try: run('INNER', 0, '1 "2 3"', None)
        except RuntimeError as e: kz.out('out', e)
        run('INNER', 0, '2', None)
        kz.out(kz.lastResult(), kz.arg(), kz.option('queryAnglesAs')))"_lines);
    EXPECT_EQ(host.output(outer, "own arguments"), withInner(R"(
        test.py
          unfinished
          INNER
            in ('1', '2 3')
            [80000000] Unhandled exception "ZeroDivisionError"; integer division or modulo by zero
             .. INNER: 6
          out bad result: FAILED
          INNER
            in ('2',)
          7 own arguments radians)"_lines));
}

TEST_F(ScriptRunTest, TrimsNothingButIdleLinesAtTheEnd) {
    const std::pair<const char*, const char*> table[] = {{"print 1\n\n  \n# c\n   # d", "1"},
                                                         {"print len('''\n# kept\n\n''')", "9"},
                                                         {"print 1 # c", "1"},
                                                         {"\n\n\nprint 1\n\f\v\r\n", "1"},
                                                         {"if 1:\n  print 1\n  # c\n# d\n", "1"}};
    for (const auto& [script, printed] : table)
        EXPECT_EQ(host.output(script), std::string("test.py\n  ") + printed + "\n") << script;
}

TEST_F(ScriptRunTest, ReportsWhenItCannotBeReadOrReached) {
    for (const char* operation : {"Log.SubSystemLookup", "Log.CreateEntry"}) {
        host.host.failOperation(operation, KZe_NOACCESS);
        EXPECT_EQ(host.run("import kz; kz.out(1); print 2; 1/0").code, KZe_FAILED) << operation;
        host.host.calls().heal();
    }
    EXPECT_EQ(host.output("print 1"), "test.py\n  1\n");
}

TEST_F(ScriptRunTest, KeepsNothingHoweverOftenItRuns) {
    // The interpreter's debug build counts every reference; the others count what the collector knows.
    session.run("import gc, sys; count = getattr(sys, 'gettotalrefcount', lambda: len(gc.get_objects()))\n");
    const char* scripts[] = {"import kz; kz.out(kz.args()); print 1,",
                             "1/0",
                             "x = (",
                             "import sys; sys.exit('KZe_NOTFOUND:x')",
                             "class C:\n  def f(self): pass\nC().f()",
                             "import kz\ntry: 1/0\nexcept: kz.outEx(); kz.excResult()"};
    const auto count = [&] {
        for (int round = 0; round < 20; ++round)
            for (const char* script : scripts) host.run(script, "a 'b'");
        host.clearLog();
        session.run("1/0\n(1, 2)\nx = )\n");
        const std::string text = session.run("gc.collect() * 0 + count()\n");
        return std::stol(text.substr(2));
    };
    count();
    const long before = count();
    EXPECT_LE(std::abs(count() - before), 5);
}
