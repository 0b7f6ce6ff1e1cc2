// kz.eval and its family, kz.command, toggles, options and tracing.
#include "scripted_host.h"

#include "kzmod/arg_attrib.h"
#include "module/runtime.h"

namespace {

void answersSeven(FakeScript& script) { script.numbers = {7}; }
void breaks(FakeScript& script) { script.messageCode = KZe_NOTFOUND; }

const std::string noException = "SystemError: error return without exception set";
const std::string unparsed = "RuntimeError: command argument parsing failed";

}  // namespace

using EvaluationTest = PythonTest;
using CommandTest = PythonTest;
using ToggleTest = PythonTest;
using OptionsTest = PythonTest;
using TraceTest = PythonTest;

TEST_F(EvaluationTest, EndsAsTheHostSays) {
    check({{"kz.eval('do it')", "None"},
           {"kz.evalN('do it')", "None"},
           {"kz.eval('ask ?')", answersSeven, "7"},
           {"kz.eval1('ask ?')", answersSeven, "7"},
           {"kz.evalN('ask ?')", answersSeven, "(7,)"},
           {"kz.eval('@script')", "None"},
           {"kz.eval('do it')", fails("IsImplicitScript", KZe_NOTFOUND), "None"},
           {"kz.eval('do it')", fails("Execute"), "None"},  // the message counts, not the code
           {"kz.eval('do it')", breaks, "RuntimeError: command failed: The script ended: it broke (80000017)"},
           {"kz.eval('@script')", breaks, "RuntimeError: command failed: The script ended: it broke (80000017)"},
           {"kz.eval('do it')", fails("Message"), noException},
           {"kz.eval('do it')", handsOutNothing("Message"), noException},
           {"kz.eval('do it')", fails("ProcessStringFlags"), "RuntimeError: error processing command prefix flags"},
           {"kz.eval('@script')", fails("SpawnImplicitScript"), "RuntimeError: error spawning script"},
           {"kz.eval('@script')", handsOutNothing("SpawnImplicitScript"), "RuntimeError: error spawning script"},
           {"kz.eval('do it')", fails("Spawn"), "RuntimeError: command could not be found"},
           {"kz.eval('do it')", handsOutNothing("Spawn"), "RuntimeError: command could not be found"},
           {"kz.eval('do it')", fails("ParseArgString"), unparsed},
           {"kz.eval('do')", fails("ParseArgString"), "None"},  // nothing to parse
           {"kz.eval('ask ?')", fails("QueryArgString"), unparsed},
           {"kz.eval('ask ?')", handsOutNothing("QueryArgString"), unparsed},
           {"kz.eval('ask ?')", fails("Hints"), "None"},
           {"kz.eval()", "TypeError: function takes at least 1 argument (0 given)"},
           {"kz.eval(3)", "TypeError: argument 1 must be string, not int"}});
}

TEST_F(EvaluationTest, GivesTheHostTextAndFlags) {
    outcome("kz.eval('!do  it now', 8)");
    EXPECT_EQ(host.calls, (Strings{"ProcessStringFlags(8,!do  it now)", "IsImplicitScript", "Spawn(0,do  it now)",
                                   "ParseArgString(34,  it now)", "Execute(34)", "Message"}));
    host.calls.clear();
    PythonRuntime::running().executionFlags = 5;
    outcome("kz.eval('ask ?')");
    EXPECT_TRUE(host.called("ProcessStringFlags(5,ask ?)"));
    EXPECT_TRUE(host.called("QueryArgString(34,ask ?,1)"));
    EXPECT_TRUE(host.called("Hints(5)"));
}

TEST_F(EvaluationTest, MessageTextIsCutAfter199Bytes) {
    host.script.messageCode = KZe_FAILED;
    host.script.messageText = std::string(1000, 'x');
    const std::string text = "The script ended: " + std::string(199, 'x');
    EXPECT_EQ(outcome("kz.eval('do')"), "RuntimeError: command failed: " + text.substr(0, 199) + " (80000000)");
    host.host.failOperation("Message.MessageText", KZe_FAILED);
    EXPECT_EQ(outcome("kz.eval('do')"), "RuntimeError: command failed:  (80000000)");
}

TEST_F(EvaluationTest, ExceptionsSayWhatTheHostSaid) {
    const auto told = [](const char* operation) {
        return [=](FakeScript& script) { script.fails[operation] = KZe_NOACCESS, script.messageCode = KZe_NOTFOUND; };
    };
    const auto said = [](const std::string& source) {
        return "try: " + source + "\nexcept RuntimeError as e: r = (e.code == kz.lastResult(), e.code, e.reason)";
    };
    const std::string code = "(True, 2147483657L, ";
    check({{said("kz.eval('ask ?')"), told("QueryArgString"), code + "'The script ended: it broke')"},
           {said("kz.eval('do it')"), told("ParseArgString"), code + "'The script ended: it broke')"},
           {said("kz.command('go')"), told("ParseAttribObject"), code + "'The script ended: it broke')"},
           {said("kz.eval('do')"), fails("Spawn", KZe_NOACCESS), code + "'NOACCESS')"},
           {said("kz.test('do')"), told("GetToggleArgState"), code + "'The script ended: it broke')"},
           {said("kz.Service('log').select('a')"), fails("ScriptQuery.Select", KZe_NOACCESS), code + "'NOACCESS')"}});
}

TEST_F(EvaluationTest, ACommandMayEvaluateCommands) {
    host.script.onExecute = [this] {
        host.script.onExecute = nullptr;
        host.script.numbers = {1, 2};
        const CPyLock lock;
        EXPECT_EQ(outcome("kz.eval('inner ?')"), "(1, 2)");
    };
    EXPECT_EQ(outcome("kz.eval('outer')"), "None");
}

TEST_F(CommandTest, EndsAsTheHostSays) {
    check({{"kz.command('go')", "None"},
           {"kz.command()", "RuntimeError: missing required command name"},
           {"kz.command('a', 'b')", "RuntimeError: extra positional arguments"},
           {"kz.command('go')", fails("ProcessStringFlags"), "RuntimeError: error processing command prefix flags"},
           {"kz.command('!go')", fails("Lookup"), "RuntimeError: command:go not found"},
           {"kz.command('go')", handsOutNothing("Lookup"), "RuntimeError: command:go not found"},
           {"kz.command('go')", fails("Spawn"), "RuntimeError: command:go could not spawn command"},
           {"kz.command('go')", handsOutNothing("Spawn"), "RuntimeError: command:go could not spawn command"},
           {"kz.command('go', a=1)", fails("ParseAttribObject"),
            "RuntimeError: command:go could not parse argument list."},
           {"kz.command('go')", breaks, "RuntimeError: command failed: The script ended: it broke (80000017)"},
           {"kz.command('go')", fails("Message"), noException},
           {"class Bad(object):\n  def __str__(self): raise KeyError('k')\nkz.command('go', a=Bad())", "KeyError: 'k'"},
           {"class Bad(object):\n  def __str__(self): return 3\nkz.command(Bad())",
            "TypeError: __str__ returned non-string (type int)"},
           {"kz.command('g\\0o')", "TypeError: expected string without null bytes"},
           {"kz.command('go', a='x\\0y')", "TypeError: expected string without null bytes"},
           {"kz.command('go', **{'x\\0y': 1})", "TypeError: expected string without null bytes"},
           // The dictionary of a ** call is the caller's own.
           {R"(
               d = {'a': 1}
               class Sly(object):
                 def __str__(self): d.clear(); return 'sly'
               d['b'] = Sly()
               r = kz.command('go', **d))"_lines,
            "None"}});
}

TEST_F(CommandTest, KeywordsReachTheHostAsText) {
    EXPECT_EQ(outcome("kz.command('?go', flag=True)"), "None");
    EXPECT_TRUE(host.called("Spawn(77,null)"));
    EXPECT_TRUE(host.called("ParseAttribObject(9,flag=True)"));
    EXPECT_TRUE(host.called("Execute(34)"));
    outcome("kz.command('go', size=1.5)");
    EXPECT_TRUE(host.called("ParseAttribObject(9,size=1.5)"));
    outcome("kz.command('go')");
    EXPECT_TRUE(host.called("ParseAttribObject(9)"));
}

TEST_F(CommandTest, ArgumentsEndOnePastTheLast) {
    CKzLoc_Attributes spawned;
    CArgAttrib& arguments = kzSpawnArguments(spawned);
    arguments.names = {"size"};
    arguments.values = {"long"};
    const CKzUser_Attributes attributes(spawned.raw());
    const char* name = nullptr;
    char text[5];
    std::int32_t number = 0;
    EXPECT_EQ(attributes.Count(), 1U);
    EXPECT_EQ(attributes.Name(1, &name), KZe_OK);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(attributes.Name(2, &name), KZe_OUTOFBOUNDS);
    EXPECT_EQ(attributes.GetString(2, text, sizeof text), KZe_OUTOFBOUNDS);
    EXPECT_EQ(attributes.GetString(0, text, 4), KZe_SHORTBUFFER);
    EXPECT_EQ(attributes.GetString(0, nullptr, 4), KZe_INVALIDARG);
    EXPECT_EQ(attributes.Name(0, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(attributes.GetString(0, text, 5), KZe_OK);
    EXPECT_STREQ(text, "long");
    EXPECT_EQ(attributes.GetInt(0, &number), KZe_NOTIMPL);
    EXPECT_NE(CKzGlobalCache::current()->findSpawner("pyArgAttrib"), nullptr);
}

TEST_F(ToggleTest, IsReadOrRefused) {
    const auto isOn = [](FakeScript& script) { script.toggleState = 2; };
    check({{"kz.queryToggle('t ?')", isOn, "True"},
           {"kz.queryToggle('t ?')", "False"},
           {"kz.queryToggle('t ?')", fails("SpawnFromString"), "False"},
           {"kz.queryToggle('t ?')", fails("GetToggleArgState"), "False"},
           {"kz.queryToggle(1)", "TypeError: argument 1 must be string, not int"},
           {"kz.test('t ?')", isOn, "True"},
           {"kz.test('t ?')", "False"},
           {"kz.test('t ?')", fails("SpawnFromString"), "RuntimeError: error in command string"},
           {"kz.test('t ?')", handsOutNothing("SpawnFromString"), "RuntimeError: error in command string"},
           {"kz.test('t ?')", fails("GetToggleArgState"), "RuntimeError: could not query toggle argument"}});
}

TEST_F(OptionsTest, AreExact) {
    check(
        {{"kz.option('queryAnglesAs')", "'radians'"},
         {"[kz.setOption('queryAnglesAs', 'degrees'), kz.option('queryAnglesAs')]", "[None, 'degrees']"},
         {"[kz.setOption('queryAnglesAs', 'radians'), kz.option('queryAnglesAs')]", "[None, 'radians']"},
         {"kz.setOption('queryAnglesAs', 'Degrees')", "RuntimeError: unknown value for \"queryAnglesAs\": \"Degrees\""},
         {"kz.setOption('queryAnglesAs', 'degree')", "RuntimeError: unknown value for \"queryAnglesAs\": \"degree\""},
         {"kz.setOption('angles', 'degrees')", "RuntimeError: unknown option \"angles\""},
         {"kz.option('%s')", "RuntimeError: unknown option \"%s\""}});
}

TEST_F(OptionsTest, ScriptArgumentsAreThoseHeld) {
    check({{"kz.arg()", noException}, {"kz.args()", noException}});
    MainInterpreter& interpreter = PythonRuntime::running();
    interpreter.argument = CPyRef(PyString_FromString("a b"), CPyRef::owned);
    interpreter.arguments = CPyRef(PyTuple_New(0), CPyRef::owned);
    check({{"kz.arg()", "'a b'"}, {"kz.args()", "()"}});
    interpreter.argument = Py_None;
    interpreter.arguments = Py_None;
}

TEST_F(TraceTest, IsSwitchedByBooleansOnly) {
    EXPECT_EQ(outcome("[kz.trace(True), kz.trace(False)]"), "[True, False]");
    EXPECT_EQ(traced.lines, (Strings{"kz.trace: Enabled", "kz.trace: Disabled"}));
    check({{"kz.trace(1)", "RuntimeError: kz.trace requires a boolean argument"},
           {"kz.trace()", "result with TypeError: function takes exactly 1 argument (0 given)"}});
}

TEST_F(TraceTest, TellsEveryStep) {
    const std::tuple<const char*, const char*, const char*> table[] = {
        // what fails besides the message, the source, and the line that is traced
        {"", "kz.eval(3)", "execute/query: failed: expected string argument"},
        {"", "kz.queryToggle(3)", "kz.queryToggle: Query failed: expected string argument"},
        {"", "kz.queryToggle('t ?')", "kz.queryToggle: toggled state is false (0)"},
        {"", "kz.setOption('x', 'y')", "kz.setOption: unknown option \"x\""},
        {"", "kz.command()", "kz.command: missing required command name"},
        {"", "kz.eval('do')", "kz.command(test.command): command failed: The script ended: it broke (80000017)"},
        {"Message", "kz.eval('do')", "kz.command(test.command): internal error: could not get get message object"},
        {"Spawn", "kz.eval('!do')", "!do: command could not be found"},
        {"Spawn", "kz.command('!go')", "kz.command(go): command:go could not spawn command"},
        {"SpawnFromString", "kz.queryToggle('t ?')", "kz.queryToggle: failed: error querying the command"}};
    for (const auto& [failing, source, line] : table) {
        host.set(breaks);
        host.host.failOperation(failing, KZe_FAILED);
        EXPECT_EQ(linesOf(source), Strings{line}) << source;
    }
    host.set(fails("Message"));
    host.host.failOperation("Name", KZe_FAILED);
    EXPECT_EQ(linesOf("kz.eval('do')"),
              Strings{"kz.command(unknown): internal error: could not get get message object"});
}
