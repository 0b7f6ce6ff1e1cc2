// The table of kinds.
#include "kinds.h"

#include <algorithm>
#include <array>

namespace kzgen {

namespace {

constexpr unsigned in = useInput;
constexpr unsigned out = useOutput;
constexpr unsigned ret = useReturn;
constexpr unsigned any = useInput | useOutput | useReturn;
constexpr unsigned fin = forwardInput;
constexpr unsigned fout = forwardOutput;
constexpr unsigned fany = forwardInput | forwardOutput;

// clang-format off
constexpr std::array kinds = {
    KindInfo{Kind::Result, "result", "KzResult", "", "", "", 0, 0, ret},
    KindInfo{Kind::Void, "void", "void", "", "", "", 0, 0, ret},
    KindInfo{Kind::Bool, "bool", "bool", "bool ", "bool* ", "boolean", 0, 0, out | ret | fout},
    KindInfo{Kind::Int, "int", "int32_t", "int32_t ", "int32_t* ", "integer", 'i', 'i', any | fany},
    KindInfo{Kind::Uint, "uint", "uint32_t", "uint32_t ", "uint32_t* ", "integer", 'I', 'I', any | fany},
    KindInfo{Kind::Size, "size", "intptr_t", "intptr_t ", "intptr_t* ", "integer", 'n', 'n', any | fany},
    KindInfo{Kind::Float, "float", "float", "float ", "float* ", "float", 'f', 'f', any | fany},
    KindInfo{Kind::Double, "double", "double", "double ", "double* ", "float", 'd', 'd', any | fany},
    KindInfo{Kind::String, "string", "const char*", "const char* ", "const char** ", "string", 'z', 'z', any | fany},
    KindInfo{Kind::Text, "text", "char", "", "char* ", "string", 0, 0, out | fout},
    KindInfo{Kind::Guid, "guid", "KzGuid", "const KzGuid* ", "", "string", 'O', 0, in},
    KindInfo{Kind::Object, "object", "IKzUnknown*", "IKzUnknown* ", "IKzUnknown** ", "object", 'O', 'O', any | fany},
    KindInfo{Kind::Vector2, "vector2", "KzVector2", "const KzVector2* ", "KzVector2* ", "vector", 'O', 0, in | out | fout},
    KindInfo{Kind::Vector3, "vector3", "KzVector3", "const KzVector3* ", "KzVector3* ", "vector", 'O', 'O', in | out | fany},
    KindInfo{Kind::Vector4, "vector4", "KzVector4", "const KzVector4* ", "KzVector4* ", "vector", 'O', 0, in | out | fout},
    KindInfo{Kind::FVector2, "fvector2", "KzFVector2", "const KzFVector2* ", "KzFVector2* ", "vector", 'O', 0, in | out | fout},
    KindInfo{Kind::FVector3, "fvector3", "KzFVector3", "const KzFVector3* ", "KzFVector3* ", "vector", 'O', 'O', in | out | fany},
    KindInfo{Kind::FVector4, "fvector4", "KzFVector4", "const KzFVector4* ", "KzFVector4* ", "vector", 'O', 0, in | out | fout},
    KindInfo{Kind::Matrix3, "matrix3", "KzMatrix3", "const KzMatrix3* ", "KzMatrix3* ", "matrix", 'O', 0, in | out},
    KindInfo{Kind::Matrix4, "matrix4", "KzMatrix4", "const KzMatrix4* ", "KzMatrix4* ", "matrix", 'O', 0, in | out},
    KindInfo{Kind::FMatrix3, "fmatrix3", "KzFMatrix3", "const KzFMatrix3* ", "KzFMatrix3* ", "matrix", 'O', 0, in | out},
    KindInfo{Kind::FMatrix4, "fmatrix4", "KzFMatrix4", "const KzFMatrix4* ", "KzFMatrix4* ", "matrix", 'O', 0, in | out},
    KindInfo{Kind::Bounds, "bounds", "KzBounds", "const KzBounds* ", "KzBounds* ", "bounds", 'O', 0, in | out},
    KindInfo{Kind::Quaternion, "quaternion", "KzQuaternion", "const KzQuaternion* ", "KzQuaternion* ", "quaternion", 'O', 0, in | out},
    KindInfo{Kind::Id, "id", "KzElementId", "KzElementId ", "KzElementId* ", "id", 'n', 'n', any | fany},
    KindInfo{Kind::Pointer, "pointer", "void*", "void* ", "void** ", "pointer", 'n', 'n', any | fany},
    KindInfo{Kind::FloatArray, "float", "float", "float* ", "float** ", "float[]", 'O', 'O', in | out | fin},
    KindInfo{Kind::DoubleArray, "double", "double", "double* ", "", "double[]", 'O', 'O', in | fin},
    KindInfo{Kind::IntArray, "int", "int32_t", "int32_t* ", "", "int[]", 'O', 'O', in | fin},
    KindInfo{Kind::UintArray, "uint", "uint32_t", "uint32_t* ", "uint32_t** ", "unsigned[]", 'O', 'O', in | out | fin},
    KindInfo{Kind::ByteArray, "byte", "uint8_t", "uint8_t* ", "", "byte[]", 'O', 'O', in | fin},
    KindInfo{Kind::IdArray, "id", "KzElementId", "KzElementId* ", "", "id[]", 'O', 'O', in | fin},
    KindInfo{Kind::DataArray, "data", "void", "void* ", "void** ", "data[]", 'O', 'O', in | out | fin},
    KindInfo{Kind::Hints, "hints", "KzTextValueHint", "const KzTextValueHint* ", "const KzTextValueHint** ", "hints", 'O', 0, in | out | fout},
    KindInfo{Kind::Blocks, "blocks", "KzBlockList", "const KzBlockList* ", "", "blocks", 'O', 0, in},
};
// clang-format on

const KindInfo* find(std::string_view name, bool arrays) {
    const auto* found = std::find_if(kinds.begin(), kinds.end(), [&](const KindInfo& row) {
        return row.name == name && isArray(row.kind) == arrays;
    });
    return found == kinds.end() ? nullptr : found;
}

}  // namespace

const KindInfo& info(Kind kind) { return kinds[static_cast<size_t>(kind)]; }

bool isArray(Kind kind) { return kind >= Kind::FloatArray && kind <= Kind::DataArray; }

bool isInteger(Kind kind) { return kind == Kind::Int || kind == Kind::Uint || kind == Kind::Size; }

const KindInfo* findKind(std::string_view name) { return find(name, false); }

const KindInfo* findArrayKind(std::string_view element) { return find(element, true); }

std::vector<std::string_view> kindNames(bool arrays) {
    std::vector<std::string_view> names;
    for (const KindInfo& row : kinds) {
        if (isArray(row.kind) == arrays) {
            names.push_back(row.name);
        }
    }
    return names;
}

}  // namespace kzgen
