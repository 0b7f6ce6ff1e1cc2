// Messages, the texts behind them, and identifiers as text.
#include "tests/support/host_test.h"

#include "kz/guid.h"
#include "kz/result.h"
#include "kz/tables.h"

#include <set>

namespace {

class MessageTest : public HostTest {
protected:
    std::string textOfMessage(const std::function<void(IKzMessage&)>& fill, std::size_t size = 4096) {
        const ServiceOf<CKzUser_MessageService> messages(host().application());
        CKzLoc_Unknown made;
        EXPECT_EQ(messages->Allocate(made.out()), KZe_OK);
        const CKzUser_Message message(made.raw());
        fill(*message.ptr());
        std::string text(size, '\0');
        m_code = messages->MessageText(message.raw(), text.data(), static_cast<std::uint32_t>(size));
        return text.c_str();
    }
    KzResult m_code = 0;
};

TEST_F(MessageTest, TextsAreFilledWithTheirArguments) {
    EXPECT_EQ(textOfMessage([](IKzMessage& message) {
                  message.SetMessage("pythonintr", "exit_code_msg", 0);
                  message.SetArgumentString(1, "NOTFOUND");
                  message.SetArgumentString(2, "100%1 of it");
              }),
              "The script ended with code NOTFOUND: 100%1 of it");
    EXPECT_EQ(textOfMessage([](IKzMessage& message) { message.SetCode(KZe_NOTFOUND); }), "not found");
    EXPECT_EQ(textOfMessage([](IKzMessage& message) { message.SetCode(0x8ABCDEF0U); }), "error 8abcdef0");
    EXPECT_EQ(textOfMessage([](IKzMessage& message) {
                  message.SetMessage("other", "key", 0);
                  message.SetArgumentInt(2, -5);
                  EXPECT_EQ(message.SetArgumentInt(0, 1), KZe_OUTOFBOUNDS);
                  EXPECT_EQ(message.SetArgumentInt(10, 1), KZe_OUTOFBOUNDS);
              }),
              "other:key \"-5\"");
    const std::string longText(500, 'x');
    const auto fill = [&](IKzMessage& message) {
        message.SetMessage("pythonintr", "exit_msg", 0);
        message.SetArgumentString(1, longText.c_str());
    };
    EXPECT_EQ(textOfMessage(fill, 200).size(), 199U) << "what fits is there";
    EXPECT_EQ(m_code, KZe_SHORTBUFFER);
}

TEST_F(MessageTest, TheTablesOfScriptsAreThere) {
    const ServiceOf<CKzUser_MessageService> messages(host().application());
    for (const char* key : {"exception", "script_err", "exit_code", "exit_code_msg", "exit_msg"})
        EXPECT_EQ(messages->TableHas("pythonintr", key), KZe_OK) << key;
    EXPECT_EQ(messages->TableHas("pythonintr", "nothing"), KZe_NOTFOUND);
}

TEST_F(MessageTest, EveryIdentityHasOneTextAndOneAddress) {
    const ServiceOf<CKzUser_GUIDService> guids(host().application());
    std::uint32_t count = 0;
    ASSERT_EQ(guids->KnownCount(&count), KZe_OK);
    std::set<std::string> texts;
    for (std::uint32_t index = 0; index < count; ++index) {
        const KzGuid* iid = nullptr;
        ASSERT_EQ(guids->KnownByIndex(index, &iid), KZe_OK);
        std::string text = textOf([&](char* b, std::uint32_t n) { return guids->ToText(iid, b, n); });
        EXPECT_TRUE(texts.insert(text).second) << text;
        for (char& c : text) c = static_cast<char>(std::tolower(c));
        KzGuid parsed{};
        EXPECT_EQ(guids->FromText(text.c_str(), &parsed), KZe_OK);
        EXPECT_EQ(guids->Global(&parsed), iid);
    }
    const KzGuid unknown{1, 2, 3, {}};
    EXPECT_EQ(guids->Global(&unknown), nullptr);
    KzGuid parsed{};
    for (const char* bad :
         {"", "5582E0EE", "5582E0EE-D682-47BC-BF3D-FB14D59948C", "5582E0EE-D682-47BC-BF3D-FB14D59948G1",
          "5582E0EE_D682-47BC-BF3D-FB14D59948C1", " 582E0EE-D682-47BC-BF3D-FB14D59948C1"})
        EXPECT_EQ(guids->FromText(bad, &parsed), KZe_INVALIDARG) << bad;
    EXPECT_EQ(guids->FromText(nullptr, &parsed), KZe_INVALIDARG);
    const char* name = nullptr;
    const KzGuid* iid = nullptr;
    ASSERT_EQ(guids->LookupName("command", &iid), KZe_OK);
    ASSERT_EQ(guids->ClassName(iid, &name), KZe_OK);
    EXPECT_STREQ(name, "command");
}

TEST(TextTest, CodesHaveNamesAndMarkupGoes) {
    EXPECT_EQ(kzCodeName(0), "OK");
    EXPECT_EQ(kzCodeName(1), "INFO");
    EXPECT_EQ(kzCodeName(0x80000017U), "NOTFOUND");
    EXPECT_EQ(kzCodeName(0x89999999U), "89999999");
    EXPECT_EQ(kzCodeOfName("NOTFOUND"), 0x80000017U);
    EXPECT_EQ(kzCodeOfName("nothing"), std::nullopt);
    EXPECT_EQ(kzWithoutMarkup("\x03(f:FONT_ITALIC) kz\x03(f:FONT_DEFAULT)"), " kz");
    EXPECT_EQ(kzWithoutMarkup("a\x03"
                              "b \x03(open"),
              "a\x03"
              "b \x03(open");
}

}  // namespace
