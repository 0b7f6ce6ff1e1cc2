// Modules and their servers, as the host lists and creates them.
#include "fake_module.h"
#include "tests/support/host_test.h"
#include "kz_paths.h"

#include "kz/application.h"
#include "kz/host.h"
#include "kz/log.h"
#include "kz/result.h"

namespace {

class ModuleTest : public HostTest {
protected:
    void TearDown() override {
        m_module.release();
        HostTest::TearDown();
    }
    FakeModule m_module;
};

TEST_F(ModuleTest, ServersAreListedCreatedAndReadAgain) {
    ASSERT_EQ(host().adopt("fake", m_module.object()), KZe_OK);
    const ServiceOf<CKzUser_HostService> service(host().application());
    const auto count = [&](const char* type) {
        std::uint32_t found = 99;
        EXPECT_EQ(service->ServerCount(type, &found), KZe_OK);
        return found;
    };
    EXPECT_EQ(count("textscriptinterpreter"), 1U);
    EXPECT_EQ(count("command"), 0U);
    CKzLoc_Unknown made;
    EXPECT_EQ(service->SpawnServer("textscriptinterpreter", "fake", made.out()), KZe_OK);
    EXPECT_TRUE(CKzUser_TextScriptInterpreter(made.raw()));
    EXPECT_EQ(service->SpawnServer("textscriptinterpreter", "other", made.out()), KZe_NOTFOUND);
    EXPECT_EQ(service->SpawnServer(nullptr, nullptr, made.out()), KZe_NOTFOUND);
    const char* tag = nullptr;
    EXPECT_EQ(service->ServerTag("textscriptinterpreter", "fake", "loader.dosPattern", &tag), KZe_OK);
    EXPECT_STREQ(tag, "*.fake");

    m_module.records.push_back({"server", "late", &KZu_COMMAND});
    m_module.records.push_back({"note", "no server", nullptr});
    EXPECT_EQ(count("command"), 0U) << "until it is told";
    EXPECT_EQ(service->ModuleUpdate("fake"), KZe_OK);
    EXPECT_EQ(count("command"), 1U);
    EXPECT_EQ(count(""), 2U);
    EXPECT_EQ(service->SpawnServer("command", "late", made.out()), KZe_NOTFOUND) << "the module's own code";
    EXPECT_EQ(service->ModuleUpdate("nobody"), KZe_NOTFOUND);
}

TEST_F(ModuleTest, AModuleThatRefusesItsHostIsNotTakenIn) {
    m_module.contextCode = KZe_NOTREADY;
    EXPECT_EQ(host().adopt("fake", m_module.object()), KZe_NOTREADY);
    EXPECT_TRUE(host().core().modules.servers().empty());
    std::string why;
    EXPECT_FALSE(host().load("/no/such/module.so", why));
    EXPECT_NE(why.find("/no/such/module.so"), std::string::npos) << why;
}

TEST_F(ModuleTest, TheApplicationAnswersEveryServiceAndNothingElse) {
    const ServiceOf<CKzUser_ApplicationService> application(host().application());
    for (const std::string& name : host().core().serviceNames()) {
        CKzLoc_Unknown byName;
        EXPECT_EQ(application->ServiceByName(name.c_str(), byName.out()), KZe_OK) << name;
        void* byIid = nullptr;
        EXPECT_EQ(application->QueryInterface(host().core().serviceByName(name), &byIid), KZe_OK) << name;
        if (byIid != nullptr) static_cast<IKzUnknown*>(byIid)->Release();
    }
    CKzLoc_Unknown none;
    EXPECT_EQ(application->ServiceByName("nothing", none.out()), KZe_NOTFOUND);
    void* found = nullptr;
    EXPECT_EQ(application->QueryInterface(&KZu_MESSAGE, &found), KZe_NOINTERFACE);
    host().core().removeService(KZu_LOGSERVICE);
    restart();
    host().core().removeService(KZu_LOGSERVICE);
    EXPECT_FALSE(ServiceOf<CKzUser_LogService>(host().application()));
    const char* value = nullptr;
    EXPECT_EQ(ServiceOf<CKzUser_ApplicationService>(host().application()).Property("a", &value), KZe_NOTFOUND);
}

// The module as it is shipped: loaded, read, unloaded, and its library closed.
TEST_F(ModuleTest, TheShippedModuleLoadsAndLeavesNothingBehind) {
    std::string why;
    host().core().modules.closeLibraries();
    ASSERT_TRUE(host().load(KZ_BUILD_DIR "/plugins/kzPython2.so", why)) << why;
    EXPECT_TRUE(host().core().modules.find("textscriptinterpreter", "python"));
    EXPECT_TRUE(host().core().modules.find("lineinterpreter", "python"));
    host().unload();
    EXPECT_TRUE(host().core().modules.servers().empty());
}

}  // namespace
