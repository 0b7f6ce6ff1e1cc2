// The kinds of values that cross an interface, as rows of kinds.def.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kzgen {

enum class Kind {
#define KZ_KIND(kind, ...) kind,
#include "kinds.def"
};

// How a C++ operation takes an input of type T and gives an output of it.
enum class Passing {
    ByValue,    // T            T*
    ByAddress,  // const T*     T*
    ByTable,    // const T*     const T**
    ByPlace,    // T*           T**
};

enum KindTrait : unsigned {
    returned = 1,  // an operation may return it
    integer = 2,   // may count the elements of an array
    array = 4,
    address = 8,  // a number to Python, whatever it points to
};

// Where a kind may stand.
enum class KindUse { Input, Output, Return };

struct KindInfo {
    Kind kind;
    std::string_view name;
    std::string_view type;
    Passing passing;
    std::string_view doc;
    char letter;
    std::string_view in;
    std::string_view out;
    std::string_view from;
    std::string_view to;
    unsigned traits;

    [[nodiscard]] constexpr bool has(KindTrait trait) const { return (traits & trait) != 0; }
    [[nodiscard]] constexpr bool fits(KindUse use) const {
        return use == KindUse::Return ? has(returned) : !(use == KindUse::Input ? in : out).empty();
    }
    // The C++ type of a parameter.
    [[nodiscard]] std::string parameterType(bool output) const;
    // True if its classes carry it for adapters, too.
    [[nodiscard]] constexpr bool isCarriedByClass() const { return from == "K" || to == "K"; }
    // What stands for it in the signature of an adapter's operation.
    [[nodiscard]] std::string relayLetters(bool output) const;
    // "float[]": the name as the description language writes it, brackets and all.
    [[nodiscard]] std::string fullName() const;
};

const KindInfo& info(Kind kind);
std::span<const KindInfo> allKinds();

// The row of a kind by its name; arrays are asked for by their element's name. Null for an unknown name.
const KindInfo* findKind(std::string_view name, bool isArray);

// All names that findKind knows, for suggestions.
std::vector<std::string_view> kindNames(bool isArray);

}  // namespace kzgen
