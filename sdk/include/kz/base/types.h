// The plain values that cross every host interface: result codes, GUIDs, vectors, matrices, hints and records.
// They are laid out as the host lays them out: no constructors, no hidden members.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// A host result code. The high bit set means failure; 0, 1 and 2 (OK, INFO, WARNING) are successes.
using KzResult = std::uint32_t;

constexpr bool kzFailed(KzResult code) noexcept { return (code & 0x80000000U) != 0; }
constexpr bool kzSucceeded(KzResult code) noexcept { return !kzFailed(code); }

// A 16-byte interface or class identifier.
struct KzGuid {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::uint8_t data4[8];

    friend constexpr bool operator==(const KzGuid&, const KzGuid&) = default;
};
static_assert(sizeof(KzGuid) == 16);

struct KzVector2 {
    double v[2];
};
struct KzVector3 {
    double v[3];
};
struct KzVector4 {
    double v[4];
};
struct KzFVector2 {
    float v[2];
};
struct KzFVector3 {
    float v[3];
};
struct KzFVector4 {
    float v[4];
};

// Row vectors: m[row][column].
struct KzMatrix3 {
    double m[3][3];
};
struct KzMatrix4 {
    double m[4][4];
};
struct KzFMatrix3 {
    float m[3][3];
};
struct KzFMatrix4 {
    float m[4][4];
};

// An axis-aligned box: minimum corner, maximum corner.
struct KzBounds {
    KzVector3 min;
    KzVector3 max;
};

// A rotation as (x, y, z, w).
struct KzQuaternion {
    double v[4];
};

// Identifies one element (a point, a polygon, a map) of the object that gave it out; opaque to everybody else.
struct KzElement;
using KzElementId = KzElement*;

// One row of a table that gives integers their texts. The row without a text ends the table.
struct KzTextValueHint {
    std::int32_t value;
    const char* text;
};

// One block of a block store, and a list of them.
struct KzBlock {
    std::uint32_t id;
    std::uint32_t size;  // bytes
    const void* data;
};
struct KzBlockList {
    std::uint32_t count;
    const KzBlock* blocks;
};

// What a tag description answers for one index. `info` names a class and is null for plain tags.
struct KzTagRecord {
    const char* type;
    const char* tag;
    const KzGuid* info;
};
