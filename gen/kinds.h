// The kinds of values that cross an interface: one row for each says everything that depends on the kind alone.
#pragma once

#include <string_view>
#include <vector>

namespace kzgen {

enum class Kind {
    Result,
    Void,
    Bool,
    Int,
    Uint,
    Size,
    Float,
    Double,
    String,
    Text,
    Guid,
    Object,
    Vector2,
    Vector3,
    Vector4,
    FVector2,
    FVector3,
    FVector4,
    Matrix3,
    Matrix4,
    FMatrix3,
    FMatrix4,
    Bounds,
    Quaternion,
    Id,
    Pointer,
    FloatArray,
    DoubleArray,
    IntArray,
    UintArray,
    ByteArray,
    IdArray,
    DataArray,
    Hints,
    Blocks,
};

// Where a kind may stand, and where an adapter can carry it to Python.
enum KindUse : unsigned {
    useInput = 1,
    useOutput = 2,
    useReturn = 4,
    forwardInput = 8,
    forwardOutput = 16,
};

struct KindInfo {
    Kind kind;
    std::string_view name;     // as the description language writes it; of an array its element
    std::string_view value;    // the C++ type of one value
    std::string_view input;    // the C++ type as an input, ending where the parameter's name begins
    std::string_view output;   // the C++ type as an output
    std::string_view docType;  // what Python's documentation calls it
    char parse;                // the letter by which an argument is read from Python, or 0
    char build;                // the letter by which an adapter hands it to Python, or 0
    unsigned uses;             // KindUse bits

    [[nodiscard]] bool is(unsigned use) const { return (uses & use) != 0; }
};

const KindInfo& info(Kind kind);
[[nodiscard]] bool isArray(Kind kind);
[[nodiscard]] bool isInteger(Kind kind);

// The row of a kind by its name; arrays are asked for by their element's name. Null for an unknown name.
const KindInfo* findKind(std::string_view name);
const KindInfo* findArrayKind(std::string_view element);

// All names that pass findKind (or findArrayKind), for suggestions.
std::vector<std::string_view> kindNames(bool arrays);

}  // namespace kzgen
