// Slips that no compiler sees: two flags on one bit, two enumerators with one value, a mask that covers nothing, an
// index that is signed in one interface and unsigned in the next.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <regex>
#include <set>

#include "tests/sdk/described.h"

namespace kzgen {

namespace {

// Constants with the same letters that stand on lines below each other and share the first part of their names: "fCMD_EXEC_"
// and "fCMD_" may be one group, a blank line or a comment between them makes them two.
using Constants = std::vector<const Constant*>;

std::string stem(const std::string& name) {
    const size_t family = lettersOf(name).size();
    return name.substr(0, name.find('_', family));
}

std::vector<Constants> groups(const std::vector<std::string_view>& families) {
    std::vector<Constants> all;
    for (const std::string_view family : families)
        for (const Header& header : described().headers) {
            const Constant* last = nullptr;
            for (const Constant& constant : header.constants) {
                if (lettersOf(constant.name) != family) continue;
                const bool follows =
                    last != nullptr && constant.at.line == last->at.line + 1 && stem(constant.name) == stem(last->name);
                if (!follows) all.emplace_back();
                all.back().push_back(&constant);
                last = &constant;
            }
        }
    return all;
}

int64_t integerOf(const Constant& constant) { return std::get<IntegerValue>(constant.value).value; }

std::string textOf(const Constant& constant) {
    const auto* text = std::get_if<TextValue>(&constant.value);
    return text != nullptr ? text->text : std::to_string(integerOf(constant));
}

std::string place(const Constant& constant) { return toString(constant.at) + " " + constant.name; }

}  // namespace

TEST(Consistency, FlagsThatStandTogetherAreDistinctBits) {
    for (const Constants& group : groups({"f", "f_"})) {
        int64_t used = 0;
        for (const Constant* flag : group) {
            EXPECT_EQ(used & integerOf(*flag), 0) << place(*flag);
            used |= integerOf(*flag);
        }
    }
}

TEST(Consistency, ValuesThatStandTogetherDiffer) {
    for (const Constants& group : groups({"i", "i_", "s", "s_", "v", "a"})) {
        std::map<std::string, const Constant*> seen;
        for (const Constant* each : group) {
            const auto [first, isNew] = seen.emplace(textOf(*each), each);
            EXPECT_TRUE(isNew) << place(*each) << " is " << place(*first->second);
        }
    }
}

// It covers no bit that is not a flag, unless it picks a field out of the values of an enumeration.
TEST(Consistency, AMaskCoversWhatIsThere) {
    std::map<std::string, int64_t> bits;
    for (const Constants& group : groups({"f", "f_", "i"}))
        for (const Constant* each : group) bits[stem(each->name)] |= integerOf(*each);
    for (const Constants& group : groups({"m", "m_"}))
        for (const Constant* mask : group) {
            const std::string name = stem(mask->name).substr(1);
            const bool coversFlags = (integerOf(*mask) & ~bits["f" + name]) == 0;
            EXPECT_NE(integerOf(*mask), 0) << place(*mask);
            EXPECT_TRUE(coversFlags || (integerOf(*mask) & bits["i" + name]) != 0) << place(*mask);
        }
}

// One name, one kind: a script's author learns it once. Only an index that may be -1 has a sign.
TEST(Consistency, ParametersOfOneNameAreOfOneKind) {
    const std::map<std::string, std::set<Kind>> kinds = {{"time", {Kind::Double}},
                                                         {"flags", {Kind::Uint}},
                                                         {"count", {Kind::Uint}},
                                                         {"changes", {Kind::Uint}},
                                                         {"index", {Kind::Uint, Kind::Int}},
                                                         {"name", {Kind::String, Kind::Text}},
                                                         {"title", {Kind::String, Kind::Text}}};
    for (const Interface* each : describedInterfaces())
        for (const Method& method : each->methods)
            for (const Parameter& parameter : method.parameters) {
                const auto found = kinds.find(parameter.name);
                if (found == kinds.end()) continue;
                const bool counts = parameter.name == "index" && method.name.ends_with("ByIndex");
                const Kind kind = parameter.type.kind;
                EXPECT_TRUE(found->second.contains(kind) && (!counts || kind == Kind::Uint))
                    << toString(parameter.at) << " " << each->name << "." << method.name << " " << parameter.name;
            }
}

// Counts, floats and what an object is called are learned once for each interface.
TEST(Consistency, AnInterfaceHasOneConvention) {
    for (const Interface* each : describedInterfaces()) {
        std::set<std::pair<bool, Kind>> counts;  // with inputs, what is returned
        std::set<Kind> names;
        std::set<Kind> kinds;
        for (const Method& method : each->methods) {
            const auto outputs = method.outputs();
            const bool isInteger = outputs.empty()
                                       ? info(method.returns.kind).has(kzgen::integer)
                                       : outputs.size() == 1 && info(outputs[0]->type.kind).has(kzgen::integer);
            if (method.name.ends_with("Count") && isInteger && method.inert == Inert::No)
                counts.emplace(!method.inputs().empty(), method.returns.kind);
            if (method.inputs().empty() && method.returns.kind == Kind::String && outputs.empty())
                names.insert(Kind::String);
            if (method.inputs().empty() && method.returns.kind == Kind::Result && outputs.size() == 1 &&
                (outputs[0]->type.kind == Kind::String || outputs[0]->type.kind == Kind::Text))
                names.insert(outputs[0]->type.kind == Kind::Text ? Kind::Text : Kind::Result);
            kinds.insert(method.returns.kind);
            for (const Parameter& parameter : method.parameters) kinds.insert(parameter.type.kind);
        }
        // Values of their own width are what a stream and a value are about.
        const bool isStream = each->name == "BlockRead" || each->name == "BlockWrite";
        const bool isValue = each->name == "Value" && !each->service;
        EXPECT_FALSE(kinds.contains(Kind::Float) && kinds.contains(Kind::Double) && !isStream)
            << toString(each->at) << " mixes float and double";
        EXPECT_LE(names.size(), isValue ? 2U : 1U) << toString(each->at) << " mixes conventions for texts";
        for (const bool inputs : {false, true})
            EXPECT_LE(std::ranges::count_if(counts, [=](const auto& c) { return c.first == inputs; }), 1)
                << toString(each->at) << " mixes conventions for counts";
    }
}

// What a wrapper of one type cannot hold, and an adapter does not take: who has nothing to give says NOTFOUND.
TEST(Consistency, NoTypedObjectIsPromisedToBeNull) {
    const auto isNullable = [](const Parameter* input) {
        return input->type.kind == Kind::String || input->type.kind == Kind::Object ||
               input->type.kind == Kind::Pointer;
    };
    for (const Interface* each : describedInterfaces())
        for (const Method& method : each->methods) {
            const auto inputs = method.inputs();
            const auto outputs = method.outputs();
            const bool gives = std::ranges::any_of(outputs, [&](const Parameter* output) {
                return output->type.kind == Kind::Object && (!output->type.name.empty() || each->adapter);
            });
            const bool ofInput = std::ranges::any_of(inputs, isNullable);
            EXPECT_FALSE(gives && !ofInput && method.summary.find("ull") != std::string::npos &&
                         std::regex_search(method.summary, std::regex("\\b[Nn]ull\\b")))
                << toString(method.at) << " " << method.summary;
        }
}

TEST(Consistency, EveryGroupOfConstantsSaysWhatItIsFor) {
    for (const Header& header : described().headers) {
        const auto expect = [&](const auto& each) {
            EXPECT_NE(header.groups[each.group].summary, "") << toString(each.at) << " " << each.name;
        };
        std::ranges::for_each(header.constants, expect);
        std::ranges::for_each(header.codes, expect);
    }
}

TEST(Consistency, AServerTypeNameIsOneLowerCaseWord) {
    std::map<std::string, std::string> owners;
    for (const Interface* each : describedInterfaces()) {
        if (!each->server) continue;
        EXPECT_EQ(each->server->find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789"), std::string::npos)
            << *each->server;
        const auto [first, isNew] = owners.emplace(*each->server, each->name);
        EXPECT_TRUE(isNew) << *each->server << " serves " << first->second << " and " << each->name;
    }
}

}  // namespace kzgen
