// Scene files: everything comes back, equal documents are equal bytes, and nothing in a file is trusted.
#include "host/document/described_types.h"
#include "host/document/envelope.h"
#include "host/objects/item.h"
#include "host/objects/scene_file.h"

#include "kz/group.h"
#include "kz/mesh.h"
#include "kz/render_item.h"
#include "kz/scene_graph.h"

#include <gtest/gtest.h>

#include <random>

using namespace kzhost;

namespace {

class SceneFileTest : public testing::Test {
protected:
    std::shared_ptr<CWorkspace> workspace = std::make_shared<CWorkspace>();
    std::vector<std::shared_ptr<CDocument>> documents;

    CDocument& open() { return *documents.emplace_back(workspace->open("a \"name\"\n\xFF")); }
    std::string textOf(const CDocument& document) {
        const CReading reading(*workspace);
        return kzWriteScene(document);
    }
    // A new document with what the text says; closed again if that is refused.
    CDocument& read(const std::string& text) {
        CDocument& document = *documents.emplace_back(workspace->open(kzSceneName(text)));
        CEdit edit(*workspace);
        kzReadScene(text, document, edit, false);
        edit.commitLoaded(document);
        return document;
    }
    std::string errorOf(const std::string& text) {
        try {
            read(text);
        } catch (const SceneFileError& error) {
            return error.what();
        }
        return "";
    }
    void TearDown() override {
        for (const auto& document : documents) workspace->close(*document);
    }
};

const ItemType& type(const char* name) { return *kzFindItemType(std::string_view(name)); }
const ChannelInfo& channel(const Item& item, const char* name) {
    return *item.channelAt(static_cast<std::size_t>(item.findChannel(name)));
}

ChannelInfo described(const char* name, const char* type, KzCell initial) {
    ChannelInfo info;
    info.name = name;
    info.type = kzFindType(type);
    info.initial = std::move(initial);
    info.flags = KZfCHAN_USER;
    return info;
}

CMeshData someMesh() {
    CMeshData mesh;
    std::vector<KzElementId> points;
    for (int i = 0; i < 4; ++i) points.push_back(mesh.addPoint({{i / 3.0, 1e-300, -0.0}}).id);
    mesh.points.byIndex(2).marks = 5;
    KzElementId face = mesh.addPolygon(KZi_POLYTYPE_FACE, points).id;
    mesh.addPolygon(KZi_POLYTYPE_POLYLINE, {points[3], points[0]}).marks = -1;
    mesh.polygons.at(face).tags[KZi_PTAG_SURFACE] = "red \\ \"paint\"";
    MeshMapData& map = mesh.addMap(KZi_MAPTYPE_TEXTURE, "uv", 2, 3);
    map.values[{points[1], nullptr}] = {0.1F, 0.2F};
    map.values[{points[1], face}] = {0.3F, 1.0F / 3};
    mesh.edgeBetween(points[0], points[1])->crease = 0.25;
    return mesh;
}

// A document with some of everything, in which order follows from nothing else.
void fill(CDocument& document, std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    CEdit edit(document.workspace());
    ItemTypeDeclaration declaration{"thing", KZsITYPE_LOCATOR, {}, {{KZs_ITEMTAG_PREFIX, "Thing"}}};
    ChannelInfo power = described("power", "float", 2.0);
    power.flags = 0;
    power.minimum = 1;
    power.hints = kzOwnHints({{1, "one"}, {2, "two words"}});
    power.unit = kzInterned("kW");
    declaration.channels.push_back(power);
    const ItemType& thing = kzDescribedType(declaration, type(KZsITYPE_LOCATOR));
    const ItemType* const types[] = {&type(KZsITYPE_LOCATOR), &type(KZsITYPE_MESH), &type(KZsITYPE_CAMERA), &thing};
    std::vector<Item*> items;
    Item& group = edit.add(document, type(KZsITYPE_GROUP));
    for (std::size_t i = 0; i < count; ++i) {
        Item& item = *items.emplace_back(&edit.add(document, *types[below(4)]));
        if (below(3) != 0) edit.rename(item, below(2) != 0 ? "Box" : "K\xC3\xA4se\t");
        edit.setFlags(item, static_cast<std::uint32_t>(below(16)));
        edit.setTag(item, 0x434D4D54, "a comment");
        edit.setTag(item, 3, "");
        edit.setValue(item, channel(item, "pos.X"), 0.1 * static_cast<double>(i));
        if (&item.type == &thing) edit.setValue(item, channel(item, "power"), 1.0);
        ChannelInfo own = described("own.X", "string", std::string("none"));
        own.vectorSize = 2;
        edit.addChannel(item, own);
        edit.setValue(item, channel(item, "own.X"), std::string("\n"));
        auto curve = std::make_shared<EnvelopeData>();
        curve->setSlope(curve->add(1.0 / 3, 5), 0.7, 1.5, KZiENVSIDE_OUT);
        curve->add(2, -1);
        curve->setEndBehavior(KZiENV_NONE, KZiENVSIDE_OUT);
        edit.setChannel(item, channel(item, "pos.Y"), {7.0, {{"edit", 1.0, nullptr}, {"", {}, curve}}});
        Item* source = i > 2 && below(2) == 0 ? items[below(i)] : nullptr;
        if (source != nullptr && &source->type == &item.type) edit.setSource(item, source);
        else if (item.type.name == std::string_view(KZsITYPE_MESH)) kzGiveMesh(item, someMesh());
        edit.addMember(group, item, channel(item, below(2) != 0 ? "pos.X" : "own.X"));
        if (below(2) != 0 && i > 0) edit.place(item, items[below(i)], below(3));
        for (const char* graph : {KZsGRAPH_GROUPS, KZsGRAPH_SCHEMATIC})
            if (i > 0) edit.link(graph, item, CEdit::last, *items[below(i)], 0);
        if (i > 0) {
            Item& other = *items[below(i)];
            edit.setAttribute(edit.linkChannels(item, channel(item, "pos.Z"), other, channel(other, "pos.X"), 0), "a",
                              "b");
        }
    }
    for (std::size_t i = 0; i < count; i += 7)  // leaves gaps in the numbers of names
        if (items[i]->children.empty()) edit.remove(*items[i]);
    edit.setValue(*document.root(), channel(*document.root(), KZsICHAN_SCENE_TITLE), std::string("a title"));
    edit.commit();
}

TEST_F(SceneFileTest, KeepsEverything) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        CDocument& first = open();
        fill(first, 60, seed);
        const std::string text = textOf(first);
        CDocument& second = read(text);
        ASSERT_EQ(textOf(second), text) << "seed " << seed;
        EXPECT_FALSE(second.isModified());
        EXPECT_EQ(second.name(), first.name());
        first.each(KZiITYPE_ANY, [&](const Item& item) {
            const Item* same = second.byIdent(item.ident);
            ASSERT_NE(same, nullptr);
            EXPECT_EQ(same->uniqueName, item.uniqueName);
            EXPECT_EQ(same->type.name, std::string_view(item.type.name));
        });
    }
    EXPECT_EQ(workspace->stepCount(Direction::reverse), 20U);  // the ones that made the first documents
}

// An import goes beside what is there, as one step; what refers to items refers to the new ones.
TEST_F(SceneFileTest, ImportsBesideWhatIsThere) {
    CDocument& document = open();
    fill(document, 30, 1);
    const std::string target = document.at(type(KZsITYPE_MESH).number, 0)->ident;
    {
        CEdit edit(*workspace);
        Item* camera = document.at(type(KZsITYPE_CAMERA).number, 0);
        ChannelInfo look = described("look", "string", std::string());
        look.kind = ChannelKind::itemReference;
        edit.setValue(*camera, edit.addChannel(*camera, look), target);
        edit.commit();
    }
    const std::string before = textOf(document);
    const std::size_t count = document.count(KZiITYPE_ANY), steps = workspace->stepCount(Direction::reverse);
    {
        CEdit edit(*workspace);
        kzReadScene(before, document, edit, true);
        edit.commit();
    }
    EXPECT_EQ(document.count(KZiITYPE_ANY), 2 * count - 1);
    const Item* copy = document.at(type(KZsITYPE_CAMERA).number, document.count(type(KZsITYPE_CAMERA).number) / 2);
    const Item* seen = document.byIdent(std::get<std::string>(copy->valueOf(channel(*copy, "look"))));
    ASSERT_NE(seen, nullptr);
    EXPECT_NE(seen->ident, target);
    EXPECT_EQ(workspace->stepCount(Direction::reverse), steps + 1);
    workspace->undo(1);
    EXPECT_EQ(textOf(document), before);
}

TEST_F(SceneFileTest, RefusesWithThePlace) {
    const std::string head = "kzscene 1\nscene \"a\"\n";
    const std::string mesh = head + "item \"scene\" \"s\"\nitem \"mesh\" \"m\"\nmesh\n";
    const std::pair<std::string, const char*> rows[] = {
        {"", "line 1, column 1: this is no scene file"},
        {"kzscene 2\n", "line 1, column 9: the format has version 2; this host reads versions up to 1"},
        {"kzscene 1\n\nscene x", "line 3, column 7: a text in quotes"},
        {head + "item \"nothing\" \"a\"\n", "line 3, column 6: there is no type of items \"nothing\""},
        {head + "item \"scene\" \"s\"\nitem \"mesh\" \"s\"\n", "there are two items \"s\""},
        {head + "jump", "line 3, column 1: there is no statement \"jump\""},
        {head + "flags 1\n", "an item comes first"},
        {head + "key 1 2 3", "an envelope comes first"},
        {head + "item \"mesh\" \"m\"\nvalue \"pos.X\" inf", "line 4, column 15: the number must be finite"},
        {head + "item \"mesh\" \"m\"\nvalue \"pos.X\" 1 2", "the statement ends before \"2\""},
        {head + "item \"mesh\" \"m\"\nvalue \"pos.X\"", "the statement goes on"},
        {head + "item \"mesh\" \"m\"\nvalue \"nothing\" 1", "a mesh has no channel \"nothing\""},
        {head + "item \"mesh\" \"m\"\nname \"a\\q\"", "line 4, column 8: an escape is"},
        {head + "item \"mesh\" \"m\"\nname \"a", "line 4, column 6: the text has no closing quote"},
        {head + "item \"locator\" \"m\"\nmesh", "a locator has no mesh"},
        {head + "item \"mesh\" \"m\"\nenvelope \"\" \"pos.X\" 0 0 0 0\nkey 1 0 0 0 0 1 0 0 0 1\nkey 0 0 0 0 0 1 0 0 0 "
                "1\nend 1",
         "line 4, column 1: the keys of this envelope are out of order"},
        {mesh + "point 0 0\n", "line 6, column 10: the statement goes on"},
        {mesh + "polygon face 0 0 1 2\n", "the mesh has no points yet"},
        {mesh + "point 0 0 0\npolygon face 0 0 1 2\n", "\"1\" is not an integer from 0 to 0"},
        {mesh + "map texture \"uv\" 3 0\n", "the values of a texture map have 2 numbers"},
        {head + "item \"mesh\" \"a\"\nitem \"mesh\" \"b\"\nplace \"a\" \"b\"\n", "the parent has no place yet"},
        {head + "item \"mesh\" \"a\"\nplace \"a\"\nplace \"a\" \"a\"", "the item has a place already"},
        {head + "item \"mesh\" \"a\"\nitem \"mesh\" \"b\"\nlink \"groups\" \"a\" \"b\"\nlink \"groups\" \"b\" "
                "\"a\"\nend 2",
         "closes a circle"},
        {head + "item \"mesh\" \"a\"\nwire \"a\" \"pos.X\" \"a\" \"pos.X\"\nend 1", "closes a circle"},
        {head + "item \"mesh\" \"a\"\nitem \"mesh\" \"b\"\ninstance \"a\" \"b\"\ninstance \"b\" \"a\"\nend 2",
         "closes a circle"},
        {head + "item \"mesh\" \"a\"\nitem \"camera\" \"b\"\ninstance \"a\" \"b\"", "the type of its source"},
        {head + "item \"mesh\" \"a\"\nmember \"a\" \"a\" \"pos.X\"", "only groups have members"},
        {head + "item \"group\" \"a\"\nmember \"a\" \"a\" \"x\"", "has no channel \"x\""},
        {head + "end 1\n", "there are 0 items, and 1 were written"},
        {head + "item \"scene\" \"s\"\n", "the file ends before the statement \"end\""},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_NE(errorOf(text).find(expected), std::string::npos) << text << "\n-> " << errorOf(text);
}

// Cut anywhere or with any byte changed, a file is refused or read, and what is read can be written.
TEST_F(SceneFileTest, SurvivesWhatHasHappenedToAFile) {
    CDocument& document = open();
    fill(document, 8, 3);
    const std::string text = textOf(document);
    for (std::size_t end = 0; end + 1 < text.size(); end += 97) EXPECT_NE(errorOf(text.substr(0, end)), "") << end;
    std::mt19937 random(7);
    int readable = 0;
    for (int i = 0; i < 2000; ++i) {
        std::string broken = text;
        broken[random() % broken.size()] = static_cast<char>(random());
        try {
            const std::string again = textOf(read(broken));
            EXPECT_EQ(textOf(read(again)), again);
            ++readable;
        } catch (const SceneFileError&) {
        }
    }
    EXPECT_GT(readable, 100);
}

}  // namespace
