// Commands: their strings, the host's own ones, a module's, and what is told when something is wrong.
#include "host/core/command_dispatcher.h"
#include "host/core/log_store.h"
#include "host/state/command_state.h"
#include "host/state/text.h"
#include "tests/support/host_test.h"

#include "kz/result.h"

#include <thread>

using namespace kzhost;

namespace {

TEST(CommandTextTest, StringsAreTakenApart) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"a b", "|a |b"},
        {"  key:value\tother:{two words} ", "key|value other|two words"},
        {"{a {nested} b} \"c {\"", "|a {nested} b |c {"},
        {R"("a ""b""" """" key:"" "k ""y":"1 " {k}:2 "k":{3} {a}:?)", R"(|a "b" |" key| k "y|1  k|2 k|3 a|? !)"},
        {"key:\"q q\" ?", "key|q q |? !"},
        {"key:? {?}", "key|? ! |?"},
        {"key:{} scripts:a.py", "key| scripts|a.py"},
        {"a.b_c:1 http://x", "a.b_c|1 http|//x"},
        {"- 1:2", "|- 1|2"}};
    for (const auto& [text, expected] : cases) {
        std::string all;
        for (const ArgumentText& argument : kzParseArguments(text))
            all += (all.empty() ? "" : " ") + argument.name + "|" + argument.value + (argument.isQuery ? " !" : "");
        EXPECT_EQ(all, expected) << text;
    }
}

TEST(CommandTextTest, WhatIsWrittenIsReadBack) {
    for (const char* value : {"plain", "two words", "", "?", "a:b", "{x}", "}{", "{", "say \"hi\"", "tab\there", "a|b"})
        for (const ArgumentText& argument : kzParseArguments(kzWriteArgument("key", value)))
            EXPECT_EQ(argument.name + argument.value + (argument.isQuery ? "!" : ""), std::string("key") + value);
}

TEST(LongTextTest, IsReadWholeInFewCalls) {
    const std::string text((1U << 26U) + 9, 'x');
    std::string result;
    int calls = 0;
    const auto read = [&](char* buffer, std::uint32_t length) { return ++calls, kzFillText(text, buffer, length); };
    EXPECT_EQ(kzReadText(result, read), KZe_OK);
    EXPECT_TRUE(result == text && calls < 8) << result.size() << " bytes in " << calls << " calls";
    EXPECT_EQ(kzReadText(result, [](char*, std::uint32_t) { return KZe_SHORTBUFFER; }), KZe_SHORTBUFFER);
}

class CommandTest : public HostTest {
protected:
    // Every answer after a blank, or "!" and the code's name.
    std::string perform(const std::string& text) {
        const auto outcome = host().commands().perform(text, 0);
        if (kzFailed(outcome.code)) return "!" + kzCodeName(outcome.code);
        std::string all = outcome.isQuery ? "" : "done";
        for (const std::string& answer : outcome.answers) all += (all.empty() ? "" : "/") + answer;
        return all;
    }
    std::string lastLine() {
        const auto lines = host().log().lines("commands");
        return lines.empty() ? "" : lines.back().text;
    }
};

TEST_F(CommandTest, WhatIsWrongIsNamed) {
    perform("user.value size 3 type:integer");
    perform("user.value mood calm type:choice choices:{calm;glad;wild}");
    perform("user.value tone {quite low} type:choice choices:{quite low;high}");
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"fly away", "!CMD_UNKNOWN_COMMAND", "there is no command \"fly\""},
        {"", "!CMD_BAD_DEFINITION", "a command is expected"},
        {"user.value size twelve", "!CMD_ERROR_SETTING_DATATYPE",
         "user.value: argument \"value\": \"twelve\" is not an integer, as 12 or -3"},
        {"user.value mood sad", "!CMD_ERROR_SETTING_DATATYPE",
         "user.value: argument \"value\": \"sad\" is not one of calm glad wild"},
        {"user.value tone low", "!CMD_ERROR_SETTING_DATATYPE",
         "user.value: argument \"value\": \"low\" is not one of \"quite low\" high"},
        {"user.value new 1 type:nothing", "!CMD_DATATYPE_UNAVAILABLE",
         "user.value: argument \"type\": there is no value type \"nothing\""},
        {"user.value size 1 type:float", "!ALREADYEXISTS",
         "user.value: argument \"type\": \"size\" is of type integer already; delete it first"},
        {"user.value new 1 type:choice", "!CMD_MISSING_ARGS",
         "user.value: argument \"choices\" is missing: the choice \"new\" needs words, as {red;green}"},
        {"user.value", "!CMD_MISSING_ARGS",
         "user.value: argument \"name\" is missing; it is the value's name; queried, the names of all values"},
        {"user.value a b integer d true config g h 1 2 k true m", "!CMD_TOO_MANY_ARGUMENTS", nullptr},
        {"user.value size naem:1", "!CMD_UNKNOWN_ARGUMENT", nullptr},
        {"user.value size name:1", "!CMD_ARGUMENT_ALREADY_SET",
         "user.value: argument \"name\" at position 7 is given twice"},
        {"user.value ? value:?", "!CMD_TOO_MANY_QUERIES_MARKED", nullptr},
        {"user.value size {1", "!CMD_UNBALANCED_BRACES", "user.value: the brace at position 7 is not closed"},
        {"user.value {1 {2}", "!CMD_UNBALANCED_BRACES", "user.value: the brace at position 2 is not closed"},
        {"user.value name:\"1", "!CMD_UNBALANCED_BRACES", "user.value: the quote at position 7 is not closed"},
        {"user.value {1}2", "!CMD_BAD_DEFINITION",
         "user.value: a blank is expected at position 5, after the closing brace"},
        {"user.value name: 1", "!CMD_ERROR_ARG_MISSING_VALUE",
         "user.value: argument \"name\" at position 2 has no value"},
        {"user.value gone delete:true", "!NOTFOUND", nullptr},
        {"log.clear ?", "!CMD_ARGUMENT_NOT_QUERYABLE",
         "log.clear: argument \"subsystem\": the argument cannot be queried"},
        {"unit.system miles", "!CMD_ERROR_SETTING_DATATYPE",
         "unit.system: argument \"system\": \"miles\" is not one of si metric english"},
        {"server.list", "!CMD_NOT_EXECUTABLE", nullptr},
        {"user.value\tsize 3", "!CMD_BAD_DEFINITION", "user.value: a blank is expected at position 11, after the name"},
        {"user.value nope value:?", "!NOTFOUND",
         "user.value: argument \"value\": there is no user value \"nope\"; there are mood, size, tone"},
        {"user.value value:?", "!CMD_MISSING_ARGS", nullptr},
        {"user.value value:sad name:mood", "!CMD_ERROR_SETTING_DATATYPE",
         "user.value: argument \"value\": \"sad\" is not one of calm glad wild"},
        {"user.value new x type:string choices:{x;y}", "!INVALIDARG", nullptr},
        {"command.alias nope command:?", "!CMD_NOT_ALIASED", nullptr},
        {"command.alias {two words} log.clear", "!INVALIDARG", nullptr},
        {"file.alias nope path:?", "!NOTFOUND",
         "file.alias: argument \"path\": there is no file alias \"nope\"; there are"},
        {"log.lines nope count:?", "!NOTFOUND",
         "log.lines: argument \"count\": there is no subsystem \"nope\"; there are"},
        {"server.list nope name:?", "!NOTFOUND",
         "server.list: argument \"name\": there is no class of servers \"nope\""},
        {"@", "!CMD_BAD_DEFINITION", nullptr},
        {"@missing.py", "!NOTFOUND", "script.run: argument \"fileName\": there is no script \"missing.py\""}};
    for (const auto& [text, expected, told] : cases) {
        EXPECT_EQ(perform(text), expected) << text;
        EXPECT_TRUE(told == nullptr || lastLine().starts_with(told)) << text << "\n" << lastLine();
    }
    EXPECT_EQ(perform("user.value size ?"), "3") << "nothing that failed has changed it";
    const std::size_t before = host().log().lines("commands").size();
    EXPECT_EQ(perform("!!user.value gone delete:true"), "!NOTFOUND");
    EXPECT_EQ(host().log().lines("commands").size(), before) << "the mark keeps failures out of the log";
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

TEST_F(CommandTest, AliasesKeepTheirMarksAndArguments) {
    for (const char* alias : {"set user.value", "size {!set size}", "ask {size value:?}", "lost {!!@nothing.py}"})
        EXPECT_EQ(perform(std::string("command.alias ") + alias), "done");
    EXPECT_EQ(perform("size 5 integer"), "done") << "these follow the alias's own";
    EXPECT_EQ(perform("ask"), "5");
    EXPECT_EQ(perform("lost a b"), "!NOTFOUND");
    const ServiceOf<CKzUser_CommandService> service(host().application());
    const std::pair<const char*, std::uint32_t> cases[] = {{"set", 0},
                                                           {"?size 3", KZfCMD_EXEC_SHOWDIALOG | KZfCMD_EXEC_NODIALOG},
                                                           {"ask", KZfCMD_EXEC_NODIALOG},
                                                           {"{size} \"", KZfCMD_EXEC_NODIALOG}};
    for (const auto& [text, expected] : cases) {
        std::uint32_t flags = 99;
        const char* rest = nullptr;
        EXPECT_EQ(service->ProcessStringFlags(0, text, &flags, &rest), KZe_OK) << text;
        EXPECT_EQ(flags, expected) << text;
    }
    CKzLoc_Unknown command, values;
    std::uint32_t index = 0;
    EXPECT_EQ(service->IsImplicitScript("lost a"), KZe_OK);
    EXPECT_EQ(service->Spawn(0, "ask", command.out()), KZe_OK);
    EXPECT_EQ(service->QueryArgString(command.raw(), 0, "ask", 1, values.out(), &index), KZe_OK);
    EXPECT_EQ(index, 1U);
}

TEST_F(CommandTest, WhatRunsBelongsToItsThread) {
    CCommandState& state = *host().commands().registry().environment()->state;
    const CCommandState::Depth own(state, KZfCMD_EXEC_NODIALOG);
    EXPECT_EQ(perform("user.value inner 1"), "done");
    EXPECT_EQ(state.historyCount(), 0U) << "another command runs it";
    std::jthread([&] {
        EXPECT_EQ(state.flags() + state.depth(), 0U);
        EXPECT_EQ(perform("user.value outer 1"), "done");
    }).join();
    EXPECT_EQ(state.history(), std::vector<std::string>{"user.value name:outer value:1"});
    EXPECT_EQ(state.flags(), KZfCMD_EXEC_NODIALOG);
}

TEST_F(CommandTest, OfLongTextsOnlyTheLastAreKept) {
    const ServiceOf<CKzUser_CommandService> service(host().application());
    for (int index = 0; index < 20; ++index)
        EXPECT_EQ(perform("user.value long {" + std::string(1U << 20U, 'x') + std::to_string(index) + "}"), "done");
    std::uint32_t count = 0;
    EXPECT_EQ(service->HistoryCount(&count), KZe_OK);
    EXPECT_EQ(count, 15U) << "as many as 16 MiB hold";
    const char* text = nullptr;
    EXPECT_EQ(service->HistoryByIndex(count - 1, &text), KZe_OK);
    EXPECT_TRUE(std::string(text).ends_with("x19")) << std::string(text).substr((1U << 20U) - 8);
    EXPECT_EQ(service->HistoryByIndex(count, &text), KZe_OUTOFBOUNDS);
    EXPECT_EQ(perform("user.value long {" + std::string(1U << 24U, 'x') + "}"), "done");
    EXPECT_EQ(service->HistoryCount(&count), KZe_OK);
    EXPECT_EQ(count, 1U) << "the newest whatever its length";
    const char* given = " !command";
    std::uint32_t flags = 0;
    EXPECT_EQ(service->ProcessStringFlags(0, given, &flags, &text), KZe_OK);
    EXPECT_EQ(text, given + 2) << "no copy that somebody has to keep";
}

}  // namespace
