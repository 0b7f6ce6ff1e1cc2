// The table of kinds, and what must be true of each row.
#include "kinds.h"

#include <algorithm>
#include <functional>

namespace kzgen {

namespace {

using enum Passing;

constexpr KindInfo rows[] = {
#define KZ_KIND(kind, ...) {Kind::kind, __VA_ARGS__},
#include "kinds.def"
};

constexpr bool isNamedOnce(const KindInfo& row) {
    const auto isAlike = [&](const KindInfo& other) {
        return other.name == row.name && other.has(array) == row.has(array);
    };
    return std::ranges::count_if(rows, isAlike) == 1;
}

constexpr bool hasLetterOfInput(const KindInfo& row) { return (row.letter != 0) == row.fits(KindUse::Input); }

constexpr bool isOpenIfArray(const KindInfo& row) {
    const auto isGood = [&](std::string_view carrier) {
        const bool isOpen = carrier.find('<') != std::string_view::npos && !carrier.ends_with('>');
        return carrier.empty() || isOpen == row.has(array);
    };
    return isGood(row.in) && isGood(row.out);
}

constexpr bool isForwardedAsAllowed(const KindInfo& row) {
    return (row.from.empty() || row.fits(KindUse::Input)) &&
           (row.to.empty() || row.fits(KindUse::Output) || row.fits(KindUse::Return));
}

constexpr bool hasClassesIfCarried(const KindInfo& row) {
    const bool hasClasses = row.fits(KindUse::Input) && row.fits(KindUse::Output);
    return !row.isCarriedByClass() || (row.passing == ByAddress && hasClasses);
}

static_assert(std::ranges::count_if(rows, &KindInfo::isCarriedByClass) <= 26, "carriers have the letters A to Z");

template <Kind kind> constexpr const KindInfo& rowOf = rows[static_cast<std::size_t>(kind)];

#define KZ_KIND(kind, ...)                                                                                             \
    static_assert(isNamedOnce(rowOf<Kind::kind>), #kind ": another kind has that name");                               \
    static_assert(hasLetterOfInput(rowOf<Kind::kind>), #kind ": every input, and nothing else, has a parser letter");  \
    static_assert(isOpenIfArray(rowOf<Kind::kind>), #kind ": arrays, and nothing else, have open templates");          \
    static_assert(isForwardedAsAllowed(rowOf<Kind::kind>), #kind ": adapters carry it where no operation has it");     \
    static_assert(hasClassesIfCarried(rowOf<Kind::kind>), #kind ": a K needs an address, and both classes");
#include "kinds.def"

}  // namespace

std::string KindInfo::parameterType(bool output) const {
    const bool isConst = passing == ByTable || (passing == ByAddress && !output);
    const std::size_t stars =
        passing == ByValue || passing == ByAddress ? (output || passing == ByAddress ? 1 : 0) : (output ? 2 : 1);
    return (isConst ? "const " : "") + std::string(type) + std::string(stars, '*');
}

std::string KindInfo::relayLetters(bool output) const {
    std::string letters(output ? to : from);
    if (letters == "K")
        letters += static_cast<char>('A' + std::count_if(rows, this, std::mem_fn(&KindInfo::isCarriedByClass)));
    return letters;
}

std::string KindInfo::fullName() const { return std::string(name) + (has(array) ? "[]" : ""); }

const KindInfo& info(Kind kind) { return rows[static_cast<std::size_t>(kind)]; }

std::span<const KindInfo> allKinds() { return rows; }

const KindInfo* findKind(std::string_view name, bool isArray) {
    const auto* match =
        std::ranges::find_if(rows, [&](const KindInfo& row) { return row.name == name && row.has(array) == isArray; });
    return match == std::end(rows) ? nullptr : match;
}

std::vector<std::string_view> kindNames(bool isArray) {
    std::vector<std::string_view> names;
    for (const KindInfo& row : rows)
        if (row.has(array) == isArray) names.push_back(row.name);
    return names;
}

}  // namespace kzgen
