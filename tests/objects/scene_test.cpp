// Scenes through their interfaces: the tree of items, their channels, and where locators are.
#include "tests/host/host_fixture.h"

#include "kz/channel.h"
#include "kz/item.h"
#include "kz/mesh.h"
#include "kz/result.h"
#include "kz/scene.h"
#include "kz/scene_graph.h"
#include "kz/transform.h"
#include "kz/value.h"

#include <cmath>
#include <numbers>

namespace {

class SceneTest : public HostTest {
protected:
    SceneTest() {
        CKzLoc_Unknown made;
        EXPECT_EQ(service()->Create("test", made.out()), KZe_OK);
        m_scene.set(made.raw());
    }
    void TearDown() override {
        m_scene.clear();
        HostTest::TearDown();
    }
    ServiceOf<CKzUser_SceneService> service() { return ServiceOf<CKzUser_SceneService>(host().application()); }
    const CKzUser_Scene& scene() const { return m_scene; }
    std::int32_t type(const char* name) {
        std::int32_t number = 0;
        EXPECT_EQ(service()->ItemTypeLookup(name, &number), KZe_OK) << name;
        return number;
    }
    CKzUser_Item add(const char* typeName, const char* name, const CKzUser_Item* parent = nullptr) {
        CKzLoc_Unknown made;
        EXPECT_EQ(scene().ItemAdd(type(typeName), made.out()), KZe_OK);
        const CKzUser_Item item(made.raw());
        EXPECT_EQ(item.SetName(name), KZe_OK);
        if (parent != nullptr) {
            EXPECT_EQ(item.SetParent(parent->raw(), -1), KZe_OK);
        }
        return CKzUser_Item(made.raw());
    }
    static std::int32_t channel(const CKzUser_Item& item, const char* name) {
        std::int32_t index = -1;
        EXPECT_EQ(item.ChannelLookup(name, &index), KZe_OK) << name;
        return index;
    }
    CKzUser_ChannelRead reader() {
        CKzLoc_Unknown made;
        EXPECT_EQ(scene().Channels(nullptr, 0, made.out()), KZe_OK);
        return CKzUser_ChannelRead(made.raw());
    }
    CKzUser_ChannelWrite writer() {
        CKzLoc_Unknown made;
        EXPECT_EQ(scene().WriteChannels(KZs_ACTIONLAYER_EDIT, 0, made.out()), KZe_OK);
        return CKzUser_ChannelWrite(made.raw());
    }

private:
    CKzUser_Scene m_scene;
};

std::string nameOf(const CKzUser_Item& item) {
    const char* name = nullptr;
    return kzSucceeded(item.UniqueName(&name)) && name != nullptr ? name : "";
}

TEST_F(SceneTest, ItemsFormATree) {
    const CKzUser_Item a = add("locator", "a"), b = add("mesh", "b", &a), c = add("mesh", "b", &b);
    EXPECT_EQ(nameOf(b), "b");
    EXPECT_EQ(nameOf(c), "b (2)");
    EXPECT_EQ(b.SetName(nullptr), KZe_OK);
    EXPECT_EQ(nameOf(b), "Mesh");
    EXPECT_EQ(nameOf(c), "b");
    EXPECT_TRUE(a.IsAncestor(c.raw()));
    EXPECT_EQ(a.SetParent(c.raw(), -1), KZeGRAPH_CYCLIC);
    EXPECT_EQ(a.SetParent(a.raw(), -1), KZeGRAPH_CYCLIC);
    EXPECT_EQ(a.SetParent(host().application(), -1), KZe_INVALIDARG);
    EXPECT_EQ(a.RootPosition(), 0);
    EXPECT_EQ(c.SetParent(nullptr, 0), KZe_OK);
    EXPECT_EQ(a.RootPosition(), 1);
    EXPECT_EQ(c.SetParent(a.raw(), 0), KZe_OK);
    CKzLoc_Unknown child, parent, found;
    EXPECT_EQ(a.SubByIndex(0, child.out()), KZe_OK);
    EXPECT_EQ(child.raw(), c.raw());
    EXPECT_EQ(a.SubByIndex(2, child.out()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(c.Parent(parent.out()), KZe_OK);
    EXPECT_EQ(parent.raw(), a.raw());
    EXPECT_EQ(scene().ItemCount(type("locatorSuper")), 3U);
    EXPECT_EQ(scene().ItemCount(type("mesh")), 2U);
    EXPECT_EQ(scene().ItemLookup("b", found.out()), KZe_OK);
    EXPECT_EQ(found.raw(), c.raw());
    EXPECT_EQ(scene().ItemLookup("nobody", found.out()), KZe_NOTFOUND);
    EXPECT_EQ(scene().ItemByIndex(type("mesh"), 2, found.out()), KZe_OUTOFBOUNDS);
}

TEST_F(SceneTest, TypesAreBasedOnEachOther) {
    const std::tuple<const char*, const char*, bool> cases[] = {{"mesh", "locatorSuper", true},
                                                                {"mesh", "any", true},
                                                                {"locator", "mesh", false},
                                                                {"folder", "locatorSuper", false},
                                                                {"any", "mesh", false}};
    for (const auto& [name, base, expected] : cases)
        EXPECT_EQ(service()->ItemTypeTest(type(name), type(base)), expected) << name << " " << base;
    std::int32_t number = 0;
    EXPECT_EQ(service()->ItemTypeLookup("nothing", &number), KZe_NOTFOUND);
    EXPECT_EQ(type("any"), KZiITYPE_ANY);
    EXPECT_EQ(type("scene"), KZiITYPE_ROOT);
    CKzLoc_Unknown none;
    for (const int bad : {KZiITYPE_ANY, KZiITYPE_ROOT, KZiITYPE_NONE, KZiITYPE_UNKNOWN, 1000})
        EXPECT_EQ(scene().ItemAdd(bad, none.out()), KZe_INVALIDARG) << bad;
}

TEST_F(SceneTest, RemovedItemsStayHarmless) {
    const CKzUser_Item a = add("locator", "a"), b = add("mesh", "b", &a);
    CKzLoc_Unknown root, none;
    ASSERT_EQ(scene().Root(root.out()), KZe_OK);
    EXPECT_EQ(scene().ItemRemove(root.raw()), KZe_INVALIDARG);
    EXPECT_EQ(scene().ItemRemove(nullptr), KZe_INVALIDARG);
    ASSERT_EQ(scene().ItemRemove(a.raw()), KZe_OK);
    EXPECT_EQ(scene().ItemRemove(a.raw()), KZe_INVALIDARG);
    for (const CKzUser_Item* gone : {&a, &b}) {
        double value = 0;
        EXPECT_FALSE(gone->IsValid());
        EXPECT_EQ(gone->Scene(none.out()), KZe_NOTAVAILABLE);
        EXPECT_EQ(gone->SetParent(nullptr, -1), KZe_NOTAVAILABLE);
        EXPECT_EQ(gone->SetName("again"), KZe_NOTAVAILABLE);
        EXPECT_EQ(reader().DoubleByName(gone->raw(), "pos.X", &value), KZe_INVALIDARG);
        EXPECT_EQ(writer().DoubleByName(gone->raw(), "pos.X", 1), KZe_INVALIDARG);
    }
    EXPECT_EQ(scene().ItemCount(KZiITYPE_ANY), 1U);
    ASSERT_EQ(service()->Close(scene().raw()), KZe_OK);
    EXPECT_EQ(service()->Close(scene().raw()), KZe_NOTFOUND);
    EXPECT_EQ(scene().Root(none.out()), KZe_NOTAVAILABLE);
    EXPECT_EQ(scene().ItemAdd(type("mesh"), none.out()), KZe_NOTAVAILABLE);
    EXPECT_FALSE(CKzUser_Item(root.raw()).IsValid());
}

TEST_F(SceneTest, ChannelsTakeWhatTheirTypeTakes) {
    const CKzUser_Item item = add("mesh", "m");
    const CKzUser_ChannelRead read = reader();
    const CKzUser_ChannelWrite write = writer();
    struct Case {
        const char* channel;
        const char* text;
        KzResult code;
        const char* after;
    };
    const Case cases[] = {
        {"pos.X", "20mm", KZe_OK, "0.02"},
        {"pos.X", "far", KZe_INVALIDARG, "0.02"},
        {"viewLevel", "4", KZe_OK, "4"},
        {"viewLevel", "4.5", KZe_INVALIDARG, "4"},
        {"smoothing", "off", KZe_OK, "false"},
        {"worldMatrix", "1", KZe_INVALIDARG, "INVALIDARG"},
        {"nothing", "1", KZe_NOTFOUND, "NOTFOUND"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(write.StringByName(item.raw(), each.channel, each.text), each.code) << each.channel;
        const char* text = nullptr;
        const KzResult code = read.StringByName(item.raw(), each.channel, &text);
        EXPECT_EQ(kzFailed(code) ? kzCodeName(code) : text, each.after) << each.channel;
    }
    EXPECT_EQ(write.DoubleByName(item.raw(), "pos.Y", INFINITY), KZe_INVALIDARG);
    EXPECT_EQ(write.Double(item.raw(), -1, 0), KZe_OUTOFBOUNDS);
    EXPECT_EQ(write.Double(item.raw(), INT32_MAX, 0), KZe_OUTOFBOUNDS);
    EXPECT_EQ(write.Vector(item.raw(), INT32_MAX, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(write.Double(nullptr, 0, 0), KZe_INVALIDARG);
    const std::int32_t visible = channel(item, "visible");
    const char* word = nullptr;
    EXPECT_EQ(write.EncodedInteger(item.raw(), visible, "never"), KZe_OK);
    EXPECT_EQ(write.EncodedInteger(item.raw(), visible, "sometimes"), KZe_NOTFOUND);
    EXPECT_EQ(read.EncodedInteger(item.raw(), visible, &word), KZe_OK);
    EXPECT_STREQ(word, "never");
    EXPECT_EQ(read.ValueSource(item.raw(), visible), static_cast<std::uint32_t>(KZiCHANSOURCE_SCENE));
    EXPECT_EQ(read.ValueSource(item.raw(), channel(item, "lock")), static_cast<std::uint32_t>(KZiCHANSOURCE_DEFAULT));
    CKzLoc_Unknown value, none;
    double number = 0;
    EXPECT_EQ(read.ValueObj(item.raw(), channel(item, "pos.X"), value.out()), KZe_OK);
    EXPECT_EQ(CKzUser_Value(value.raw()).GetFlt(&number), KZe_OK);
    EXPECT_DOUBLE_EQ(number, 0.02);
    EXPECT_EQ(write.ValueObj(item.raw(), channel(item, "scl.X"), value.raw()), KZe_OK);
    EXPECT_EQ(read.DoubleByName(item.raw(), "scl.X", &number), KZe_OK);
    EXPECT_DOUBLE_EQ(number, 0.02);
    EXPECT_EQ(scene().Channels("no such action", 0, none.out()), KZe_NOTFOUND);
}

TEST_F(SceneTest, UserChannelsAreDescribedAndRemoved) {
    const CKzUser_Item item = add("locator", "l");
    const CKzUser_ChannelWrite write = writer();
    CKzLoc_Unknown made, described;
    EXPECT_EQ(item.ChannelAdd("pos.X", "float", made.out()), KZe_ALREADYEXISTS);
    EXPECT_EQ(item.ChannelAdd("x", "no type", made.out()), KZe_INVALIDARG);
    EXPECT_EQ(item.ChannelAdd(nullptr, "float", made.out()), KZe_INVALIDARG);
    ASSERT_EQ(item.ChannelAdd("push", "float", made.out()), KZe_OK);
    const CKzUser_AddChannel add(made.raw());
    EXPECT_EQ(add.SetDefault(0.5, 0), KZe_OK);
    EXPECT_EQ(add.SetRange(0, 1), KZe_OK);
    EXPECT_EQ(add.SetRange(1, 0), KZe_INVALIDARG);
    EXPECT_EQ(add.SetVector(99), KZe_INVALIDARG);
    EXPECT_EQ(add.SetVector(KZiCHANVEC_XYZ), KZe_OK);
    EXPECT_EQ(add.ChannelCount(), 3U);
    const std::int32_t first = channel(item, "push.X");
    const KzVector3 good{{0, 1, 0.25}}, bad{{1, 0, 2}};
    KzVector3 found{};
    EXPECT_EQ(write.Vector(item.raw(), first, &good), KZe_OK);
    EXPECT_EQ(write.Vector(item.raw(), first, &bad), KZe_OUTOFBOUNDS);
    ASSERT_EQ(reader().Vector(item.raw(), first, &found), KZe_OK);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(found.v[i], good.v[i]) << "all three or none";
    EXPECT_EQ(write.Reset(item.raw(), first), KZe_OK);
    ASSERT_EQ(item.ChannelByIndex(first, described.out()), KZe_OK);
    const CKzUser_ItemChannel about(described.raw());
    double number = 0;
    const char* name = nullptr;
    EXPECT_TRUE(about.IsVector() && about.IsUser());
    EXPECT_EQ(about.Maximum(&number), KZe_OK);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(about.FullName(&name), KZe_OK);
    EXPECT_STREQ(name, "l:push.X");
    EXPECT_EQ(item.ChannelRemove("pos.X"), KZe_NOACCESS);
    EXPECT_EQ(item.ChannelRemove("push.X"), KZe_OK);
    EXPECT_EQ(item.ChannelRemove("push.X"), KZe_NOTFOUND);
    EXPECT_EQ(about.Name(&name), KZe_NOTFOUND) << "what describes a removed channel knows it";
    EXPECT_EQ(add.SetDefault(1, 1), KZe_NOTFOUND);
}

TEST_F(SceneTest, LocatorsAreWhereTheirParentsPutThem) {
    constexpr double quarter = std::numbers::pi / 2;
    const CKzUser_Item arm = add("locator", "arm"), tool = add("mesh", "tool", &arm);
    const KzVector3 place{{10, 0, 0}}, offset{{2, 0, 0}}, scale{{3, 3, 3}};
    struct Case {
        const char* order;
        KzVector3 angles;
        KzVector3 world;  // of the tool
    };
    const Case cases[] = {
        {"xyz", {{0, 0, 0}}, {{16, 0, 0}}},
        {"xyz", {{0, 0, quarter}}, {{10, 6, 0}}},
        {"xyz", {{0, quarter, 0}}, {{10, 0, -6}}},
        {"xyz", {{quarter, 0, 0}}, {{16, 0, 0}}},
        {"zxy", {{quarter, 0, quarter}}, {{10, 0, 6}}},
        {"xzy", {{quarter, 0, quarter}}, {{10, 6, 0}}},
        {"zyx", {{0, quarter, quarter}}, {{10, 6, 0}}},
        {"yzx", {{0, quarter, quarter}}, {{10, 0, -6}}},
    };
    EXPECT_EQ(service()->SetLocatorPosition(tool.raw(), &offset, 0, nullptr), KZe_OK);
    EXPECT_EQ(service()->SetLocatorPosition(arm.raw(), &place, 0, nullptr), KZe_OK);
    EXPECT_EQ(service()->SetLocatorScale(arm.raw(), &scale, 0, nullptr), KZe_OK);
    for (const Case& each : cases) {
        ASSERT_EQ(writer().EncodedInteger(arm.raw(), channel(arm, "order"), each.order), KZe_OK);
        ASSERT_EQ(service()->SetLocatorRotation(arm.raw(), &each.angles, 0, nullptr), KZe_OK);
        KzMatrix4 world{};
        ASSERT_EQ(reader().Matrix(tool.raw(), channel(tool, "worldMatrix"), &world), KZe_OK);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(world.m[3][i], each.world.v[i], 1e-12) << each.order << i;
    }
    const CKzUser_Item folder = add("folder", "f");
    CKzLoc_Unknown mesh;
    EXPECT_EQ(service()->SetLocatorPosition(folder.raw(), &place, 0, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(service()->SetLocatorPosition(arm.raw(), nullptr, 0, nullptr), KZe_INVALIDARG);
    const ServiceOf<CKzUser_MeshService> meshes(host().application());
    EXPECT_EQ(meshes->EditItem(tool.raw(), nullptr, mesh.out()), KZe_OK);
    EXPECT_EQ(meshes->EditItem(arm.raw(), nullptr, mesh.out()), KZe_INVALIDARG);
}

}  // namespace
