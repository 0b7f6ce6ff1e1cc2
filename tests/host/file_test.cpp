// Aliases and paths, through the file service.
#include "tests/support/host_test.h"

#include "kz/file.h"
#include "kz/platform.h"
#include "kz/result.h"
#include "kz/value.h"

namespace {

class FileTest : public HostTest {
protected:
    FileTest() {
        std::filesystem::create_directories(m_folder.path("kit/extra64/Python"));
        host().core().files.setAlias("kit", m_folder.path("kit"));
        host().core().files.setAlias("gone", m_folder.path("gone"));
        m_files.set(host().application());
    }
    void TearDown() override {
        m_files.clear();
        HostTest::TearDown();
    }
    std::string local(const char* path) {
        return textOf([&](char* buffer, std::uint32_t size) { return m_files->ToLocalAlias(path, buffer, size); });
    }

    CTestFolder m_folder;
    CKzUser_FileService m_files;
};

TEST_F(FileTest, AliasesResolveToWhatExists) {
    const std::string kit = m_folder.path("kit");
    const std::pair<const char*, std::string> cases[] = {
        {"kit:", kit},
        {"kit:extra64/Python", kit + "/extra64/Python"},
        {"kit:/extra64", kit + "/extra64"},
        {"kit:nothing", "NOTFOUND"},
        {"gone:", "NOTFOUND"},
        {"unknown:extra64", "NOTFOUND"},
        {"", "NOTFOUND"},
        {nullptr, "NOTFOUND"},
        {"/", "/"},
    };
    for (const auto& [path, expected] : cases) EXPECT_EQ(local(path), expected) << (path != nullptr ? path : "null");
    EXPECT_EQ(textOf([&](char* b, std::uint32_t n) { return m_files->ToHostAlias((kit + "/extra64").c_str(), b, n); }),
              "kit:extra64");
    EXPECT_EQ(textOf([&](char* b, std::uint32_t n) { return m_files->ToHostAlias((kit + "chen").c_str(), b, n); }),
              kit + "chen");
}

TEST_F(FileTest, AShortBufferIsSaidAndNeverOverrun) {
    const std::string whole = m_folder.path("kit");
    for (std::size_t size = 0; size <= whole.size() + 1; ++size) {
        std::string buffer(whole.size() + 8, '#');
        const KzResult code = m_files->ToLocalAlias("kit:", buffer.data(), static_cast<std::uint32_t>(size));
        EXPECT_EQ(code, size > whole.size() ? KZe_OK : KZe_SHORTBUFFER) << size;
        EXPECT_EQ(buffer.substr(size), std::string(buffer.size() - size, '#')) << size;
        if (size > 0) {
            EXPECT_EQ(std::string(buffer.c_str()), whole.substr(0, size - 1));
        }
    }
    char cut[4] = "";
    EXPECT_EQ(kzFillText("ab\xC3\xA9", cut, sizeof cut), KZe_SHORTBUFFER);
    EXPECT_STREQ(cut, "ab") << "a character must not be cut in two";
}

TEST_F(FileTest, OperationsNameWhatIsWrong) {
    const std::string file = m_folder.write("a.txt", "one\r\ntwo\n");
    const char* path = nullptr;
    EXPECT_EQ(m_files->FileSystemPath("exename", &path), KZe_OK);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(m_files->FileSystemPath("nowhere", &path), KZe_NOTFOUND);
    EXPECT_EQ(m_files->AliasSet("a:b", "/"), KZe_INVALIDARG);
    EXPECT_EQ(m_files->RemoveFile("kit:"), KZe_INVALIDARG) << "a folder";
    std::uint32_t flags = 0;
    EXPECT_EQ(m_files->TestFile("kit:nothing", &flags), KZe_NOTFOUND);
    EXPECT_EQ(m_files->TestFile(file.c_str(), &flags), KZe_OK);
    EXPECT_EQ(flags & (KZfFILE_EXISTS | KZfFILE_FOLDER), KZfFILE_EXISTS);
    double size = 0;
    EXPECT_EQ(m_files->FileSize(file.c_str(), &size), KZe_OK);
    EXPECT_EQ(size, 9);
    CKzLoc_Unknown lines;
    ASSERT_EQ(m_files->ReadLines(file.c_str(), nullptr, lines.out()), KZe_OK);
    const CKzUser_ValueArray read(lines.raw());
    EXPECT_EQ(textOf([&](char* b, std::uint32_t n) { return read->GetString(1, b, n); }), "two");
    const std::string unique =
        textOf([&](char* b, std::uint32_t n) { return m_files->UniqueName(m_folder.path("a").c_str(), "txt", b, n); });
    EXPECT_EQ(unique, m_folder.path("a_1.txt"));
}

TEST_F(FileTest, ImportPathsKeepTheirOrder) {
    const ServiceOf<CKzUser_PlatformService> platform(host().application());
    for (const char* path : {"/p", "/q", "/r"}) EXPECT_EQ(platform->ImportPathAdd(path), KZe_OK);
    std::uint32_t count = 0;
    EXPECT_EQ(platform->ImportPathCount(&count), KZe_OK);
    std::string all;
    for (std::uint32_t index = 0; index < count; ++index) {
        const char* path = nullptr;
        EXPECT_EQ(platform->ImportPathByIndex(index, &path), KZe_OK);
        all += path;
    }
    EXPECT_EQ(all, "/p/q/r");
    const char* path = nullptr;
    EXPECT_EQ(platform->ImportPathByIndex(count, &path), KZe_OUTOFBOUNDS);
}

}  // namespace
