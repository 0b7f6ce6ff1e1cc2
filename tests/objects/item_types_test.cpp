// The host's item types against the SDK description: each constant has its type or channel, and that is what the
// constant's comment says.
#include "tests/sdk/described.h"

#include "host/document/item_types.h"

#include "kz/lighting.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <regex>
#include <thread>

using namespace kzhost;

namespace {

struct Described {
    const kzgen::Constant* constant;
    std::string text;  // the value of a text constant
    std::string used;
};

// The constants whose names begin so, by the rest of their names.
std::map<std::string, Described> constants(const std::string& prefix) {
    std::map<std::string, Described> all;
    for (const kzgen::Header& header : kzgen::described().headers)
        for (const kzgen::Constant& each : header.constants) {
            if (!each.name.starts_with(prefix)) continue;
            const auto* text = std::get_if<kzgen::TextValue>(&each.value);
            all[each.name.substr(prefix.size())] = {&each, text != nullptr ? text->text : "",
                                                    header.groups[each.group].used};
        }
    return all;
}

// Where the channels are whose constants do not begin as a type's constant does: a type or a package.
const std::map<std::string, const char*> owners = {{"SCENETIME", "scene"},
                                                   {"XFRM", "transform"},
                                                   {"CONSTRAINT", "constraintPath"},
                                                   {"LAYER", "textureLayer"},
                                                   {"VOXEL", "voxelFile"},
                                                   {"MORPH", "morphDeform"},
                                                   {"WIND", "force.wind"},
                                                   {"DRAG", "force.drag"},
                                                   {"FORCEVORTEX", "force.vortex"},
                                                   {"TURBULENCE", "force.turbulence"},
                                                   {"NEWTON", "force.newton"},
                                                   {"EXTRUDE", "meshOp.extrude"},
                                                   {"BEVEL", "meshOp.bevel"},
                                                   {"BOOLEAN", "meshOp.boolean"},
                                                   {"MERGE", "meshOp.merge"},
                                                   {"MESHARRAY", "meshOp.array"},
                                                   {"SWEEP", "meshOp.curveSweep"},
                                                   {"THICKEN", "meshOp.thicken"},
                                                   {"SMOOTH", "meshOp.smooth"},
                                                   {"TRIANGULATE", "meshOp.triangulate"},
                                                   {"REDUCE", "meshOp.reduce"},
                                                   {"ASSIGNTAG", "meshOp.assignTag"},
                                                   {"DISPLACE", "mesh.displacement"},
                                                   {"PARTVIEW", "particle.view"},
                                                   {"DYNAMICS", "dynamics.rigid"},
                                                   {"SOFT", "dynamics.soft"},
                                                   {"ARRAYDRAW", "array.drawOptions"},
                                                   {"DRAWOPTIONS", "drawOptions"},
                                                   {"TRACKING", "tracking"},
                                                   {"TIMEREMAP", "time.remap"},
                                                   {"LOD", "draw.detailLevels"},
                                                   {"VISIBILITY", "visibility.override"},
                                                   {"ATTACHMENT", "item.attachment"},
                                                   {"DRAWOVERRIDE", "view.drawOverride"},
                                                   {"ITEMLABEL", "view.itemLabel"}};

// The type or package whose constant, or whose entry above, is the longest beginning of a channel's constant.
std::string ownerOf(const std::string& constant, const std::map<std::string, Described>& types) {
    for (std::size_t end = constant.rfind('_'); end != std::string::npos && end > 0;
         end = constant.rfind('_', end - 1)) {
        const std::string prefix = constant.substr(0, end);
        if (const auto type = types.find(prefix); type != types.end()) return type->second.text;
        if (const auto owner = owners.find(prefix); owner != owners.end()) return owner->second;
    }
    return {};
}

// The channel of that constant, or null: of its owner, of a type based on it, or of the owner that is a package.
const ChannelInfo* channelOf(const std::string& constant, const std::string& name) {
    static const auto types = constants("sITYPE_");
    const std::string owner = ownerOf(constant, types);
    if (const auto* package = kzFindChannelPackage(owner)) {
        const auto found = std::ranges::find_if(
            *package, [&](const ChannelInfo& each) { return each.name == name || each.vectorName() == name; });
        return found != package->end() ? &*found : nullptr;
    }
    const ItemType* base = kzFindItemType(owner);
    for (const ItemType& type : kzItemTypes())
        if (base != nullptr && type.isA(base->number) && type.channel(name) != nullptr) return type.channel(name);
    return nullptr;
}

// What a constant's comment says of its channel, as a fault if the channel is otherwise.
std::string faultOf(const ChannelInfo& channel, const std::string& comment) {
    struct Rule {
        const char* pattern;
        const char* type;
        const char* unit;
    };
    static const Rule rules[] = {{"metres(?! (a|per)\\b|, one for)", "distance", ""},
                                 {"radians", "angle", ""},
                                 {"seconds", "time", ""},
                                 {"pixels(?! per)", "", "px"},
                                 {"kilograms(?! a)", "", "kg"},
                                 {"metres a second(?! sq)", "", "m/s"},
                                 {"metres a second sq", "", "m/s2"},
                                 {"kelvins", "", "K"},
                                 {"an item", "&item", ""}};
    for (const auto& [pattern, type, unit] : rules) {
        if (!std::regex_search(comment, std::regex(std::string("^(the )?") + pattern))) continue;
        if (*type != '\0' && std::string_view(channel.evalType()) != type) return fmt::format("is no {}", type);
        if (*unit != '\0' && std::string_view(channel.unit != nullptr ? channel.unit : "") != unit)
            return fmt::format("is not in {}", unit);
    }
    std::smatch range;
    if (std::regex_search(comment, range, std::regex("^(-?\\d+) (?:\\(\\w+\\) )?to (\\d+)(?! for)")) &&
        (channel.minimum != std::stod(range[1]) || channel.maximum != std::stod(range[2])))
        return "has another range";
    return {};
}

std::string missingWord(const ChannelInfo& channel, const kzgen::Constant& value) {
    const auto number = static_cast<std::int32_t>(std::get<kzgen::IntegerValue>(value.value).value);
    const bool has = channel.hints && kzWordOf(channel.hints->rows(), number) != nullptr;
    return has ? "" : fmt::format("has no word for {}", value.name);
}

// Each type of the description is there.
void checkTypes() {
    std::map<std::string, std::string> names;
    for (const auto& [name, type] : constants("sITYPE_")) {
        EXPECT_TRUE(names.emplace(type.text, name).second) << name << " and " << names[type.text] << " are one type";
        EXPECT_NE(kzFindItemType(type.text), nullptr) << name;
    }
    for (const ItemType& type : kzItemTypes()) {
        EXPECT_TRUE(names.contains(type.name)) << type.name;
        EXPECT_TRUE(type.isA(KZiITYPE_ANY) && type.tag(KZs_ITEMTAG_PREFIX) && type.tag(KZs_ITEMTAG_CATEGORY));
    }
}

// Each channel is what its constant's comment says.
void checkChannels() {
    const std::regex familyName("\\ban? ([iv]_?[A-Z_]+) (constant|code)");
    for (const auto& [name, constant] : constants("sICHAN_")) {
        const ChannelInfo* channel = channelOf(name, constant.text);
        EXPECT_NE(channel, nullptr) << name;
        if (channel == nullptr) continue;
        const std::string& comment = constant.constant->summary;
        EXPECT_EQ(faultOf(*channel, comment), "") << name << ": " << comment;
        std::smatch family;
        if (!std::regex_search(comment, family, familyName)) continue;
        for (const auto& [rest, value] : constants(family[1].str() + "_")) {
            if (rest.starts_with("EXEC_") || rest.starts_with("ITEM_")) continue;  // another family
            EXPECT_EQ(missingWord(*channel, *value.constant), "") << name;
        }
    }
}

// Each enumeration has words for all constants of its family.
void checkFamilies() {
    const auto channels = constants("sICHAN_");
    const std::regex channelName("sICHAN_([A-Z_]+)");
    std::size_t count = 0;
    for (const char* letters : {"i", "i_"})
        for (const auto& [rest, value] : constants(letters)) {
            if (value.used.find("as values of the channel") == std::string::npos || rest.starts_with("IMG_TILE_"))
                continue;
            for (std::sregex_iterator each(value.used.begin(), value.used.end(), channelName), end; each != end;
                 ++each, ++count) {
                const std::string name = (*each)[1];
                const ChannelInfo* channel = channelOf(name, channels.at(name).text);
                ASSERT_NE(channel, nullptr) << name;
                EXPECT_EQ(missingWord(*channel, *value.constant), "") << name;
            }
        }
    EXPECT_GT(count, 150U);
}

}  // namespace

// One test, because it reads the description, which takes longer than the rest.
TEST(ItemTypesTest, AreWhatTheDescriptionSays) {
    checkTypes();
    checkChannels();
    checkFamilies();
}

TEST(ItemTypesTest, EachDefaultIsInItsRange) {
    for (const ItemType& type : kzItemTypes())
        for (const ChannelInfo& channel : type.channels) {
            EXPECT_EQ(type.channel(channel.name), &channel) << type.name << " " << channel.name;
            EXPECT_NE(type.channel(channel.vectorName()), nullptr) << type.name << " " << channel.name;
            EXPECT_NE(channel.evalType(), nullptr) << type.name << " " << channel.name;
            if (channel.type == nullptr || std::holds_alternative<std::string>(channel.initial)) continue;
            EXPECT_TRUE(channel.takes(*kzNumberOf(channel.initial))) << type.name << " " << channel.name;
        }
}

TEST(ItemTypesTest, TypesAreAddedWhileOthersRead) {
    CItemTypeTable table;
    const auto old = static_cast<std::int32_t>(table.size());
    const ItemType* light = table.find("spotLight");
    std::jthread reader([&](const std::stop_token& stop) {
        while (!stop.stop_requested())
            for (const ItemType& type : table.all()) ASSERT_EQ(table.find(std::string_view(type.name)), &type);
    });
    ChannelInfo cone = *light->channel(KZsICHAN_SPOTLIGHT_CONE);
    cone.initial = 1.0;
    for (int i = 0; i < 100; ++i) table.add({fmt::format("own{}", i), "spotLight", {cone}, {}});
    EXPECT_EQ(table.find("own99")->number, old + 100);
    EXPECT_TRUE(table.find("own99")->isA(light->number) && !light->isA(old + 100));
    EXPECT_EQ(table.find("spotLight"), light);
    // The channel that is described anew stays in its place.
    EXPECT_EQ(table.find("own0")->index(cone.name), light->index(cone.name));
    EXPECT_EQ(table.find("own0")->channel(cone.name)->initial, KzCell(1.0));
    EXPECT_EQ(light->index("pos"), light->index("pos.X"));
    const auto refused = [&](const char* name, const char* base, std::vector<ChannelInfo> channels) {
        try {
            table.add({name, base, std::move(channels), {}});
            return static_cast<KzResult>(KZe_OK);
        } catch (const KzResult& code) {
            return code;
        }
    };
    ChannelInfo pos = cone;
    pos.name = "pos";  // which stands for a vector
    EXPECT_EQ(refused("own0", "mesh", {}), KZe_ALREADYEXISTS);
    EXPECT_EQ(refused("new", "mesh", {cone, cone}), KZe_ALREADYEXISTS);
    EXPECT_EQ(refused("new", "mesh", {pos}), KZe_ALREADYEXISTS);
    EXPECT_EQ(refused("new", "no such type", {}), KZe_NOTFOUND);
    EXPECT_EQ(table.size(), static_cast<std::size_t>(old) + 100);
}
