// What scripts print, write and raise, as the log has it.
#include "tests/support/child.h"
#include "tests/support/host_test.h"

#include "kz/result.h"

namespace {

struct Row {
    std::string script;
    std::vector<std::string> lines;
};

class OutputTest : public PluginTest {
protected:
    void check(const std::vector<Row>& table) {
        for (const auto& [script, lines] : table) {
            std::string expected = lines.empty() ? "" : "test.py\n";
            for (const std::string& line : lines) expected += "  " + line + "\n";
            EXPECT_EQ(host.output(script), expected) << script;
        }
    }
    // Scripts with the type and text of what they raise, and the lines of its frames.
    void raises(const std::vector<std::tuple<const char*, std::string, std::string, std::vector<int>>>& table) {
        for (const auto& [script, type, text, frames] : table) {
            std::vector<std::string> lines = {"[80000000] Unhandled exception \"" + type + "\"" + text};
            for (const int frame : frames) lines.push_back(" .. test.py: " + std::to_string(frame));
            check({{script, lines}});
        }
    }
};

}  // namespace

TEST_F(OutputTest, ComesLineByLine) {
    check({{"print 1, 'a', None", {"1 a None"}},
           {"print 'a',\nprint 'b'\nprint", {"a b", ""}},
           {"print 'a',", {"a"}},
           {"import sys\nsys.stdout.write('a\\nb')\nsys.stdout.write('c\\n\\nd')", {"a", "bc", "", "d"}},
           {"import sys\nsys.stdout.writelines(['a', 'b\\n', u'c'])", {"ab", "c"}},
           {"import sys\nsys.stdout.write('a')\nsys.stdout.flush()\nsys.stdout.write('b')", {"ab"}},
           {"import sys\nsys.stdout.write('out')\nsys.stderr.write('err\\n')\nprint 'more'",
            {"out", "[00000002] err", "more"}},
           {"import kz\nprint 'held',\nkz.out('between')\nprint 'after'", {"held", "between", "after"}},
           {"print u'\\xe9', '\\xc3\\xa9'", {"\xC3\xA9 \xC3\xA9"}},
           {"print u'\\u20ac'", {"\xE2\x82\xAC"}},
           {"print 'a\\0b'", {"a\\x00b"}},
           {"import kz\nkz.out('a\\0b')", {"a\\x00b"}},
           {"import kz\nkz.out(1, 'x', None)", {"1 x None"}},
           {"import kz\nkz.out('', 'x', '', 'y', '')", {"x y"}},
           {"import kz\nkz.out()", {""}},
           {"import kz\nkz.out(u'\\xe9')", {"\xC3\xA9"}},
           {"print 'x' * 5", {"xxxxx"}},
           {"import sys\nprint >>sys.stderr, 'e'", {"[00000002] e"}},
           {"from __future__ import print_function\nprint('a', 'b', sep='-', end='')", {"a-b"}},
           {"import sys\nprint sys.stdout.encoding, sys.stdout.isatty(), sys.stdout.fileno(), sys.stderr.fileno(), "
            "sys.stdout.softspace, sys.stdout.closed, sys.stdout.name",
            {"UTF-8 False 1 2 1 False <stdout>"}},
           {"import sys\nsys.stdout.close()\nprint 'open'", {"open"}},
           {"import sys\ntry: sys.stdout.write(5)\nexcept TypeError: print 'refused'", {"refused"}},
           {"import sys\ntry: sys.stdout.writelines(['x', 5])\nexcept TypeError: print 'refused'", {"xrefused"}},
           {"import sys\nsys.stdout.write(buffer('b'))\nsys.stdout.write(bytearray('c'))", {"bc"}},
           {R"(
               import sys
               out, sys.stdout = sys.stdout, None
               try: print 'gone'
               except AttributeError: sys.stdout = out
               print 'here')"_lines,
            {"here"}},
           {R"(
               import StringIO, sys
               old, sys.stdout = sys.stdout, StringIO.StringIO()
               print 'kept'
               text, sys.stdout = sys.stdout.getvalue(), old
               print repr(text))"_lines,
            {"'kept\\n'"}},
           {"import logging\nlogging.warning('careful')", {"[00000002] WARNING:root:careful"}},
           {"import kz, threading\nt = threading.Thread(target=lambda: kz.out('thread'))\nt.start()\nt.join()",
            {"thread"}},
           {"import subprocess, sys\nprint subprocess.call(['true'], stdout=sys.stdout, stderr=sys.stderr)", {"0"}},
           {"class D(object):\n  def __del__(self): print 'dying'\nd = D()\ndel d", {"dying"}},
           {"import kz\nkz.trace(True)\nkz.trace(False)",
            {"\x03(f:FONT_ITALIC) kz.trace: Enabled - kz.trace\x03(f:FONT_DEFAULT)",
             "\x03(f:FONT_ITALIC) kz.trace: Disabled - kz.trace\x03(f:FONT_DEFAULT)"}}});
}

TEST_F(OutputTest, ShowsExceptionsWithTheirFrames) {
    raises(
        {{"def a(): b()\ndef b(): c()\ndef c(): raise ValueError('deep')\na()", "ValueError", "; deep", {3, 2, 1, 4}},
         {"class Old:\n  def __str__(self): return 'old'\nraise Old()", "instance", "; old", {3}},
         {"class Mute(Exception):\n  def __str__(self): raise ValueError\nraise Mute()", "Mute", "", {3}},
         {"class Mute(object):\n  def __str__(self): raise ValueError('mute')\nimport kz\nkz.out(Mute())",
          "ValueError",
          "; mute",
          {2, 4}},
         {"raise ValueError", "ValueError", "", {1}},
         {"raise ValueError(u'\\xe9')", "ValueError", "; \xC3\xA9", {1}},
         {"raise ValueError('a\\0b')", "ValueError", "; a\\x00b", {1}},
         {"if 1:\n  x = = 2", "SyntaxError", "; invalid syntax (test.py, line 2)", {}},
         {"if 1:\n x = 1\n   y = 2", "IndentationError", "; unexpected indent (test.py, line 3)", {}},
         {"# coding: nonsense\n\xE9", "SyntaxError", "; unknown encoding: nonsense (test.py, line 0)", {}},
         {"raise 'text'",
          "TypeError",
          "; exceptions must be old-style classes or derived from BaseException, not str",
          {1}},
         {"import kz\nkz.throw(0x80000001)", "NotImplementedError", "; not implemented", {2}},
         {"import kz\nkz.throw()", "TypeError", "; function takes at least 1 argument (0 given)", {2}},
         {"import kz\nkz.throw(0)", "SystemError", "; error return without exception set", {2}}});
    check({{"import kz\nkz.outEx()", {"[80000000] Unexpected or NULL exception"}},
           {"import sys\nsys.exit(3)", {}},
           {"import kz\ntry: 1/0\nexcept ZeroDivisionError: kz.outEx('Heading')",
            {"[00000002] Heading",
             "[80000000] Unhandled exception \"ZeroDivisionError\"; integer division or modulo by zero",
             " .. test.py: 2"}},
           // Reading an exception that is being handled does not clear it.
           {R"(
               import kz
               try:
                 try: 1/0
                 except: kz.outEx(); print kz.excResult() == kz.excResult(); raise
               except ZeroDivisionError: print 'raised')"_lines,
            {"[80000000] Unhandled exception \"ZeroDivisionError\"; integer division or modulo by zero",
             " .. test.py: 3", "True", "raised"}},
           {"import kz, sys\ntry: sys.exit(1)\nexcept SystemExit: kz.outEx()",
            {"sys.exit() exception", " .. test.py: 2"}}});
    const std::string deep = host.output("def f(): f()\nf()");
    EXPECT_TRUE(
        deep.starts_with("test.py\n  [80000000] Unhandled exception \"RuntimeError\"; maximum recursion depth"));
    EXPECT_GT(std::count(deep.begin(), deep.end(), '\n'), 900);
}

// A console in Python may do anything with a line of output.
TEST(OutputOfAConsoleTest, ThatFailsIsNotLost) {
    const std::string begin = R"(
        import kz, kz.service, kzifc
        scripts = kz.service.ScriptSys()
        line = scripts.LineInterpreterByName('python')
        class E(kzifc.LineExecution):
          def lin_Flags(self): return 0)"_lines +
                              "  def lin_Info(self";
    // The rest of its line, what is told below the heading, and what the log gets.
    const std::tuple<const char*, const char*, const char*> table[] = {
        {", text): print 'heard', text", "  heard 1\n", ""},
        {", text): print 'heard', text,", "  heard heard 1\n", ""},  // the console gets the rest of its line, too
        {"): pass",
         "  [80000000] Unhandled exception \"TypeError\"; lin_Info() takes exactly 1 argument (2 given)\n  1\n",
         "[00000002] LineExecution.lin_Info of __main__.E: it raised TypeError: lin_Info() takes exactly 1 argument (2 "
         "given)\n"},
        {", text): raise ValueError('no')",
         "  [80000000] Unhandled exception \"ValueError\"; no\n   .. test.py: 6\n  1\n", ""},
        {", text): scripts.RunText('#python\\nprint 2', 0, '', None); raise ValueError('no')",
         "  [80000000] Unhandled exception \"ValueError\"; no\n   .. test.py: 6\n  1\n<text>\n  2\n", ""},
        {", text): kz.trace(True); kz.trace(False)",
         "  \x03(f:FONT_ITALIC) kz.trace: Enabled - kz.trace\x03(f:FONT_DEFAULT)\n"
         "  \x03(f:FONT_ITALIC) kz.trace: Disabled - kz.trace\x03(f:FONT_DEFAULT)\n",
         ""},
        {", text): line.Execute('print 2', E())", "", "2\n"}};
    for (const auto& [info, told, log] : table)
        kzInChild(info, [&, info = info, told = told, log = log] {
            CPluginHost host;
            host.load();
            EXPECT_EQ(host.output(begin + info + "\nkz.out('begin')\nline.Execute('print 1', E())"),
                      std::string("test.py\n  begin\n") + told);
            EXPECT_EQ(host.log("python"), log);
        });
}
