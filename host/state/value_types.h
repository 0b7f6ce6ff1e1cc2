// The value types of the host: how each is stored, parsed and formatted.
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
    double factor;                  // of the stored unit
    std::string_view systems = {};  // the unit systems that show values in it
};

struct KzValueType {
    const char* name;
    std::uint32_t storage;     // an iVALUE_TYPE constant
    std::string_view expects;  // the text that it parses, for error messages
    std::span<const KzUnit> units;
    std::string_view niceUnit;  // the unit shown to people, where that does not depend on the system of units
    bool isServed = false;      // by a module; its cells hold the exact texts of its values
};

// Null for an unknown type.
const KzValueType* kzFindType(std::string_view name) noexcept;
std::span<const KzValueType> kzValueTypes() noexcept;

KzCell kzEmptyCell(const KzValueType& type);
// Parses a text as that type; nothing if it is malformed.
std::optional<KzCell> kzParseCell(const KzValueType& type, std::string_view text);
// The text that parses back to the same value.
std::string kzFormatCell(const KzValueType& type, const KzCell& cell);
// For people: a rounded text with a unit of the system that suits the value.
std::string kzShowCell(const KzValueType& type, const KzCell& cell, std::string_view unitSystem);
// As kzFormatCell, into a caller's buffer: a long text is not copied for each attempt.
KzResult kzFillCell(const KzValueType& type, const KzCell& cell, char* buffer, std::uint32_t length);

// The cell converted to an integer or a number; nothing if it has no such value.
std::optional<std::int32_t> kzIntegerOf(const KzCell& cell) noexcept;
std::optional<double> kzNumberOf(const KzCell& cell) noexcept;
// A number converted to a cell of that type; nothing if the type takes no such number.
std::optional<KzCell> kzCellOf(const KzValueType& type, double number);

// Parse a whole text as a number or an integer.
std::optional<double> kzParseNumber(std::string_view text) noexcept;
std::optional<std::int32_t> kzParseInteger(std::string_view text) noexcept;

// The words of a table of hints, as "one of off on"; the word for a number, or null; and the number of the choice that a text names, either by its word or
// by a number of the table.
std::string kzOneOf(const KzTextValueHint* hints);
const char* kzWordOf(const KzTextValueHint* hints, std::int32_t number) noexcept;
std::optional<std::int32_t> kzChoiceOf(const KzTextValueHint* hints, const KzValueType& type, std::string_view text);

// -1, 0 or 1.
int kzCompareCells(const KzCell& left, const KzCell& right) noexcept;

}  // namespace kzhost
