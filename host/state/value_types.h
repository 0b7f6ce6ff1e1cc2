// The value types that the host knows: how each is stored, read from text and shown.
#pragma once

#include "kz/base/types.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace kzhost {

using KzColor = std::array<double, 3>;
using KzCell = std::variant<std::int32_t, double, std::string, KzColor>;

struct KzUnit {
    std::string_view suffix;
    double factor;  // of the stored unit
};

struct KzValueType {
    const char* name;
    std::uint32_t storage;     // an iVALUE_TYPE constant
    std::string_view expects;  // what text it reads, for messages
    std::span<const KzUnit> units;
    std::string_view niceUnit;  // in which people see it
    bool isServed = false;      // by a module; its cells are the exact texts of its values
};

// Null for a type that the host does not know.
const KzValueType* kzFindType(std::string_view name) noexcept;
std::span<const KzValueType> kzValueTypes() noexcept;

KzCell kzEmptyCell(const KzValueType& type);
// Reads a text as that type; nothing when it is none.
std::optional<KzCell> kzParseCell(const KzValueType& type, std::string_view text);
// The text that reads back as the same value, or with `nice` the one that people like.
std::string kzFormatCell(const KzValueType& type, const KzCell& cell, bool nice = false);

// The cell as an integer or a number; nothing where it stands for none.
std::optional<std::int32_t> kzIntegerOf(const KzCell& cell) noexcept;
std::optional<double> kzNumberOf(const KzCell& cell) noexcept;
// A cell of that type made from an integer or a number; nothing where the type takes none.
std::optional<KzCell> kzCellOf(const KzValueType& type, double number);

// A whole text as a number or an integer.
std::optional<double> kzParseNumber(std::string_view text) noexcept;
std::optional<std::int32_t> kzParseInteger(std::string_view text) noexcept;

// The words of a table of hints, as "one of off on", and the number of the choice that a text names: by its word, or by
// what the type reads as one of the numbers.
std::string kzOneOf(const KzTextValueHint* hints);
std::optional<std::int32_t> kzChoiceOf(const KzTextValueHint* hints, const KzValueType& type, std::string_view text);

// -1, 0 or 1.
int kzCompareCells(const KzCell& left, const KzCell& right) noexcept;

}  // namespace kzhost
