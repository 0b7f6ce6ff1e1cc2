// kzhost check: what it finds in server files.
#include "tests/support/kzhost_run.h"

#include <set>
#include <sstream>

namespace {

struct Case {
    std::string text;
    std::vector<const char*> findings;  // "LINE: text", in this order and nothing else
};

// Every case begins with these two lines.
constexpr const char* opening = "import kz, kzifc\nfrom kzifc import *\n";

const Case cases[] = {
    {"class A(Command):\n    def cmd_Execute(self, flags): pass\nkz.bless(A, 'a', {'k': 1})\n", {}},
    {"class A(Command):\n    def cmd_Excute(self, flags): pass\nkz.bless(A, 'a')\n",
     {"4: server \"a\": no interface has a method cmd_Excute; did you mean cmd_Execute?",
      "5: server \"a\": the method cmd_Execute, which Command requires, is missing"}},
    {"class A(Command):\n    def cmd_Execute(self, *rest): pass\n    def cmd_argtype(self, index): pass\n"
     "    def comd_Flags(self): pass\nkz.bless(A, 'a')\n",
     {"5: server \"a\": no interface has a method cmd_argtype; did you mean cmd_ArgType?",
      "6: server \"a\": no interface has a method comd_Flags; did you mean cmd_Flags?"}},
    {"class A(Command):\n    def cmd_Execute(self): pass\n    @staticmethod\n    def cmd_Flags(): return 0\n"
     "    @classmethod\n    def cmd_Query(cls, index): pass\n    def cmd_Help(self, more=None): pass\n"
     "kz.bless(A, 'a')\n",
     {"4: server \"a\": cmd_Execute is called with 1 argument after self, but takes 0",
      "7: server \"a\": cmd_Query is called with 2 arguments after self, but takes 1"}},
    {"class A(Command):\n    def cmd_Execute(self, flags): pass\n    def tree_Count(self): pass\n"
     "    def my_Helper(self): pass\n    tree_Current = 3\nkz.bless(A, 'a')\n",
     {"5: server \"a\": tree_Count belongs to Tree, which the class does not implement"}},
    {"class A(Command):\n    def cmd_Execute(self, flags): pass\n    def on_Click(self): pass\n"
     "    def do_Execute(self): pass\n    def Execute(self): pass\nkz.bless(A, 'a')\n",
     {}},
    {"class A(Command):\n    def cmd_Execute(self, flags): pass\n    def cmd_Foo(self): pass\n"
     "    def attr_Cuont(self): pass\n    cmd_Help = 5\n    def set_up(self): pass\n    cmd_Icon = property(None)\n"
     "    cmd_Tag = staticmethod(5)\n    cmd_Desc = property(len)\nkz.bless(A, 'a')\n",
     {"5: server \"a\": Command has no method cmd_Foo",
      "6: server \"a\": attr_Cuont: the prefix attr_ belongs to Attributes, which the class does not implement",
      "12: server \"a\": cmd_Help is not a method", "12: server \"a\": cmd_Icon is not a method",
      "12: server \"a\": cmd_Tag is not a method"}},
    // Commands by what they do.
    {"from kzu.command import *\nclass Day(Value): pass\nkz.bless(Day, 'day')\nclass A(Command):\n"
     "    arguments = [Argument('text', 'sting'), Argument('more', 'day'), Argument('a b', 'integer'),\n"
     "                 Argument('text', 'angle', default=1)]\n    argument = label = None\n"
     "    def excute(self, text): pass\n    def query(self): pass\n    prepare = 5\n    def argument_names(self): "
     "pass\nkz.bless(A, 'a')\n",
     {"14: server \"a\": argument \"text\": there is no value type \"sting\"; did you mean \"string\"?",
      "14: server \"a\": argument \"a b\": no command string can name it; use letters, digits, _ and .",
      "14: server \"a\": argument \"text\" occurs twice",
      "10: server \"a\": kzu.command has no excute; did you mean execute?",
      "11: server \"a\": query is called with 1 argument after self, but takes 0",
      "14: server \"a\": prepare is not a method"}},
    {"from kzu.command import *\nArgument('a', 'string', choices=['b'])\n",
     {"4: it cannot be imported: ValueError: argument \"a\": choices are for the type \"choice\", not \"string\""}},
    {"from kzu.command import *\nArgument('a', 'choice', choices=('b', 'c'), default='d')\n",
     {"4: it cannot be imported: ValueError: argument \"a\": the default 'd' is not one of b, c"}},
    {"from kzu.command import *\nclass A(Command):\n    arguments = Argument('text', 'string'),\n"
     "    def execute(self, txt, more=1): pass\nclass B(A):\n    def execute(self, **values): pass\n"
     "class C(A): arguments = 'text'\nkz.bless(A, 'a b')\nkz.bless(B, '?b')\nkz.bless(C, '')\n",
     {"6: server \"a b\": execute is called with the argument \"text\", which it does not take",
      "6: server \"a b\": execute takes \"txt\", which is not an argument of the command",
      "10: server \"a b\": no command string calls it; the name of a command is one word, and begins with a letter",
      "11: server \"?b\": no command string calls it; the name of a command is one word, and begins with a letter",
      "12: server \"\": no command string calls it; the name of a command is one word, and begins with a letter",
      "12: server \"\": arguments is not a list of Argument"}},
    // Classes that the host gets only as objects, and base classes.
    {"class Base(Loader):\n    def load_Cancle(self): pass\n    def load_Recognise(self): pass\n"
     "class Job(ThreadJob):\n    def __init__(self, any, thing): pass\n    def job_Run(self): pass\n"
     "class Soup(TriangleSoup):\n    def soup_TestBox(self): pass\n    def soup_Polygon(self, a, b, c): pass\n"
     "class Plain(object):\n    def soup_Nothing(self): pass\nclass Both(Base):\n    def load_LoadObject(self, *any): "
     "pass\nclass V(Visitor):\n    def vis_Evaluate(self): pass\nclass W(V): pass\nkz.bless(W, 'w')\n",
     {"4: class \"Both\": Loader has no method load_Cancle",
      "5: class \"Both\": no interface has a method load_Recognise; did you mean load_Recognize?",
      "14: class \"Both\": the method load_Recognize, which Loader requires, is missing",
      "6: class \"Job\": the method job_Execute, which ThreadJob requires, is missing",
      "8: class \"Job\": ThreadJob has no method job_Run",
      "9: class \"Soup\": the method soup_Vertex, which TriangleSoup requires, is missing",
      "10: class \"Soup\": soup_TestBox is called with 2 arguments after self, but takes 0",
      "9: note: class \"Soup\": this host never calls TriangleSoup"}},
    {"class A(StringTag, Visitor):\n    def vis_Evaluate(self): pass\nkz.bless(A, 'a')\n",
     {"5: note: server \"a\": this host never calls StringTag"}},
    {"class M(type):\n    def __getattribute__(self, name): raise ValueError(name)\nclass B(Visitor): __metaclass__ = "
     "M\nkz.bless(B, 'b')\nclass A(Visitor):\n    def vis_Evaluate(self): pass\n"
     "kz.bless(A, u'\\xe9')\nkz.bless(A, 'a', None, type('M', (), {'_sub_ifcs': 5})())\n",
     {"6: server \"b\" cannot be checked: ValueError: __bases__",
      "9: server \"\xc3\xa9\": its name must be plain ASCII", "10: server \"a\": its _sub_ifcs is not a sequence"}},
    {"kz.bless(Visitor, 5)\n", {"3: it cannot be imported: TypeError: the name of a server must be a text"}},
    {std::string("x = 1\0", 6), {"1: it cannot be imported: TypeError: compile() expected string without null bytes"}},
    {"import sys\nfor i in range(3):\n    try: sys.exit(i)\n    except: pass\nraise KeyboardInterrupt\n",
     {"7: it cannot be imported: KeyboardInterrupt"}},
    {"class Base(object):\n    def load_Recognize(self, path, info): pass\nclass A(Base, Loader): pass\n"
     "kz.bless(A, 'a')\n",
     {"6: server \"a\": the method load_LoadObject, which Loader requires, is missing"}},
    {"class A(Saver):\n    def __getattr__(self, name): pass\nkz.bless(A, 'a')\n", {}},
    {"class A(object): pass\nclass B: pass\nkz.bless(A, 'a')\nkz.bless(B, 'b')\n",
     {"5: server \"a\": it implements no interface: derive it from a class of kzifc",
      "6: server \"b\": only a class derived from object can be a server"}},
    {"class A(Visitor):\n    def __init__(self, x): pass\n    def vis_Evaluate(self): pass\n"
     "kz.bless(A, 'a')\nkz.bless(A, 'b', None, object())\nkz.bless(A, 'b', [], 1)\n",
     {"4: server \"a\": __init__ is called with 0 arguments after self: there is no meta object",
      "8: server \"b\": its tags are not a dictionary", "8: server \"b\" is blessed twice for one interface"}},
    {"class S(Saver): pass\nclass A(StringTag): pass\nclass M: _sub_ifcs = [(S, None), 5]\n"
     "kz.bless(A, 'a', {u'\\xe9': 1}, M())\n",
     {"6: note: server \"a\": this host never calls StringTag",
      "6: server \"a\": each item of its _sub_ifcs must be a pair of a class and its meta object",
      "6: server \"a\": a key or value of its tags has no str() form",
      "6: server \"a\", sub-server S: the method sav_Save, which Saver requires, is missing"}},
    {"def f():\n    1/0\nf()\n", {"4: it cannot be imported: ZeroDivisionError: integer division or modulo by zero"}},
    {"import sys\nsys.exit(7)\n", {"4: it cannot be imported: SystemExit: 7"}},
    {"x = (\n", {"3: it cannot be imported: SyntaxError: invalid syntax"}}};

class CheckTest : public KzHostTest {};

std::multiset<std::string> linesOf(const std::string& text) {
    std::multiset<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.insert(line);
    return lines;
}

TEST_F(CheckTest, WhatIsWrongIsNamedWithItsPlace) {
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text);
        const std::string file = write("checked.py", std::string(opening) + each.text);
        const Ended ended = run({"check", file});
        std::multiset<std::string> expected;
        int status = 0;
        for (const std::string finding : each.findings) {
            expected.insert(file + ":" + finding);
            if (finding.find(": note: ") == std::string::npos) status = 1;
        }
        EXPECT_EQ(linesOf(ended.out), expected);
        EXPECT_EQ(ended.error, "");
        EXPECT_EQ(ended.status, status);
    }
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
    const std::string bad = "import kz, kzifc\nclass A(kzifc.Saver): pass\nkz.bless(A, 'lacking')\n";
    const std::string isServed = "import kz\nprint kz.service.Host().IsServer('saver', 'lacking')\n";
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
}

}  // namespace
