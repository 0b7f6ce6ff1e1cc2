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

// "LIGHT" for "LIGHT_FALLOFF": the longest name of a type that the channel's name begins with, or nothing.
std::string typeOf(const std::string& channel, const std::map<std::string, Described>& types) {
    for (std::size_t end = channel.rfind('_'); end != std::string::npos && end > 0; end = channel.rfind('_', end - 1))
        if (types.contains(channel.substr(0, end))) return channel.substr(0, end);
    return {};
}

const char* const packages[] = {"mesh.displacement",   "particle.view",   "dynamics.rigid",    "array.drawOptions",
                                "drawOptions",         "tracking",        "time.remap",        "draw.detailLevels",
                                "visibility.override", "item.attachment", "view.drawOverride", "view.itemLabel"};

const ChannelInfo* findChannel(const std::string& name, const std::string& typeName, const std::string& prefix,
                               std::vector<std::string>& wanted) {
    for (const ItemType& type : kzItemTypes())
        if (const bool fits = typeName.empty() || type.isA(kzFindItemType(typeName)->number);
            fits && type.channel(name))
            return type.channel(name);
    if (typeName.empty())
        for (const char* package : packages)
            for (const ChannelInfo& each : *kzFindChannelPackage(package))
                if (each.name == name || each.vectorName() == name) return &each;
    wanted.push_back(prefix);
    return nullptr;
}

// What a constant's comment says of its channel, as a fault if the channel is otherwise.
std::string faultOf(const ChannelInfo& channel, const std::string& comment) {
    struct Rule {
        const char* pattern;
        const char* type;
        const char* unit;
    };
    static const Rule rules[] = {{"metres(?! (a|per)\\b)", "distance", ""},
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

}  // namespace

TEST(ItemTypesTest, EachTypeOfTheDescriptionIsThere) {
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

TEST(ItemTypesTest, EachChannelIsWhatItsConstantSays) {
    const auto types = constants("sITYPE_");
    std::vector<std::string> without;
    for (const auto& [name, constant] : constants("sICHAN_")) {
        const std::string type = typeOf(name, types);
        const ChannelInfo* channel = findChannel(constant.text, type.empty() ? "" : types.at(type).text, name, without);
        if (channel == nullptr) continue;
        const std::string& comment = constant.constant->summary;
        EXPECT_EQ(faultOf(*channel, comment), "") << name << ": " << comment;
        std::smatch family;
        if (!std::regex_search(comment, family, std::regex("\\ban? ([iv]_?[A-Z_]+) (constant|code)"))) continue;
        for (const auto& [rest, value] : constants(family[1].str() + "_")) {
            if (rest.starts_with("EXEC_") || rest.starts_with("ITEM_")) continue;  // another family
            EXPECT_EQ(missingWord(*channel, *value.constant), "") << name;
        }
    }
    EXPECT_TRUE(without.empty()) << fmt::format("{}", fmt::join(without, " "));
}

TEST(ItemTypesTest, EachEnumerationHasWordsForItsFamily) {
    const auto types = constants("sITYPE_");
    const auto channels = constants("sICHAN_");
    const std::regex channelName("sICHAN_([A-Z_]+)");
    std::size_t count = 0;
    for (const char* letters : {"i", "i_"})
        for (const auto& [rest, value] : constants(letters)) {
            if (value.used.find("as values of the channel") == std::string::npos || rest.starts_with("IMG_TILE_"))
                continue;
            for (std::sregex_iterator each(value.used.begin(), value.used.end(), channelName), end; each != end;
                 ++each, ++count) {
                const std::string name = (*each)[1], type = typeOf(name, types);
                std::vector<std::string> without;
                const ChannelInfo* channel =
                    findChannel(channels.at(name).text, type.empty() ? "" : types.at(type).text, name, without);
                ASSERT_NE(channel, nullptr) << name;
                EXPECT_EQ(missingWord(*channel, *value.constant), "") << name;
            }
        }
    EXPECT_GT(count, 150U);
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
