// How the tables of item types are written: a row for each channel, built by the kind of value that it has, as in
// metres(NAME, 0.05).from(0). Each builder takes the channel's name and its default.
#pragma once

#include "host/document/channel_info.h"

#include "kz/value.h"

#include <array>
#include <limits>
#include <span>
#include <vector>

namespace kzhost::rows {

struct ChannelRow {
    const char* name;
    const char* type = nullptr;
    std::array<double, 3> initial{};
    const char* initialText = nullptr;
    ChannelKind kind = ChannelKind::stored;
    std::uint32_t flags = 0;
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
    const char* words = nullptr;       // of an enumeration, as COwnedHints takes them
    const char* components = nullptr;  // "XYZ" or "RGB" where one name stands for a vector
    const char* units = nullptr;
    const char* objectType = nullptr;

    constexpr ChannelRow in(double low, double high) const {
        ChannelRow row = *this;
        row.minimum = low;
        row.maximum = high;
        return row;
    }
    constexpr ChannelRow from(double low) const { return in(low, maximum); }
    constexpr ChannelRow unit(const char* name) const {
        ChannelRow row = *this;
        row.units = name;
        return row;
    }
    // The name stands for three components.
    constexpr ChannelRow xyz(double x, double y, double z) const {
        ChannelRow row = *this;
        row.components = "XYZ";
        row.initial = {x, y, z};
        return row;
    }
    constexpr ChannelRow with(std::uint32_t flag) const {
        ChannelRow row = *this;
        row.flags |= flag;
        return row;
    }
    // Takes no keys: what it says holds for the whole scene.
    constexpr ChannelRow constant() const { return with(KZfCHAN_NOANIM); }
};

constexpr ChannelRow number(const char* name, double initial = 0, const char* type = KZsTYPE_FLOAT) {
    return {.name = name, .type = type, .initial = {initial}};
}
constexpr ChannelRow metres(const char* name, double initial = 0) { return number(name, initial, KZsTYPE_DISTANCE); }
constexpr ChannelRow radians(const char* name, double initial = 0) { return number(name, initial, KZsTYPE_ANGLE); }
constexpr ChannelRow seconds(const char* name, double initial = 0) { return number(name, initial, KZsTYPE_TIME); }
// An amount from 0 to 1.
constexpr ChannelRow percent(const char* name, double initial = 0) {
    return number(name, initial, KZsTYPE_PERCENT).in(0, 1);
}
constexpr ChannelRow integer(const char* name, std::int32_t initial = 0) {
    return number(name, initial, KZsTYPE_INTEGER);
}
constexpr ChannelRow toggle(const char* name, bool initial = false) {
    return number(name, initial ? 1 : 0, KZsTYPE_BOOLEAN);
}
constexpr ChannelRow choice(const char* name, const char* words, std::int32_t initial = 0) {
    ChannelRow row = number(name, initial, KZsTYPE_INTEGER);
    row.words = words;
    return row;
}
constexpr ChannelRow color(const char* name, double red, double green, double blue) {
    ChannelRow row = percent(name);
    row.components = "RGB";
    row.initial = {red, green, blue};
    return row;
}
constexpr ChannelRow grey(const char* name, double level) { return color(name, level, level, level); }
constexpr ChannelRow text(const char* name, const char* initial = "", const char* type = KZsTYPE_STRING) {
    return {.name = name, .type = type, .initialText = initial};
}
// Several lines.
constexpr ChannelRow prose(const char* name) { return text(name, "", KZsTYPE_TEXT); }
constexpr ChannelRow file(const char* name) { return text(name, "", KZsTYPE_FILEPATH); }
constexpr ChannelRow itemReference(const char* name) {
    ChannelRow row = text(name);
    row.kind = ChannelKind::itemReference;
    return row;
}
constexpr ChannelRow gradient(const char* name) { return {.name = name, .kind = ChannelKind::gradient}; }
constexpr ChannelRow matrix(const char* name) { return {.name = name, .kind = ChannelKind::matrix}; }
constexpr ChannelRow computed(const char* name, ChannelKind kind, const char* objectType = nullptr) {
    return {.name = name, .kind = kind, .flags = KZfCHAN_READONLY | KZfCHAN_NOANIM, .objectType = objectType};
}
constexpr ChannelRow object(const char* name, const char* type) { return computed(name, ChannelKind::object, type); }

// A type of items, or a package: its channels are those of its base, and then its own.
struct TypeRow {
    const char* name;
    const char* base;
    const char* title;  // begins the names of new items
    std::array<std::span<const ChannelRow>, 3> channels{};
    bool isInternal = false;  // only a base of others, or made by the host
};

struct PackageRow {
    const char* name;
    std::span<const ChannelRow> channels;
};

// The channels that the rows describe; a vector takes three.
std::vector<ChannelInfo> describe(std::span<const std::span<const ChannelRow>> groups);

}  // namespace kzhost::rows
