// The module object: its table of servers, and how servers are listed and created.
#include "module/this_module.h"
#include "tests/support/plugin_host.h"

#include "kz/module.h"
#include "kz/result.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>

namespace {

int theAllocations = 0;
int theLimit = 0;

void* limited(void* memory, std::size_t size) {
    return ++theAllocations > theLimit ? nullptr : std::realloc(memory, size);
}

// Lets this many further allocations of the table succeed.
void allow(int count) {
    theAllocations = 0;
    theLimit = count;
    CServerTable::setReallocate(limited);
}

class CNothing : public CKzImpl_NeedContext {};

}  // namespace

TEST(ServerTableTest, GrowsByTwentyAndKeepsItsOrder) {
    CKzPolymorph<CNothing> polymorph;
    CServerTable table;
    std::deque<std::string> names;
    for (std::uint32_t index = 0; index < 41; ++index) {
        table.add(names.emplace_back("server" + std::to_string(index)).c_str(), &polymorph);
        EXPECT_EQ(table.capacity(), (index / 20 + 1) * 20);
    }
    ASSERT_EQ(table.count(), 41U);
    for (std::uint32_t index = 0; index < 41; ++index) EXPECT_EQ(table.name(index), names[index]);
    EXPECT_STREQ(polymorph.name(), "server0");  // the first name stays
    EXPECT_EQ(table.classId(0), nullptr);       // no interface yet
}

TEST(ServerTableTest, IsEmptyAfterAnyAllocationFailed) {
    CKzPolymorph<CNothing> polymorph;
    for (int failing = 0; failing < 6; ++failing) {
        allow(failing);
        CServerTable table;
        EXPECT_THROW(for (int index = 0; index < 21; ++index) table.add("server", &polymorph), KzResult) << failing;
        EXPECT_EQ(table.count(), 0U);
        allow(100);
        for (int index = 0; index < 45; ++index) table.add("again", &polymorph);
        EXPECT_EQ(table.count(), 45U);
    }
    CServerTable::setReallocate(nullptr);
}

TEST(ServerTableTest, ListsAndGenerates) {
    CPluginHost host;
    host.adopt(_IKzModule_Create());
    CKzLoc_Unknown again;
    *again.out() = _IKzModule_Create();
    const CKzUser_TagDescription tags(again.raw());
    const CKzUser_Module module(again.raw());
    KzTagRecord record{};
    std::uint32_t index = 0;
    for (const KzGuid* server : {&KZu_TEXTSCRIPTINTERPRETER, &KZu_LINEINTERPRETER, &KZu_MODULE}) {
        EXPECT_EQ(tags.Describe(index++, &record), KZe_OK);
        EXPECT_EQ(std::string(record.type) + record.tag, "serverpython");
        EXPECT_EQ(*record.info, *server);
    }
    EXPECT_EQ(tags.Count(), index);
    for (const std::uint32_t beyond : {index, 0xFFFFFFFFU}) EXPECT_EQ(tags.Describe(beyond, &record), KZe_OUTOFBOUNDS);
    EXPECT_EQ(tags.Describe(0, nullptr), KZe_INVALIDARG);
    const std::tuple<const char*, const KzGuid*, KzResult> table[] = {
        {"python", &KZu_TEXTSCRIPTINTERPRETER, KZe_OK},
        {"python", &KZu_LINEINTERPRETER, KZe_OK},
        {"python", &KZu_MODULE, KZe_OK},
        {"python", &KZu_TAGDESCRIPTION, KZe_NOTFOUND},
        {"Python", &KZu_LINEINTERPRETER, KZe_NOTFOUND},
        {"", &KZu_LINEINTERPRETER, KZe_NOTFOUND},
        {"dict-as-tags", &KZu_TAGDESCRIPTION, KZe_NOTFOUND},
        {"python", &KZu_UNKNOWN, KZe_NOTFOUND},
        {nullptr, &KZu_LINEINTERPRETER, KZe_INVALIDARG},
        {"python", nullptr, KZe_INVALIDARG}};
    for (const auto& [name, iid, code] : table) {
        CKzLoc_Unknown object;
        EXPECT_EQ(module.Generate(name, iid, object.out()), code) << (name != nullptr ? name : "-");
        EXPECT_EQ(bool(CKzUser_TagDescription(object.raw())), code == KZe_OK);
    }
    EXPECT_EQ(module.Generate("python", &KZu_LINEINTERPRETER, nullptr), KZe_INVALIDARG);
}

TEST(ServerTableTest, MayBeFilledAfterAFailedAttempt) {
    allow(1);
    EXPECT_EQ(_IKzModule_Create(), nullptr);
    EXPECT_EQ(CKzThisModule::instance().lifeState(), CKzThisModule::unloaded);
    allow(3);
    CPluginHost host;
    host.adopt(_IKzModule_Create());
    CKzThisModule& module = CKzThisModule::instance();
    EXPECT_EQ(module.lifeState(), CKzThisModule::initialised);
    const std::uint32_t count = module.tag_Count();
    _IKzModule_Create()->Release();
    EXPECT_EQ(module.tag_Count(), count);
    CKzLoc_Unknown console;
    EXPECT_TRUE(host.spawn(KZa_LINEINTERPRETER, console));
    host.host.unload();
    EXPECT_EQ(module.lifeState(), CKzThisModule::shutDown);
}
