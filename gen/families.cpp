// Families: the constants that a parameter or a returned value may be.
#include "families.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include <fmt/format.h>

#include "python_view.h"

namespace kzgen {

namespace {

enum class Values { Integers, Reals, Texts, Identities };

constexpr std::string_view valuesName(Values values) {
    constexpr std::string_view names[] = {"integers", "real numbers", "texts", "identities"};
    return names[static_cast<std::size_t>(values)];
}

Values valuesOf(const Value& value) {
    constexpr Values byIndex[] = {Values::Integers, Values::Reals, Values::Texts, Values::Identities};
    return byIndex[value.index()];
}

// A string may be an identity as well: that is how scripts write one.
std::vector<Values> valuesFor(Kind kind) {
    switch (kind) {
    case Kind::Int:
    case Kind::Uint:
    case Kind::Size:
    case Kind::IntArray:
    case Kind::UintArray: return {Values::Integers};
    case Kind::Float:
    case Kind::Double: return {Values::Reals};
    case Kind::Guid: return {Values::Identities};
    case Kind::String:
    case Kind::Text: return {Values::Texts, Values::Identities};
    default: return {};
    }
}

// The family of flags that a name of masks belongs to: "fMARK" for "mMARK".
std::string flagsOfMask(std::string_view name) {
    return name.starts_with('m') ? "f" + std::string(name.substr(1)) : std::string();
}

bool isWholeLetter(std::string_view family) { return family == "u_" || family == "a_" || family == "e_"; }

template <class Use> void forEachType(const Model& model, Use use) {
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) {
            for (const Method& method : each.methods) {
                use(method.returns);
                for (const Parameter& parameter : method.parameters) use(parameter.type);
            }
        }
    }
}

class FamilyChecker {
public:
    FamilyChecker(const Model& model, Completeness completeness, Diagnostics& errors)
        : m_completeness(completeness), m_errors(errors) {
        for (const Header& header : model.headers)
            for (Symbol& each : symbolsOf(header)) m_symbols.emplace(std::move(each.name), std::move(each.value));
    }

    void type(const Type& type) {
        std::set<std::string_view> before;
        for (const Family& family : type.families) {
            const std::set<std::string_view> members = membersOf(family.name);
            if (members.empty()) {
                unknown(family);
                continue;
            }
            values(type, family, *members.begin());
            const std::size_t size = before.size();
            before.insert(members.begin(), members.end());
            if (before.size() != size + members.size())
                m_errors.error(family.at, "family " + inQuotes(family.name) + ", whose constants are named already",
                               "each constant in one family (flags include the masks of the same name)");
        }
    }

private:
    std::set<std::string_view> membersOf(std::string_view family) const {
        std::set<std::string_view> members;
        for (const auto& [name, value] : m_symbols)
            if (isOfFamily(name, family)) members.insert(name);
        return members;
    }

    void unknown(const Family& family) {
        if (m_completeness == Completeness::Partial) return;
        std::set<std::string_view> beginnings;
        for (const auto& [name, value] : m_symbols) {
            for (std::size_t end = name.find('_', 2); end != std::string::npos; end = name.find('_', end + 1))
                beginnings.insert(std::string_view(name).substr(0, end));
            beginnings.insert(name);
        }
        m_errors.error(family.at, "family " + inQuotes(family.name),
                       "the beginning of constants' names" +
                           didYouMean(family.name, {beginnings.begin(), beginnings.end()}));
    }

    void values(const Type& type, const Family& family, std::string_view member) {
        const std::vector<Values> good = valuesFor(type.kind);
        const Values values = valuesOf(m_symbols.find(member)->second);
        if (good.empty()) {
            m_errors.error(family.at, fmt::format("a family on '{}'", info(type.kind).fullName()),
                           "one only where numbers, texts or identities are");
        } else if (std::find(good.begin(), good.end(), values) == good.end()) {
            m_errors.error(
                family.at,
                fmt::format("family '{}' of {} on '{}'", family.name, valuesName(values), info(type.kind).fullName()),
                fmt::format("a family of {}", valuesName(good[0])));
        }
    }

    Completeness m_completeness;
    Diagnostics& m_errors;
    std::map<std::string, Value, std::less<>> m_symbols;
};

// Whether the checker demands that some method takes or returns the constant.
bool needsUse(const Constant& constant) {
    const std::string letters = lettersOf(constant.name);
    return std::holds_alternative<IntegerValue>(constant.value) && !letters.empty() &&
           std::string_view("ifm").find(letters[0]) != std::string_view::npos;
}

}  // namespace

bool isOfFamily(std::string_view constant, std::string_view family) {
    if (isWholeLetter(family)) return constant.starts_with(family);
    const auto isWithin = [&](std::string_view name) {
        return name.starts_with(family) && (name.size() == family.size() || name[family.size()] == '_');
    };
    return family.size() > 1 && (isWithin(constant) || (family[0] == 'f' && isWithin(flagsOfMask(constant))));
}

std::vector<std::string> familyMembers(const Model& model, std::string_view family) {
    std::vector<std::string> members;
    for (const Header& header : model.headers)
        for (const Symbol& each : symbolsOf(header))
            if (isOfFamily(each.name, family)) members.push_back(each.name);
    return members;
}

void checkFamilies(const Model& model, Completeness completeness, Diagnostics& diagnostics) {
    FamilyChecker checker(model, completeness, diagnostics);
    forEachType(model, [&](const Type& type) { checker.type(type); });
}

void checkUnusedFamilies(const Model& model, Diagnostics& diagnostics) {
    std::set<std::string> families;
    forEachType(model, [&](const Type& type) {
        for (const Family& family : type.families) families.insert(family.name);
    });
    for (const Header& header : model.headers) {
        std::map<std::size_t, std::vector<const Constant*>> unused;  // by group
        for (const Constant& each : header.constants) {
            const auto isUse = [&](const std::string& family) { return isOfFamily(each.name, family); };
            if (needsUse(each) && header.groups[each.group].used.empty() &&
                std::none_of(families.begin(), families.end(), isUse))
                unused[each.group].push_back(&each);
        }
        for (const auto& [group, constants] : unused) {
            const Constant& first = *constants.front();
            const std::string others =
                constants.size() > 1 ? fmt::format(" and {} more of its group", constants.size() - 1) : "";
            const std::string stem = first.name.substr(0, first.name.rfind('_'));
            diagnostics.error(first.at, fmt::format("'{}'{}, which no method takes or returns", first.name, others),
                              fmt::format("a parameter 'KIND name : {}', or [used(\"...\")] above the group",
                                          stem.size() > 2 ? stem : first.name));
        }
    }
}

}  // namespace kzgen
