// What the generator writes for each SDK header: wrapper types, constants and result codes, as rows.
#pragma once

#include "wrap/wrapper.h"

#include <span>
#include <string_view>

// One constant of kz.symbol. The kind says which field holds the value.
struct KzSymbolRow {
    enum Kind : std::uint8_t { integer, longInteger, real, text };

    constexpr KzSymbolRow(const char* rowName, Kind rowKind, std::int64_t value)
        : name(rowName), kind(rowKind), number(value) {}
    constexpr KzSymbolRow(const char* rowName, double value) : name(rowName), kind(real), realNumber(value) {}
    constexpr KzSymbolRow(const char* rowName, const char* value) : name(rowName), kind(text), string(value) {}

    const char* name;
    Kind kind;
    union {
        std::int64_t number;
        double realNumber;
        const char* string;
    };
};

struct KzResultRow {
    const char* name;
    KzResult code;
};

struct KzHeaderRows {
    const char* name;
    std::span<KzWrapperType* const> objects;
    std::span<KzWrapperType* const> services;
    std::span<const KzSymbolRow> symbols;
    std::span<const KzResultRow> results;
};

// All headers, in the order of the SDK.
extern const std::span<const KzHeaderRows* const> kzHeaders;

// A family of constants that methods name: "fFIND" and "fFIND_CASE,fFIND_WORD".
struct KzFamilyRow {
    std::string_view name;
    std::string_view constants;
};

extern const std::span<const KzFamilyRow> kzFamilies;  // by name

// Makes the submodules service, object, result, symbol and ifc, in that order.
// `storage` becomes kz.object.storage. Throws FAILED.
void kzAddSubmodules(PyObject* kz, PyTypeObject& storage);
