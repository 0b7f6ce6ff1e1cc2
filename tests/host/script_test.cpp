// Script files, their arguments, and how the host finds the interpreter for them.
#include "host/core/log_store.h"
#include "host/core/scripts.h"
#include "host/state/path_aliases.h"
#include "tests/support/host_test.h"

#include "kz/result.h"
#include "kz/script.h"
#include "kz_paths.h"

using namespace kzhost;

namespace {

TEST(ScriptFileTest, LineEndsAndMarksAreTakenCareOf) {
    const CTestFolder folder;
    const std::string mark = "\xEF\xBB\xBF", accent = "\xC3\xA9\n";
    const std::pair<std::string, std::string> cases[] = {{"a\r\nb\rc\n", "a\nb\nc\n"},
                                                         {mark + "a\n", "a\n"},
                                                         {mark + accent, mark + accent},
                                                         {"", ""},
                                                         {"no end", "no end"}};
    for (const auto& [content, expected] : cases) {
        std::string problem;
        const auto script = kzReadScript(folder.write("s.py", content), problem);
        EXPECT_EQ(script ? kzAnswer([&](const char** text) { return script->scr_Buffer(text); }) : problem, expected)
            << content;
    }
}

TEST(ScriptFileTest, ArgumentsAreJoinedOrRefused) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, ""},           {{"a", "b c", "d"}, "a \"b c\" d"},
        {{"x\"y"}, "x\"y"}, {{"tab\there"}, "tab\there"},
        {{"\"a"}, nullptr}, {{"a \"b"}, nullptr},
        {{""}, nullptr}};
    for (const auto& [arguments, expected] : cases) {
        std::string problem;
        const std::string joined = kzJoinArguments(arguments, problem);
        EXPECT_EQ(problem.empty() ? joined : problem.substr(0, 10), expected != nullptr ? expected : "argument 1")
            << joined << problem;
    }
}

class ScriptTest : public HostTest {
protected:
    ScriptTest() { load(); }
    ScriptEnd run(const std::string& path) {
        std::string problem;
        return host().run(kzReadScript(path, problem), 7, "args");
    }
    CTestFolder folder;
};

TEST_F(ScriptTest, TheFirstLineOrTheFilesNameFindsTheInterpreter) {
    const std::tuple<const char*, const char*, KzResult> cases[] = {
        {"a.py", "text = 1", 0},           {"a.txt", "# python\n", 0},
        {"b.py", "# other\n", 0},          {"a.txt", "python", KZe_SCRIPT_UNKNOWN},
        {"a.txt", "", KZe_SCRIPT_UNKNOWN}, {"py", "x", KZe_SCRIPT_UNKNOWN}};
    for (const auto& [name, content, code] : cases)
        EXPECT_EQ(run(folder.write(name, content)).code, code) << name << " " << content;
}

TEST_F(ScriptTest, ARunIsHandedEverythingAndItsMessageComesBack) {
    const char* script = "import kz\nkz.bless(type('Flags', (__import__('kzifc').Command,), {'cmd_Execute': "
                         "lambda self, flags: kz.out(flags)}), 'flags')\n"
                         "kz.out(repr(__file__ if '__file__' in globals() else ''), kz.arg())\r\n"
                         "kz.eval('flags')\nimport sys\nsys.exit(':gone')\n";
    const ScriptEnd end = run(folder.write("a.py", script));
    EXPECT_EQ(end.code, KZe_FAILED);
    EXPECT_EQ(end.message, "The script ended: gone");
    std::string told;
    for (const LogLine& line : host().log().lines("scripts")) told += line.text + "|";
    EXPECT_EQ(told, folder.path("a.py") + "|'" + folder.path("a.py") + "' args|7|");
    EXPECT_FALSE(run(folder.write("a.py", "")).isTold);
    EXPECT_EQ(host().scripts().depth(), 0U);
}

TEST_F(ScriptTest, TheScriptServiceRunsByPathAliasAndName) {
    host().files().setAlias("scripts", folder.path());
    folder.write("a.py", "");
    folder.write("bad.py", std::string("\0", 1));
    const ServiceOf<CKzUser_ScriptSysService> scripts(host().application());
    for (const std::string& name : {std::string("a.py"), std::string("scripts:a.py"), folder.path("a.py")})
        EXPECT_EQ(scripts->Run(name.c_str(), 0, nullptr, nullptr), KZe_OK) << name;
    EXPECT_EQ(scripts->Run("missing.py", 0, "", nullptr), KZe_NOTFOUND);
    EXPECT_EQ(scripts->Run(nullptr, 0, "", nullptr), KZe_INVALIDARG);
    EXPECT_EQ(scripts->Run("bad.py", 0, "", nullptr), KZe_SCRIPT_ERROR);
    ASSERT_EQ(host().log().lines("scripts").size(), 1U);
    EXPECT_NE(host().log().lines("scripts")[0].text.find("line 1 contains a NUL byte"), std::string::npos);
}

}  // namespace
