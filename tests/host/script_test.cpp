// Script files, their arguments, and how the host finds who runs them; with an interpreter of the test's own.
#include "fake_module.h"
#include "tests/support/host_test.h"

#include "kz/result.h"

namespace {

TEST(ScriptFileTest, LineEndsAndMarksAreTakenCareOf) {
    const CTestFolder folder;
    const std::pair<std::string, std::string> cases[] = {
        {"a\r\nb\rc\n", "a\nb\nc\n"},
        {"\xEF\xBB\xBF"
         "a\n",
         "a\n"},
        {"\xEF\xBB\xBF"
         "\xC3\xA9\n",
         "\xEF\xBB\xBF"
         "\xC3\xA9\n"},
        {"", ""},
        {"no end", "no end"},
    };
    for (const auto& [content, expected] : cases) {
        std::string problem;
        const auto script = kzReadScript(folder.write("s.py", content), problem);
        ASSERT_TRUE(script) << problem;
        const char* text = nullptr;
        EXPECT_EQ(script->scr_Buffer(&text), KZe_OK);
        EXPECT_EQ(text, expected);
    }
}

TEST(ScriptFileTest, WhatIsNoScriptIsRefusedByName) {
    const CTestFolder folder;
    const std::pair<std::string, const char*> cases[] = {
        {folder.write("zero.py", std::string("a\nb\0", 4)), "line 2 holds a zero byte"},
        {folder.path("missing.py"), "no such file"},
        {folder.path(), "folder"},
    };
    for (const auto& [path, expected] : cases) {
        std::string problem;
        EXPECT_FALSE(kzReadScript(path, problem));
        EXPECT_NE(problem.find(expected), std::string::npos) << problem;
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
        const auto joined = kzJoinArguments(arguments, problem);
        ASSERT_EQ(joined.has_value(), expected != nullptr) << problem;
        if (joined) {
            EXPECT_EQ(*joined, expected);
        } else {
            EXPECT_NE(problem.find("argument 1"), std::string::npos) << problem;
        }
    }
}

class ScriptTest : public HostTest {
protected:
    ScriptTest() { EXPECT_EQ(host().adopt("fake", m_module.object()), KZe_OK); }
    void TearDown() override {
        m_module.release();
        HostTest::TearDown();
    }
    ScriptEnd run(const std::string& path) {
        std::string problem;
        return host().run(kzReadScript(path, problem), 7, "args");
    }
    CTestFolder m_folder;
    FakeModule m_module;
};

TEST_F(ScriptTest, TheFirstLineOrTheFilesNameFindsTheInterpreter) {
    const std::tuple<const char*, const char*, KzResult> cases[] = {{"a.fake", "text", 0},
                                                                    {"a.txt", "# fake\n", 0},
                                                                    {"b.fake", "# other\n", 0},
                                                                    {"a.txt", "fake", KZe_SCRIPT_UNKNOWN},
                                                                    {"a.txt", "", KZe_SCRIPT_UNKNOWN},
                                                                    {"fake", "x", KZe_SCRIPT_UNKNOWN}};
    for (const auto& [name, content, code] : cases)
        EXPECT_EQ(run(m_folder.write(name, content)).code, code) << name << " " << content;
}

TEST_F(ScriptTest, ARunIsHandedEverythingAndItsMessageComesBack) {
    const std::string path = m_folder.write("a.fake", "text\r\n");
    FakeInterpreter::theResult = KZe_NOTFOUND;
    FakeInterpreter::theMessage = "gone";
    const ScriptEnd end = run(path);
    EXPECT_EQ(FakeInterpreter::theRun, path + "|text\n|7|args");
    EXPECT_EQ(end.code, KZe_NOTFOUND);
    EXPECT_EQ(end.message, "The script ended: gone");
    FakeInterpreter::theMessage.clear();
    EXPECT_FALSE(run(path).isTold);
    EXPECT_EQ(host().core().scripts.depth(), 0U);
    FakeInterpreter::theResult = 0;
}

TEST_F(ScriptTest, TheScriptServiceRunsByPathAliasAndName) {
    host().core().files.setAlias("scripts", m_folder.path());
    m_folder.write("a.fake", "text");
    m_folder.write("bad.fake", std::string("\0", 1));
    const ServiceOf<CKzUser_ScriptSysService> scripts(host().application());
    for (const std::string& name : {std::string("a.fake"), std::string("scripts:a.fake"), m_folder.path("a.fake")})
        EXPECT_EQ(scripts->Run(name.c_str(), 0, nullptr, nullptr), KZe_OK) << name;
    EXPECT_EQ(scripts->Run("missing.fake", 0, "", nullptr), KZe_NOTFOUND);
    EXPECT_EQ(scripts->Run(nullptr, 0, "", nullptr), KZe_INVALIDARG);
    EXPECT_EQ(scripts->Run("bad.fake", 0, "", nullptr), KZe_SCRIPT_ERROR);
    ASSERT_EQ(host().log().lines("scripts").size(), 1U);
    EXPECT_NE(host().log().lines("scripts")[0].text.find("line 1 holds a zero byte"), std::string::npos);
}

}  // namespace
