// The checked model of the SDK: what every emitter reads.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "kinds.h"
#include "source.h"

namespace kzgen {

// One factor of an array's length, as the description writes it.
struct Factor {
    enum class Kind {
        Number,     // 3
        Parameter,  // count: the value of an integer parameter
        Table,      // PixelBytes[format]: what a table has for an integer parameter
        Method,     // Dimension(map): what another method of the object answers
    };
    Kind kind = Kind::Number;
    std::string name;                    // the digits, the parameter, the table or the method
    std::vector<std::string> arguments;  // parameters
    Place at;
};

// The constants that a value may be, by the beginning of their names.
struct Family {
    std::string name;
    Place at;
};

struct Type {
    Kind kind = Kind::Void;
    std::string name;            // object<Ifc>: the interface; pointer<Struct>: the struct, as in "const KzGuid"
    std::vector<Factor> length;  // of an array
    std::string unsized;         // of an array without a length, the reason for that
    std::vector<Family> families;
    Place at;
};

struct Parameter {
    Type type;
    std::string name;
    bool output = false;
    Place at;
};

// What an adapter's method does instead of calling Python.
enum class Inert { No, NotImplemented, Zero, Nothing };

// How many elements an array has: the product of a number, which is 0 if nobody knows, and of the other factors. A
// parameter is known by its place in the parameter list.
struct Length {
    struct Term {
        Factor::Kind kind;
        std::string name;
        std::vector<std::size_t> places;
    };
    std::uint64_t fixed = 0;
    std::vector<Term> terms;
};

struct Method {
    Type returns;
    std::string name;
    std::vector<Parameter> parameters;  // all inputs, then all outputs
    Inert inert = Inert::No;
    bool required = false;
    bool again = false;  // may be called a second time where a text did not fit
    std::string summary;
    Place at;

    [[nodiscard]] bool returnsPlainValue() const { return returns.kind != Kind::Result && returns.kind != Kind::Void; }
    [[nodiscard]] std::vector<const Parameter*> inputs() const;
    [[nodiscard]] Length lengthOf(const Parameter& array) const;
    [[nodiscard]] std::vector<const Parameter*> outputs() const;
};

// The relay to Python has room for this many.
inline constexpr std::size_t mostForwardedInputs = 16;
inline constexpr std::size_t mostForwardedOutputs = 12;

struct Guid {
    std::string text;  // as written, letter case and all
    Place at;
    [[nodiscard]] bool wellFormed() const;
};

struct Interface {
    std::string name;
    bool service = false;
    Guid guid;
    std::optional<std::string> server;   // the server type name
    std::string symbol;                  // "MESH" of u_MESH and a_MESH
    std::optional<std::string> adapter;  // the prefix of the methods in Python; empty when nothing is forwarded
    bool hasSymbol = true;               // scripts have its identity in kz.symbol
    bool wrapped = true;                 // has a type in kz.object or kz.service
    std::vector<Method> methods;
    std::string summary;
    Place at;

    // "Mesh", or "ValueService": the stem of the C++ names IKz..., CKzImpl_... and so on.
    [[nodiscard]] std::string stem() const;
    // The prefix of an implementation's methods, without its underscore.
    [[nodiscard]] std::string prefix() const;
};

struct IntegerValue {
    std::int64_t value = 0;
    bool isLong = false;  // a Python long
    std::string written;  // as the description writes it
};

struct RealValue {
    double value = 0;
    std::string written;
};

struct TextValue {
    std::string text;
};

using Value = std::variant<IntegerValue, RealValue, TextValue, Guid>;

// Constants and codes on consecutive lines.
struct Group {
    std::string summary;  // the comment above the first of them
    std::string used;     // where their values appear, if no method takes or returns them
};

struct Constant {
    std::string name;  // without the prefix KZ
    Value value;
    std::string summary;    // without that of its group
    std::size_t group = 0;  // of the header
    Place at;
};

struct Code {
    std::string name;  // without its prefix
    std::uint32_t value = 0;
    bool headerOwn = false;  // an `error`: eNAME, not e_NAME
    std::string summary;
    std::size_t group = 0;
    Place at;

    [[nodiscard]] std::string symbol() const { return (headerOwn ? "e" : "e_") + name; }
};

// What lengths of arrays look up: a size for each of some integer constants of the header.
struct Table {
    struct Row {
        std::string constant;
        std::uint32_t size = 0;
        Place at;
    };
    std::string name;
    std::vector<Row> rows;
    std::string summary;
    Place at;
};

struct Header {
    std::string name;
    std::string summary;
    std::string path;
    std::string hash;  // of the file that it was read from
    std::vector<Interface> interfaces;
    std::vector<Group> groups;
    std::vector<Constant> constants;
    std::vector<Code> codes;
    std::vector<Table> tables;
    Place at;

    [[nodiscard]] const Table* findTable(std::string_view tableName) const;
};

struct Model {
    std::deque<SourceFile> sources;  // places point into these
    std::vector<Header> headers;     // in the order of headers.txt
    std::string hash;                // of all files together

    [[nodiscard]] const Interface* find(std::string_view interfaceName) const;
    // Whether there is an interface or a service of that name with that method.
    [[nodiscard]] bool hasMethod(std::string_view interfaceName, std::string_view method) const;
    // The name of the object type that Python gets for a returned object, or "Unknown", or nothing for plain `object`.
    [[nodiscard]] std::string wrapperName(const Type& type) const;
};

// The interface that every object has. It is not described: its three operations are part of every interface.
inline constexpr std::string_view unknownName = "Unknown";

// What a name begins with and its value follows from: "u_", "s", ...; empty for a name that begins otherwise.
std::string lettersOf(std::string_view constantName);

}  // namespace kzgen
