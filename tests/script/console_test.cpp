// The console: when a statement is complete, its results, and its state.
#include "host/state/call_watch.h"
#include "tests/support/host_test.h"

#include "kz/module.h"
#include "kz/result.h"

using namespace kzhost;

namespace {

struct Session {
    const char* lines;
    std::string heard;
};

// What is heard of an exception: its type and text, the lines below, and the code.
std::string error(const std::string& what, const std::string& below, const char* code = "80000000") {
    return "ERROR: Unhandled exception " + what + "\n" + below + "\ncode " + code + "\n";
}

class ConsoleTest : public PluginTest {
protected:
    void check(std::initializer_list<Session> table) {
        for (const auto& [lines, heard] : table) EXPECT_EQ(session.run(lines), heard) << lines;
    }
};

}  // namespace

TEST_F(ConsoleTest, RunsAStatementAsSoonAsItIsComplete) {
    check({{"1+1\nfor i in range(3):\n  print i\n\nx = 5\nx*2\n", "= 2\n0\n1\n2\n= 10\n"},
           {"if 0:\n  1\nelse:\n  print 'no'\n\n", "no\n"},
           {"try:\n  1/0\nexcept ZeroDivisionError:\n  print 'caught'\nfinally:\n  print 'done'\n\n", "caught\ndone\n"},
           {"for i in (1, 2):\n    for j in (1, 2):\n        print i * j\n    print '-'\n\n", "1\n2\n-\n2\n4\n-\n"},
           {"def decorate(f):\n  return 'decorated'\n\n@decorate\ndef g():\n  pass\n\ng\n", "= decorated\n"},
           {"for i in (7,):\n  # a comment in the block\n  print i\n\n", "7\n"},
           {"if 1:\n\tprint 'tab'\n\n", "tab\n"},
           {"(1 +\n2)\n\n", "= 3\n"},
           {"class C:\n  def f(self):\n    return 3\n\nC().f()\n", "= 3\n"},
           {"print 1; print 2\n", "1\n2\n"},
           {"# nothing but a comment\n", ""},
           {"'''one\ntwo'''.split()\n\n", "= one two\n"},
           // The line feeds that tell an unfinished statement from a wrong one stay in it: they are required, and a
           // statement that a backslash continues ends at the first of them.
           {"'''one\ntwo'''.count(chr(10))\n\n", "= 4\n"},
           {"1 + \\\n2\n",
            "ERROR: Unhandled exception \"SyntaxError\"; invalid syntax (<stdin>, line 2)\ncode 80000000\n"}});
}

TEST_F(ConsoleTest, AnswersValuesAsTexts) {
    check({{"None\n", ""},
           {"'a b'\n", "= a b\n"},
           {"u'\\xe9'\n", "= \xC3\xA9\n"},
           {"len(u'\xC3\xA9'), len('\xC3\xA9')\n", "= 1 2\n"},
           {"# -*- coding: latin-1 -*-\n_\n", "= 1 2\n"},
           {"None\n_ * 2\n_[1:3]\n", "= 1 2 1 2\n= 2 1\n"},
           {"''\n", "= \n"},
           {"(1, None, 'x', u'\\xe9')\n", "= 1 None x \xC3\xA9\n"},
           {"[]\n", "=\n"},
           {"xrange(3)\n", "= 0 1 2\n"},
           {"{'a': 1}\n", "= {'a': 1}\n"},
           {"'a\\0b'\n", "= a\\x00b\n"},
           {"x = []\nx.append(x)\nx\n", "= [[...]]\n"},
           {"class Bad(object):\n  def __str__(self): raise ValueError('no text')\n\nBad()\n",
            error("\"ValueError\"; no text", " .. <stdin>: 5")},
           {"class Bad(object):\n  def __getitem__(self, i): raise KeyError('item')\n  def __len__(self): return "
            "1\n\nBad()\n",
            error("\"KeyError\"; 'item'", " .. <stdin>: 5")},
           {"'still here'\n", "= still here\n"}});
}

TEST_F(ConsoleTest, ReportsWhatALineRaisesAndStaysReady) {
    const std::string first = " .. <stdin>: 1", syntax = "\"SyntaxError\"; invalid syntax (<stdin>, line 1)";
    check({{"1/0\n", error("\"ZeroDivisionError\"; integer division or modulo by zero", first)},
           {"for\n", error(syntax, "    for\n      ^")},
           {"  indented\n", error("\"IndentationError\"; unexpected indent (<stdin>, line 1)", "    indented\n    ^")},
           {"def f():\n  return 1\n 2\n\n",
            error("\"IndentationError\"; unindent does not match any outer indentation level (<stdin>, line 6)",
                  "    2\n    ^")},
           {"'\xE6\x97\xA5' 1\n", error(syntax, "    '\xE6\x97\xA5' 1\n        ^")},
           {"import sys\nsys.exit(3)\n", "sys.exit() exception\n .. <stdin>: 1\ncode 80000000\n"},
           {"raise KeyboardInterrupt\n", error("\"KeyboardInterrupt\"", first)},
           {"raise LookupError('gone')\n", error("\"LookupError\"; gone", first, "80000017")},
           {"import kz\nkz.throw(0x80000003, 1)\n", "code 80000003\n"},
           {"kz.throw(0x80000003)\n", error("\"TypeError\"; invalid argument", first, "80000003")},
           {"kz.notimpl()\n", "code 80000001\n"},
           {"import sys; sys.stderr.write('told\\n'); print 'out',\n", "told\nout\n"},
           {"kz.trace(True); kz.out('x'); kz.trace(False)\n",
            "trace: kz.trace - Enabled\nx\ntrace: kz.trace - Disabled\n"},
           {"1+1\n", "= 2\n"},
           {"from __future__ import division, print_function\n1 / 2; print(3, end='.')\n1 / 2\nprint 4\n",
            "3.\n= 0.5\n" + error(syntax, "    print 4\n          ^")}});
}

TEST_F(ConsoleTest, PromptsAndForgets) {
    EXPECT_EQ(session.execute(""), KZe_SCRIPT_LINEISCOMMENT);
    EXPECT_EQ(session.prompt() + session.prompt(true), ">>> ... ");
    EXPECT_EQ(session.execute("if 1:"), KZe_OK);
    EXPECT_EQ(session.prompt() + session.prompt(true), "... >>> ");
    session.reset();
    EXPECT_EQ(session.prompt(), ">>> ");
    EXPECT_EQ(session.run("'fresh'\n"), "= fresh\n");

    // Consoles share their names, and a script's names are its own.
    CTestSession other(host);
    session.run("shared = 1\n");
    host.run("shared = 2\n");
    EXPECT_EQ(other.run("shared\n"), "= 1\n");
}

TEST_F(ConsoleTest, WorksWithoutAnyoneToHearIt) {
    CKzUser_LineInterpreter bare;
    CKzLoc_Unknown object;
    bare.set(host.spawn(KZa_LINEINTERPRETER, object).raw());
    EXPECT_EQ(bare->Execute("print 1", nullptr), KZe_OK);
    EXPECT_EQ(bare->Execute("2", nullptr), KZe_OK);
    EXPECT_EQ(bare->Execute(nullptr, nullptr), KZe_SCRIPT_LINEISCOMMENT);
    EXPECT_EQ(bare->Execute("2", bare.raw()), KZe_OK);  // an object that is no console
    host.host.failOperation("Command.CreateQueryObject", KZe_NOACCESS);
    EXPECT_EQ(session.run("2\n"), "code 80000000\n");
    host.host.calls().heal();
    EXPECT_EQ(session.run("2\n"), "= 2\n");
}

TEST_F(ConsoleTest, TakesLongPastes) {
    std::string block = "total = 0\nif 1:\n";
    for (int line = 0; line < 1000; ++line) block += "  total += 1\n";
    EXPECT_EQ(session.run(block + "\ntotal\n"), "= 1000\n");
    EXPECT_EQ(session.run("len('" + std::string(100'000, 'x') + "')\n"), "= 100000\n");
    // Nested too deeply for the compiler, which must not end the process.
    const std::string deep = session.run(std::string(5000, '(') + std::string(5000, ')') + "\n1\n");
    EXPECT_TRUE(deep.ends_with("code 80000002\n= 1\n")) << deep;
}
