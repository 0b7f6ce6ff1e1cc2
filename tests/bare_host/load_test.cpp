// Loading the plug-in: twice, and into a host of another description.
#include "tests/bare_host/bare_host.h"
#include "tests/support/child.h"
#include "tests/support/folder.h"

#include "kz/base/description.h"
#include "kz/tables.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dlfcn.h>
#include <fstream>

TEST(LoadTest, IsRefusedASecondTimeWithAReason) {
    const CTestFolder folder;
    kzInChild("loaded again", [&] {
        CBareHost first;
        ASSERT_TRUE(first.load());
        first.execute("1");
        first.unload();
        ASSERT_NE(std::freopen(folder.path("errors").c_str(), "w", stderr), nullptr);
        CBareHost second;
        EXPECT_FALSE(second.load());
        EXPECT_NE(second.library, nullptr);
        EXPECT_FALSE(second.module);
        std::fflush(stderr);
        std::string line;
        std::getline(std::ifstream(folder.path("errors")), line);
        EXPECT_EQ(line,
                  "kzPython2: the module has been unloaded in this process, and Python cannot start twice in one");
    });
}

// A host that takes lines alone gets an unfinished one when it is flushed, and every end in the required texts.
TEST(LoadTest, SufficesForOutputInLines) {
    kzInChild("lines alone", [] {
        CBareHost host;
        ASSERT_TRUE(host.load());
        host.run(R"(
            import sys
            for text in 'a', 'b\0', 'c': sys.stdout.write(text); sys.stdout.flush()
            print 'd',
            sys.stderr.write('e'))"_lines);
        EXPECT_EQ(host.execute("import sys; print 'f',; sys.exit(3)"), KZe_FAILED);
        for (const char* line : {"\na\n", "\nb\\x00\n", "\nc\n", "\nd\n", "\ne\n", "\nf\n", "\nsys.exit() exception\n"})
            EXPECT_TRUE(("\n" + host.log()).find(line) != std::string::npos) << line << " in " << host.log();
    });
}

namespace {

// A host with the description that a test gives it.
class COtherDescription final : public IKzDescription {
public:
    COtherDescription(const char* hash, std::uint64_t change) : m_hash(hash), m_change(change) {}
    KzResult QueryInterface(const KzGuid*, void**) override { return kzNoInterface; }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    KzResult Hash(const char** hash) override { return *hash = m_hash, kzOk; }
    KzResult Signature(const KzGuid* iid, std::uint64_t* signature) override {
        for (const KzIdentityRow& row : kzIdentityRows)
            if (row.iid == *iid) *signature = row.signature;
        if (*iid == KZu_MESH || *iid == KZu_COMMAND) *signature += m_change;
        return *iid == KZu_ITEM ? KZe_NOTFOUND : kzOk;
    }

private:
    const char* m_hash;
    std::uint64_t m_change;
};

}  // namespace

TEST(LoadTest, IsRefusedInAHostOfAnotherDescription) {
    const std::tuple<const char*, std::uint64_t, bool> table[] = {
        {kzDescriptionHash, 0, false},
        {kzDescriptionHash, 1, false},
        {"0123", 1, true},
        {"0123", 0, false}};  // every interface that both know agrees
    for (const auto& [hash, change, isRefused] : table)
        kzInChild(hash, [&, hash = hash, change = change, isRefused = isRefused] {
            COtherDescription description(hash, change);
            CBareHost host;
            host.own = [&](const KzGuid& iid, void** object) {
                if (iid != KZu_DESCRIPTION) return KZe_NOTFOUND;
                return *object = &description, kzOk;
            };
            EXPECT_NE(host.load(), isRefused);
            EXPECT_EQ(
                host.hasLogged(std::string("the module refuses its host: the host's SDK description is 0123, this "
                                           "module's is ") +
                               kzDescriptionHash + "; interfaces that differ: Command, Mesh\n"),
                isRefused)
                << host.log();
            EXPECT_EQ(host.run("1"), isRefused ? KZe_NOTAVAILABLE : kzOk);
        });
}
