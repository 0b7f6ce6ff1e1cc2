// Matrices that are computed with, as objects.
#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/transforms.h"

#include "kz/result.h"

#include <span>

namespace kzhost {

namespace {

template <class Plain> const Plain& finite(const Plain* value) {
    static_assert(sizeof(Plain) % sizeof(double) == 0);
    const auto* numbers = reinterpret_cast<const double*>(&kzNotNull(value));
    for (const double number : std::span(numbers, sizeof(Plain) / sizeof(double)))
        if (!std::isfinite(number)) throw KZe_INVALIDARG;
    return *value;
}

class CMatrix final : public CHosted<"matrix", CMatrix, CKzIfc_Matrix> {
public:
    CMatrix(std::uint32_t size, const KzMatrix4& value) : m_size(size) { set(value); }

    std::uint32_t matrix_Size() override { return m_size; }
    void matrix_SetIdentity() override { m_value = kzIdentity(); }
    KzResult matrix_Get3(KzMatrix3* matrix) override {
        *matrix = axes();
        return KZe_OK;
    }
    KzResult matrix_Get4(KzMatrix4* matrix) override {
        *matrix = m_value;
        return KZe_OK;
    }
    KzResult matrix_Set3(const KzMatrix3* matrix) override { return setAxes(finite(matrix)); }
    KzResult matrix_Set4(const KzMatrix4* matrix) override { return set(finite(matrix)); }
    KzResult matrix_Multiply(const KzMatrix4* matrix) override { return set(m_value * finite(matrix)); }
    KzResult matrix_Premultiply(const KzMatrix4* matrix) override { return set(finite(matrix) * m_value); }
    KzResult matrix_Invert() override {
        const auto inverse = kzInverse(m_value);
        if (inverse) return set(*inverse);
        return kzBecause(KZe_INVALIDARG, "Matrix.Invert", [] { return "the matrix has no inverse"; });
    }
    void matrix_Transpose() override {
        const KzMatrix4 old = m_value;
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 4; ++column) m_value.m[row][column] = old.m[column][row];
    }
    KzResult matrix_Offset(KzVector3* offset) override {
        *offset = position();
        return KZe_OK;
    }
    KzResult matrix_SetOffset(const KzVector3* offset) override {
        if (m_size != 4) return KZe_NOTAVAILABLE;
        std::copy_n(finite(offset).v, 3, m_value.m[3]);
        return KZe_OK;
    }
    KzResult matrix_Euler(std::int32_t order, KzVector3* angles) override {
        if (!kzIsRotationOrder(order)) return KZe_INVALIDARG;
        *angles = kzEulerOfRotation(kzRotationAndScale(axes()).rotation, order);
        return KZe_OK;
    }
    KzResult matrix_SetEuler(const KzVector3* angles, std::int32_t order) override {
        if (!kzIsRotationOrder(order)) return KZe_INVALIDARG;
        return setAxes(kzRotationOfEuler(finite(angles), order));
    }
    KzResult matrix_SetScale(const KzVector3* scale) override {
        KzMatrix3 scaled = axes();
        for (int row = 0; row < 3; ++row)
            for (double& number : scaled.m[row]) number *= finite(scale).v[row];
        return setAxes(scaled);
    }
    KzResult matrix_Decompose(KzVector3* place, KzMatrix3* rotation, KzVector3* scale) override {
        const RotationAndScale parts = kzRotationAndScale(axes());
        *place = position();
        *rotation = parts.rotation;
        *scale = parts.scale;
        return KZe_OK;
    }
    KzResult matrix_TransformPoint(const KzVector3* point, KzVector3* result3) override {
        *result3 = kzPlace(kzNotNull(point), m_value);
        return KZe_OK;
    }
    KzResult matrix_TransformVector(const KzVector3* vector, KzVector3* result3) override {
        *result3 = kzTurn(kzNotNull(vector), m_value);
        return KZe_OK;
    }
    KzResult matrix_LookAt(const KzVector3* place, const KzVector3* target, const KzVector3* up) override {
        const KzVector3 back = kzUnit(finite(place) - finite(target));
        if (kzLength(back) == 0)
            return kzBecause(KZe_INVALIDARG, "Matrix.LookAt", [] { return "position and target are the same"; });
        KzVector3 right = kzUnit(kzCross(kzUnit(finite(up)), back));
        if (kzLength(right) == 0) right = kzAcross(back);
        return set(kzMatrixOf(kzMatrixOfRows(right, kzCross(back, right), back), *place));
    }
    double matrix_Determinant() override { return kzDeterminant(m_value); }
    bool matrix_IsIdentity() override {
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 4; ++column)
                if (!(std::abs(m_value.m[row][column] - (row == column)) <= 1e-12)) return false;
        return true;
    }

private:
    KzMatrix3 axes() const { return kzUpperLeft(m_value); }
    KzVector3 position() const { return {{m_value.m[3][0], m_value.m[3][1], m_value.m[3][2]}}; }
    KzResult set(const KzMatrix4& value) {
        m_value = m_size == 4 ? value : kzMatrixOf(kzUpperLeft(value), {});
        return KZe_OK;
    }
    KzResult setAxes(const KzMatrix3& axes) {
        for (int row = 0; row < 3; ++row) std::copy_n(axes.m[row], 3, m_value.m[row]);
        return KZe_OK;
    }

    std::uint32_t m_size;
    KzMatrix4 m_value;
};

class CQuaternion final : public CHosted<"quaternion", CQuaternion, CKzIfc_Quaternion> {
public:
    KzResult quaternion_Get(KzQuaternion* rotation) override {
        *rotation = m_value;
        return KZe_OK;
    }
    KzResult quaternion_Set(const KzQuaternion* rotation) override {
        const auto unit = kzUnit(kzNotNull(rotation));
        if (!unit)
            return kzBecause(KZe_INVALIDARG, "Quaternion.Set",
                             [] { return "a quaternion of length 0 is no rotation"; });
        return set(*unit);
    }
    void quaternion_SetIdentity() override { m_value = {{0, 0, 0, 1}}; }
    KzResult quaternion_Matrix(KzMatrix4* matrix) override {
        *matrix = kzMatrixOf(kzRotationOf(m_value), {});
        return KZe_OK;
    }
    KzResult quaternion_SetMatrix(const KzMatrix3* rotation) override {
        return set(kzQuaternionOf(kzRotationAndScale(finite(rotation)).rotation));
    }
    KzResult quaternion_AxisAngle(KzVector3* axis, double* angle) override {
        const double sign = m_value.v[3] < 0 ? -1 : 1;
        const KzVector3 part = KzVector3{{m_value.v[0], m_value.v[1], m_value.v[2]}} * sign;
        const double length = kzLength(part);
        *axis = length > 0 ? part * (1 / length) : KzVector3{{0, 1, 0}};
        *angle = 2 * std::atan2(length, sign * m_value.v[3]);
        return KZe_OK;
    }
    KzResult quaternion_SetAxisAngle(const KzVector3* axis, double angle) override {
        const KzVector3 unit = kzUnit(finite(axis));
        if (!std::isfinite(angle) || (kzLength(unit) == 0 && angle != 0)) return KZe_INVALIDARG;
        return set(kzQuaternionAbout(unit, angle));
    }
    KzResult quaternion_SetEuler(const KzVector3* angles, std::int32_t order) override {
        if (!kzIsRotationOrder(order)) return KZe_INVALIDARG;
        return set(kzQuaternionOf(kzRotationOfEuler(finite(angles), order)));
    }
    KzResult quaternion_SetTurn(const KzVector3* start, const KzVector3* end) override {
        const KzVector3 from = kzUnit(finite(start)), to = kzUnit(finite(end));
        if (kzLength(from) == 0 || kzLength(to) == 0) return KZe_INVALIDARG;
        // The quaternion of twice the turn and the null rotation add up to that of the turn.
        const KzVector3 axis = kzCross(from, to);
        const auto turn = kzUnit(KzQuaternion{{axis.v[0], axis.v[1], axis.v[2], 1 + kzDot(from, to)}});
        const bool isOpposite = kzDot(from, to) < 0 && kzLength(axis) < 1e-12;
        return set(isOpposite || !turn ? kzQuaternionAbout(kzAcross(from), std::acos(-1)) : *turn);
    }
    KzResult quaternion_Multiply(IKzUnknown* other) override { return set(kzThen(m_value, valueOf(other))); }
    void quaternion_Normalize() override { set(m_value); }
    void quaternion_Invert() override {
        for (int i = 0; i < 3; ++i) m_value.v[i] = -m_value.v[i];
    }
    double quaternion_Dot(IKzUnknown* other) override { return kzDot(m_value, valueOf(other)); }
    KzResult quaternion_Blend(IKzUnknown* other, double weight) override {
        if (!std::isfinite(weight)) return KZe_INVALIDARG;
        return set(kzBlend(m_value, valueOf(other), weight));
    }
    KzResult quaternion_Rotate(const KzVector3* vector, KzVector3* rotated) override {
        *rotated = kzTurn(kzNotNull(vector), kzMatrixOf(kzRotationOf(m_value), {}));
        return KZe_OK;
    }

private:
    static KzQuaternion valueOf(IKzUnknown* other) { return kzOwn<CQuaternion>(other)->m_value; }
    // Rounding must not add up in a long row of products.
    KzResult set(const KzQuaternion& value) {
        m_value = kzUnit(value).value_or(m_value);
        return KZe_OK;
    }

    KzQuaternion m_value{{0, 0, 0, 1}};
};

}  // namespace

IKzUnknown* kzMakeMatrix(std::uint32_t size, const KzMatrix4& value) { return kzMakeObject<CMatrix>(size, value); }
IKzUnknown* kzMakeQuaternion() { return kzMakeObject<CQuaternion>(); }

}  // namespace kzhost
