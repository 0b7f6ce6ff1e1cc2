// Commands: their strings, the host's own ones, a module's, and what is told when something is wrong.
#include "host/command_center.h"
#include "tests/support/host_test.h"

#include "fake_command.h"

#include "kz/application.h"
#include "kz/listener.h"
#include "kz/result.h"

namespace {

TEST(CommandTextTest, StringsAreTakenApart) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"a b", "|a |b"},
        {"  key:value\tother:{two words} ", "key|value other|two words"},
        {"{a {nested} b} \"c {\"", "|a {nested} b |c {"},
        {"key:\"q q\" ?", "key|q q |? !"},
        {"key:? {?}", "key|? ! |?"},
        {"key:{} scripts:a.py", "key| scripts|a.py"},
        {"a.b_c:1 http://x", "a.b_c|1 http|//x"},
        {"- 1:2", "|- 1|2"},
    };
    for (const auto& [text, expected] : cases) {
        std::string all;
        for (const ArgumentText& argument : kzParseArguments(text))
            all += (all.empty() ? "" : " ") + argument.name + "|" + argument.value + (argument.isQuery ? " !" : "");
        EXPECT_EQ(all, expected) << text;
    }
}

TEST(CommandTextTest, BadStringsAreNamedWithTheirPlace) {
    const std::tuple<const char*, KzResult, const char*> cases[] = {
        {"a {b", KZe_CMD_UNBALANCED_BRACES, "position 3"},         {"{a {b}", KZe_CMD_UNBALANCED_BRACES, "position 1"},
        {"key:\"b", KZe_CMD_UNBALANCED_BRACES, "position 5"},      {"{a}b", KZe_CMD_BAD_DEFINITION, "position 4"},
        {"key: next", KZe_CMD_ERROR_ARG_MISSING_VALUE, "\"key\""},
    };
    for (const auto& [text, code, part] : cases) {
        try {
            kzParseArguments(text);
            ADD_FAILURE() << text;
        } catch (const CommandTextError& error) {
            EXPECT_EQ(error.code, code) << text;
            EXPECT_NE(error.text.find(part), std::string::npos) << error.text;
        }
    }
}

TEST(CommandTextTest, WhatIsWrittenIsReadBack) {
    for (const char* value :
         {"plain", "two words", "", "?", "a:b", "{x}", "}{", "{", "say \"hi\"", "tab\there", "a|b"}) {
        const auto read = kzParseArguments("key:" + kzWriteArgument(value));
        ASSERT_EQ(read.size(), 1U) << value;
        EXPECT_EQ(read[0].value, value);
        EXPECT_FALSE(read[0].isQuery) << value;
    }
}

TEST(CommandTextTest, MarksBecomeFlags) {
    const std::tuple<const char*, std::uint32_t, const char*> cases[] = {
        {"cmd ?", 0, "cmd ?"},
        {"!cmd", KZfCMD_EXEC_NODIALOG, "cmd"},
        {" !! cmd", KZfCMD_EXEC_NODIALOG | KZfCMD_EXEC_NOALERTS, "cmd"},
        {"?cmd", KZfCMD_EXEC_SHOWDIALOG, "cmd"},
        {"??cmd", KZfCMD_EXEC_FORCEDIALOG, "cmd"},
        {"@file", 0, "@file"},
        {"", 0, ""},
    };
    for (const auto& [text, flags, rest] : cases) {
        const MarkedCommand marked = kzStripMarks(0, text);
        EXPECT_EQ(marked.flags, flags) << text;
        EXPECT_EQ(marked.rest, rest) << text;
    }
    EXPECT_EQ(kzStripMarks(~0U, "cmd").flags, ~0U);
    EXPECT_EQ(kzStripMarks(~0U, "!cmd").flags, static_cast<std::uint32_t>(KZfCMD_EXEC_NODIALOG));
}

class CommandTest : public HostTest {
protected:
    CommandTest() { m_commands.set(host().application()); }
    void TearDown() override {
        m_commands.clear();
        HostTest::TearDown();
    }
    // Every answer after a blank, or "!" and the code's name.
    std::string perform(const std::string& text) {
        const auto outcome = CCommandCenter(host().core().shared_from_this()).perform(text, 0);
        if (kzFailed(outcome.code)) return "!" + kzCodeName(outcome.code);
        std::string all = outcome.isQuery ? "" : "done";
        for (const std::string& answer : outcome.answers) all += (all.empty() ? "" : "/") + answer;
        return all;
    }
    std::string lastLine() {
        const auto lines = host().log().lines("commands");
        return lines.empty() ? "" : lines.back().text;
    }
    CKzUser_CommandService m_commands;
};

TEST_F(CommandTest, UserValuesOfEveryTypeComeBack) {
    const std::tuple<const char*, const char*, const char*> cases[] = {{"integer", "12", "12"},
                                                                       {"boolean", "true", "true"},
                                                                       {"float", "1.5", "1.5"},
                                                                       {"string", "{two words}", "two words"},
                                                                       {"angle", "180deg", "3.141592653589793"},
                                                                       {"distance", "20mm", "0.02"},
                                                                       {"percent", "50%", "0.5"},
                                                                       {"time", "40ms", "0.04"},
                                                                       {"color", "{1 0.5 0}", "1 0.5 0"}};
    for (const auto& [type, text, expected] : cases) {
        const std::string name = std::string("v") + type;
        EXPECT_EQ(perform("user.value " + name + " " + text + " type:" + type), "done") << type;
        EXPECT_EQ(perform("user.value " + name + " ?"), expected) << type;
        EXPECT_EQ(perform("user.value " + name + " type:?"), type);
        EXPECT_EQ(perform("user.value " + name + " delete:true"), "done");
        EXPECT_EQ(perform("user.value " + name + " ?"), "") << "it is gone";
    }
}

TEST_F(CommandTest, ChoicesAreKnownByTheirWords) {
    EXPECT_EQ(perform("user.value mood calm type:choice choices:{calm;glad;wild}"), "done");
    EXPECT_EQ(perform("user.value mood ?"), "0");
    for (const auto& [word, expected] : {std::pair("glad", "1"), std::pair("2", "2"), std::pair("wild", "2")}) {
        EXPECT_EQ(perform(std::string("user.value mood ") + word), "done") << word;
        EXPECT_EQ(perform("user.value mood ?"), expected) << word;
    }
    EXPECT_EQ(perform("user.value mood sad"), "!CMD_ERROR_SETTING_DATATYPE");
    EXPECT_EQ(lastLine(), "user.value: argument \"value\": \"sad\" is not one of calm glad wild");
    CKzUser_Command command;
    CCommandCenter(host().core().shared_from_this()).parse("user.value mood", command);
    const CKzUser_Attributes attributes(command.raw());
    const KzTextValueHint* hints = nullptr;
    ASSERT_EQ(attributes->Hints(1, &hints), KZe_OK);
    EXPECT_STREQ(hints[2].text, "wild");
    EXPECT_EQ(hints[3].text, nullptr);
    EXPECT_EQ(attributes->Hints(0, &hints), KZe_NOTFOUND);
}

TEST_F(CommandTest, WhatIsWrongIsNamed) {
    perform("user.value size 3 type:integer");
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"fly away", "!CMD_UNKNOWN_COMMAND", "there is no command \"fly\""},
        {"", "!CMD_BAD_DEFINITION", "a command is expected"},
        {"user.value size twelve", "!CMD_ERROR_SETTING_DATATYPE",
         "user.value: argument \"value\": \"twelve\" is not an integer, as 12 or -3"},
        {"user.value new 1 type:nothing", "!CMD_DATATYPE_UNAVAILABLE",
         "user.value: argument \"type\": there is no value type \"nothing\""},
        {"user.value size 1 type:float", "!ALREADYEXISTS",
         "user.value: argument \"type\": \"size\" is of type integer already; delete it first"},
        {"user.value new 1 type:choice", "!CMD_MISSING_ARGS",
         "user.value: argument \"choices\" is missing: the choice \"new\" needs words, as {red;green}"},
        {"user.value", "!CMD_MISSING_ARGS",
         "user.value: argument \"name\" is missing; it is the value's name; queried, the names of all values"},
        {"user.value a b integer d true f", "!CMD_TOO_MANY_ARGUMENTS", nullptr},
        {"user.value size naem:1", "!CMD_UNKNOWN_ARGUMENT", nullptr},
        {"user.value size name:1", "!CMD_ARGUMENT_ALREADY_SET",
         "user.value: argument \"name\" at position 7 is given twice"},
        {"user.value ? value:?", "!CMD_TOO_MANY_QUERIES_MARKED", nullptr},
        {"user.value size {1", "!CMD_UNBALANCED_BRACES", "user.value: the brace at position 7 is not closed"},
        {"user.value gone delete:true", "!NOTFOUND", nullptr},
        {"log.clear ?", "!CMD_ARGUMENT_NOT_QUERYABLE",
         "log.clear: argument \"subsystem\": the argument cannot be queried"},
        {"unit.system miles", "!CMD_ERROR_SETTING_DATATYPE",
         "unit.system: argument \"system\": \"miles\" is not one of si metric english"},
        {"server.list", "!CMD_NOT_EXECUTABLE", nullptr},
        {"@", "!CMD_BAD_DEFINITION", nullptr},
        {"@missing.py", "!NOTFOUND", "script.run: argument \"fileName\": there is no script \"missing.py\""},
    };
    for (const auto& [text, expected, told] : cases) {
        EXPECT_EQ(perform(text), expected) << text;
        if (told != nullptr) {
            EXPECT_EQ(lastLine().substr(0, std::string(told).size()), told) << text;
        }
    }
    EXPECT_EQ(perform("user.value size ?"), "3") << "nothing that failed has changed it";
}

TEST_F(CommandTest, AMarkKeepsFailuresOutOfTheLog) {
    const std::size_t before = host().log().lines("commands").size();
    EXPECT_EQ(perform("!!user.value gone delete:true"), "!NOTFOUND");
    EXPECT_EQ(host().log().lines("commands").size(), before);
}

TEST_F(CommandTest, TogglesGoRoundAndTellTheirState) {
    const auto state = [&](const char* text) {
        CKzLoc_Unknown command;
        std::uint32_t flags = 0;
        std::int32_t query = 0;
        std::int32_t on = -1;
        CKzLoc_Unknown value;
        EXPECT_EQ(m_commands->SpawnFromString(text, &flags, &query, command.out()), KZe_OK) << text;
        const KzResult code = m_commands->GetToggleArgState(command.raw(), &on, value.out());
        return kzFailed(code) ? kzCodeName(code) : std::to_string(on);
    };
    EXPECT_EQ(perform("log.debug on"), "done");
    EXPECT_EQ(state("log.debug on"), "1");
    EXPECT_EQ(state("log.debug off"), "0");
    EXPECT_EQ(state("log.debug"), "1");
    EXPECT_EQ(perform("log.debug on|off"), "done");
    EXPECT_EQ(state("log.debug"), "0");
    for (const char* expected : {"1", "2", "0"}) {
        EXPECT_EQ(perform("unit.system si|metric|english"), "done");
        EXPECT_EQ(perform("unit.system ?"), expected);
    }
    EXPECT_EQ(state("user.value x"), kzCodeDigits(KZe_CMD_TOGGLE_NO_ARGUMENT));
}

TEST_F(CommandTest, TheServiceParsesQueriesAndExecutesStepByStep) {
    std::uint32_t flags = 9;
    const char* rest = nullptr;
    EXPECT_EQ(m_commands->ProcessStringFlags(0, "", &flags, &rest), KZe_CMD_BAD_DEFINITION);
    EXPECT_EQ(m_commands->ProcessStringFlags(0, "!user.value size 4 type:integer", &flags, &rest), KZe_OK);
    EXPECT_EQ(m_commands->IsImplicitScript(rest), KZe_NOTFOUND);
    CKzLoc_Unknown spawned;
    ASSERT_EQ(m_commands->Spawn(0, rest, spawned.out()), KZe_OK);
    const CKzUser_Command command(spawned.raw());
    CKzLoc_Unknown values;
    std::uint32_t index = 0;
    EXPECT_EQ(m_commands->QueryArgString(spawned.raw(), 0, rest, 1, values.out(), &index), KZe_CMD_NO_QUERY_MARKED);
    EXPECT_EQ(m_commands->ParseArgString(spawned.raw(), 0, " size 4 type:integer"), KZe_OK);
    EXPECT_EQ(command->Execute(flags), KZe_OK);
    CKzLoc_Unknown message;
    EXPECT_EQ(command->Message(message.out()), KZe_OK);
    EXPECT_EQ(CKzUser_Message(message.raw()).Code(), 0U);
    EXPECT_EQ(textOf([&](char* b, std::uint32_t n) { return m_commands->ToString(spawned.raw(), b, n); }),
              "user.value name:size value:4 type:integer");
    EXPECT_EQ(m_commands->QueryArgString(spawned.raw(), 0, "user.value size ?", 1, values.out(), &index), KZe_OK);
    EXPECT_EQ(index, 1U);
    std::int32_t number = 0;
    EXPECT_EQ(CKzUser_ValueArray(values.raw()).GetInt(0, &number), KZe_OK);
    EXPECT_EQ(number, 4);

    std::uint32_t tag = 0;
    EXPECT_EQ(m_commands->Lookup("user.value", &tag), KZe_OK);
    EXPECT_NE(tag, 0U);
    EXPECT_EQ(m_commands->Lookup("nothing", &tag), KZe_CMD_UNKNOWN_COMMAND);
    EXPECT_EQ(m_commands->Spawn(9999, nullptr, spawned.out()), KZe_CMD_UNKNOWN_COMMAND);
    EXPECT_EQ(m_commands->ParseArgString(nullptr, 0, "x"), KZe_INVALIDARG);
    EXPECT_EQ(m_commands->Execute(m_commands.raw(), 0), KZe_INVALIDARG);
}

TEST_F(CommandTest, AliasesStandForStringsButNotForThemselves) {
    EXPECT_EQ(perform("command.alias big {user.value size 100 type:integer}"), "done");
    EXPECT_EQ(perform("big"), "done");
    EXPECT_EQ(perform("user.value size ?"), "100");
    EXPECT_EQ(perform("command.alias big x"), "!CMD_ALREADY_EXISTS");
    EXPECT_EQ(perform("command.alias loop loop"), "done");
    EXPECT_EQ(perform("loop"), "!CMD_BAD_DEFINITION");
    EXPECT_EQ(perform("command.unalias loop"), "done");
    EXPECT_EQ(perform("command.unalias loop"), "!CMD_NOT_ALIASED");
    EXPECT_EQ(perform("command.alias ?"), "big");
    EXPECT_EQ(perform("command.history ?"),
              "command.alias alias:big command:{user.value size 100 type:integer}/user.value name:size value:100 "
              "type:integer/command.alias alias:loop command:loop/command.unalias alias:loop");
}

// Hears of executions.
struct Hearer : CKzImpl_CmdSysListener {
    void cmdsysevent_ExecutePre(IKzUnknown* command, std::uint32_t, std::int32_t, std::int32_t) override {
        note("pre ", command);
    }
    void cmdsysevent_ExecuteResult(IKzUnknown* command, std::uint32_t, std::int32_t, std::int32_t,
                                   std::int32_t good) override {
        note(good != 0 ? "good " : "bad ", command);
    }
    void cmdsysevent_ExecutePost(IKzUnknown* command, std::int32_t, std::int32_t) override { note("post ", command); }
    void note(const char* what, IKzUnknown* command) {
        const char* name = nullptr;
        CKzUser_Command(command).Name(&name);
        heard += std::string(what) + (name != nullptr ? name : "?") + "; ";
    }
    std::string heard;
};

TEST_F(CommandTest, ModulesCommandsRunLikeTheHostsOwn) {
    FakeCommandModule module;
    ASSERT_EQ(host().adopt("fake", module.object()), KZe_OK);
    Hearer hearer;
    CKzStaticPolymorph polymorph(&hearer);
    polymorph.append(kzMakeRecord<CKzIfc_CmdSysListener<Hearer>>(KZu_CMDSYSLISTENER));
    CKzLoc_Unknown listener;
    *listener.out() = polymorph.spawn();
    const ServiceOf<CKzUser_ListenerService> listeners(host().application());
    EXPECT_EQ(listeners->AddListener(listener.raw()), KZe_OK);

    EXPECT_EQ(perform("fake.add 3 4"), "done");
    EXPECT_EQ(FakeCommand::theSum, 7);
    EXPECT_EQ(perform("fake.add 3 4.5"), "!INVALIDARG");
    EXPECT_EQ(lastLine(), "fake.add: argument \"right\": \"4.5\" is not an integer, as 12 or -3");
    EXPECT_EQ(perform("fake.add left:? 2"), "7");
    EXPECT_EQ(hearer.heard, "pre fake.add; good fake.add; post fake.add; ");
    FakeCommand::theCode = KZe_NOTREADY;
    EXPECT_EQ(perform("fake.add 1 1"), "!NOTREADY");
    EXPECT_EQ(lastLine(), "fake.add: not ready");
    FakeCommand::theCode = KZe_OK;
    EXPECT_EQ(perform("server.list command name:?"), "fake.add");
    EXPECT_EQ(listeners->RemoveListener(listener.raw()), KZe_OK);
    host().unload();
    module.release();
}

TEST_F(CommandTest, ScriptServicesAnswerForTheRunningHost) {
    perform("user.value size 3 type:integer");
    host().log().write("python", KZe_INFO, "one line");
    const ServiceOf<CKzUser_ApplicationService> application(host().application());
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"log", "lines", "python", "one line"},
        {"log", "count", "python", "1"},
        {"log", "count", "", "QUERY_NEED_SELECTION"},
        {"log", "nothing", "", "QUERY_UNKNOWN_ATTRIBUTE"},
        {"command", "exists", "user.value", "true"},
        {"command", "exists", "nothing", "false"},
        {"command", "arguments", "log.clear", "subsystem"},
        {"command", "arguments", "nothing", "CMD_UNKNOWN_COMMAND"},
        {"command", "history", "", "user.value name:size value:3 type:integer"},
        {"script", "depth", "", "0"},
        {"value", "units", "", "si"},
    };
    for (const auto& [service, attribute, element, expected] : cases) {
        CKzLoc_Unknown named;
        ASSERT_EQ(application->ServiceByName(service, named.out()), KZe_OK) << service;
        CKzLoc_Unknown made;
        ASSERT_EQ(CKzUser_ServiceExtension(named.raw()).ScriptQuery(made.out()), KZe_OK) << service;
        const CKzUser_ScriptQuery query(made.raw());
        std::uint32_t index = 0;
        const char* type = nullptr;
        KzResult code = query->Select(attribute, element);
        if (kzSucceeded(code)) code = query->Lookup("", &index);
        if (kzSucceeded(code)) code = query->TypeName(index, &type);
        CKzLoc_Unknown array;
        if (kzSucceeded(code)) code = m_commands->CreateQueryObject(type, array.out());
        if (kzSucceeded(code)) code = query->Query(index, array.raw());
        const std::string answer = kzFailed(code) ? kzCodeName(code) : textOf([&](char* b, std::uint32_t n) {
            return CKzUser_ValueArray(array.raw()).GetString(0, b, n);
        });
        EXPECT_EQ(answer, expected) << service << " " << attribute << " " << element;
    }
    CKzLoc_Unknown plain;
    EXPECT_EQ(application->ServiceByName("thread", plain.out()), KZe_OK);
    EXPECT_FALSE(CKzUser_ServiceExtension(plain.raw())) << "it answers no scripts";
}

}  // namespace
