// The value types of the host.
#include "host/state/value_types.h"

#include "host/state/text.h"

#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>

namespace kzhost {

namespace {

constexpr KzUnit angleUnits[] = {{"deg", std::numbers::pi / 180}, {"rad", 1}};
constexpr KzUnit distanceUnits[] = {{"um", 1e-6, KZsUNITSYSTEM_METRIC},      {"mm", 0.001, KZsUNITSYSTEM_METRIC},
                                    {"cm", 0.01, KZsUNITSYSTEM_METRIC},      {"in", 0.0254, KZsUNITSYSTEM_ENGLISH},
                                    {"ft", 0.3048, KZsUNITSYSTEM_ENGLISH},   {"km", 1000, KZsUNITSYSTEM_METRIC},
                                    {"mi", 1609.344, KZsUNITSYSTEM_ENGLISH}, {"m", 1, "si metric"}};
constexpr KzUnit percentUnits[] = {{"%", 0.01}};
constexpr KzUnit timeUnits[] = {{"ms", 0.001}, {"min", 60}, {"s", 1}};

constexpr KzValueType types[] = {
    {KZsTYPE_INTEGER, KZiVALUE_TYPE_INTEGER, "an integer, as 12 or -3", {}, ""},
    {KZsTYPE_BOOLEAN, KZiVALUE_TYPE_INTEGER, "true or false (or 1, 0, on, off, yes, no)", {}, ""},
    {KZsTYPE_FLOAT, KZiVALUE_TYPE_FLOAT, "a number, as 1.5 or 2e-3", {}, ""},
    {KZsTYPE_STRING, KZiVALUE_TYPE_STRING, "a text", {}, ""},
    {KZsTYPE_ANGLE, KZiVALUE_TYPE_FLOAT, "an angle in radians, or with a unit, as 90deg", angleUnits, "deg"},
    {KZsTYPE_DISTANCE, KZiVALUE_TYPE_FLOAT, "a distance in metres, or with a unit, as 20mm or 3ft", distanceUnits, ""},
    {KZsTYPE_PERCENT, KZiVALUE_TYPE_FLOAT, "a fraction, as 0.5, or percent, as 50%", percentUnits, "%"},
    {KZsTYPE_TIME, KZiVALUE_TYPE_FLOAT, "a time in seconds, or with a unit, as 40ms", timeUnits, "s"},
    {KZsTYPE_CHOICE, KZiVALUE_TYPE_INTEGER, "the number of a choice", {}, ""},
    {KZsTYPE_TEXT, KZiVALUE_TYPE_STRING, "a text", {}, ""},
    {KZsTYPE_FILEPATH, KZiVALUE_TYPE_STRING, "a path", {}, ""},
    {KZsTYPE_COLOR, KZiVALUE_TYPE_OBJECT, "three numbers for red, green and blue, as {1.0 0.5 0.0}", {}, ""},
};

// The largest unit of the system that is not larger than the value, or its smallest one. Zero is shown as one would be.
const KzUnit* shownUnit(const KzValueType& type, double number, std::string_view system) {
    const double size = number == 0.0 ? 1.0 : std::abs(number);
    const KzUnit* best = nullptr;
    for (const KzUnit& unit : type.units) {
        if (unit.suffix == type.niceUnit && unit.systems.empty()) return &unit;
        if (unit.systems.find(system) == std::string_view::npos) continue;
        const bool fits = unit.factor <= size;
        const bool isBetter =
            best == nullptr || (best->factor <= size ? fits && unit.factor > best->factor : unit.factor < best->factor);
        if (isBetter) best = &unit;
    }
    return best;
}

std::string_view trimmed(std::string_view text) {
    const auto isBlank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::optional<KzCell> parseBoolean(std::string_view text) {
    for (const std::string_view word : {"true", "1", "on", "yes"})
        if (text == word) return KzCell(1);
    for (const std::string_view word : {"false", "0", "off", "no"})
        if (text == word) return KzCell(0);
    if (text == "True") return KzCell(1);
    return text == "False" ? std::optional(KzCell(0)) : std::nullopt;
}

std::optional<KzCell> parseQuantity(const KzValueType& type, std::string_view text) {
    for (const KzUnit& unit : type.units) {
        if (!text.ends_with(unit.suffix)) continue;
        const auto number = kzParseNumber(trimmed(text.substr(0, text.size() - unit.suffix.size())));
        if (number) return KzCell(*number * unit.factor);
    }
    const auto number = kzParseNumber(text);
    return number ? std::optional(KzCell(*number)) : std::nullopt;
}

std::optional<KzCell> parseColor(std::string_view text) {
    KzColor color{};
    for (double& channel : color) {
        text = trimmed(text);
        const std::size_t end = std::min(text.find(' '), text.size());
        const auto number = kzParseNumber(text.substr(0, end));
        if (!number) return {};
        channel = *number;
        text.remove_prefix(end);
    }
    return trimmed(text).empty() ? std::optional(KzCell(color)) : std::nullopt;
}

}  // namespace

const KzValueType* kzFindType(std::string_view name) noexcept {
    const auto* match =
        std::find_if(std::begin(types), std::end(types), [&](const auto& type) { return name == type.name; });
    return match != std::end(types) ? match : nullptr;
}

std::span<const KzValueType> kzValueTypes() noexcept { return types; }

KzCell kzEmptyCell(const KzValueType& type) {
    switch (type.storage) {
    case KZiVALUE_TYPE_INTEGER: return 0;
    case KZiVALUE_TYPE_FLOAT: return 0.0;
    case KZiVALUE_TYPE_OBJECT: return KzColor{};
    default: return std::string();
    }
}

std::optional<double> kzParseNumber(std::string_view text) noexcept {
    text = trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && stopped == text.data() + text.size() && !text.empty();
    return whole ? std::optional(number) : std::nullopt;
}

std::optional<std::int32_t> kzParseInteger(std::string_view text) noexcept {
    text = trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) text.remove_prefix(2);
    std::int32_t number = 0;
    const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number, hex ? 16 : 10);
    const bool whole = error == std::errc() && stopped == text.data() + text.size() && !text.empty();
    return whole ? std::optional(number) : std::nullopt;
}

std::optional<KzCell> kzParseCell(const KzValueType& type, std::string_view text) {
    if (type.storage == KZiVALUE_TYPE_STRING) return KzCell(std::string(text));
    text = trimmed(text);
    if (type.storage == KZiVALUE_TYPE_OBJECT) return parseColor(text);
    if (type.storage == KZiVALUE_TYPE_FLOAT) return parseQuantity(type, text);
    if (std::string_view(type.name) == KZsTYPE_BOOLEAN) return parseBoolean(text);
    const auto number = kzParseInteger(text);
    return number ? std::optional(KzCell(*number)) : std::nullopt;
}

std::string kzFormatCell(const KzValueType& type, const KzCell& cell) {
    if (const auto* text = std::get_if<std::string>(&cell)) return *text;
    if (const auto* color = std::get_if<KzColor>(&cell))
        return fmt::format("{} {} {}", (*color)[0], (*color)[1], (*color)[2]);
    if (const auto* number = std::get_if<std::int32_t>(&cell)) {
        if (std::string_view(type.name) == KZsTYPE_BOOLEAN) return *number != 0 ? "true" : "false";
        return std::to_string(*number);
    }
    return fmt::format("{}", std::get<double>(cell));
}

std::string kzShowCell(const KzValueType& type, const KzCell& cell, std::string_view unitSystem) {
    const auto* number = std::get_if<double>(&cell);
    const KzUnit* unit = number != nullptr ? shownUnit(type, *number, unitSystem) : nullptr;
    if (unit == nullptr) return kzFormatCell(type, cell);
    return fmt::format("{:.6g}{}{}", *number / unit->factor, unit->suffix == "%" ? "" : " ", unit->suffix);
}

KzResult kzFillCell(const KzValueType& type, const KzCell& cell, char* buffer, std::uint32_t length) {
    const auto* text = std::get_if<std::string>(&cell);
    return text != nullptr ? kzFillText(*text, buffer, length) : kzFillText(kzFormatCell(type, cell), buffer, length);
}

std::optional<std::int32_t> kzIntegerOf(const KzCell& cell) noexcept {
    if (const auto* number = std::get_if<std::int32_t>(&cell)) return *number;
    if (const auto* text = std::get_if<std::string>(&cell)) return kzParseInteger(*text);
    const auto number = kzNumberOf(cell);
    // The fraction is truncated, so it may exceed the limits. Comparisons with NaN are false.
    using Limits = std::numeric_limits<std::int32_t>;
    const bool fits = number && *number > Limits::min() - 1.0 && *number < Limits::max() + 1.0;
    return fits ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

std::optional<double> kzNumberOf(const KzCell& cell) noexcept {
    if (const auto* number = std::get_if<std::int32_t>(&cell)) return *number;
    if (const auto* number = std::get_if<double>(&cell)) return *number;
    if (const auto* text = std::get_if<std::string>(&cell)) return kzParseNumber(*text);
    return {};
}

std::optional<KzCell> kzCellOf(const KzValueType& type, double number) {
    switch (type.storage) {
    case KZiVALUE_TYPE_INTEGER: {
        const auto whole = kzIntegerOf(KzCell(number));
        if (!whole) return {};
        return std::string_view(type.name) == KZsTYPE_BOOLEAN ? KzCell(*whole != 0 ? 1 : 0) : KzCell(*whole);
    }
    case KZiVALUE_TYPE_FLOAT: return KzCell(number);
    case KZiVALUE_TYPE_STRING: return KzCell(fmt::format("{}", number));
    default: return {};
    }
}

// A word with blanks is quoted, or else it would look like several.
std::string kzOneOf(const KzTextValueHint* hints) {
    std::string all = "one of";
    for (; hints->text != nullptr; ++hints) {
        const std::string word = hints->text;
        all += word.find(' ') == std::string::npos ? " " + word : " \"" + word + "\"";
    }
    return all;
}

const char* kzWordOf(const KzTextValueHint* hints, std::int32_t number) noexcept {
    for (; hints->text != nullptr; ++hints)
        if (hints->value == number) return hints->text;
    return nullptr;
}

std::optional<std::int32_t> kzChoiceOf(const KzTextValueHint* hints, const KzValueType& type, std::string_view text) {
    for (const auto* each = hints; each->text != nullptr; ++each)
        if (text == each->text) return each->value;
    const auto cell = kzParseCell(type, text);
    const auto number = cell ? kzIntegerOf(*cell) : std::nullopt;
    for (; number && hints->text != nullptr; ++hints)
        if (*number == hints->value) return number;
    return {};
}

int kzCompareCells(const KzCell& left, const KzCell& right) noexcept {
    if (left.index() == right.index()) return left < right ? -1 : (right < left ? 1 : 0);
    const auto a = kzNumberOf(left);
    const auto b = kzNumberOf(right);
    if (!a || !b) return left.index() < right.index() ? -1 : 1;
    return *a < *b ? -1 : (*b < *a ? 1 : 0);
}

}  // namespace kzhost
