// Walks the transforms of a locator, whose channels are the locator's own, and at last its parents.
#include "host/document/transform_values.h"
#include "host/objects/scene.h"

#include "kz/transform.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <variant>
#include <vector>

namespace kzhost {

namespace {

constexpr std::array<std::uint32_t, 4> steps = {KZiXFRM_SCALE, KZiXFRM_ROTATION, KZiXFRM_POSITION, KZiXFRM_WORLD};

constexpr const char* scales[] = {KZsICHAN_XFRMSCALE_SCL_X, KZsICHAN_XFRMSCALE_SCL_Y, KZsICHAN_XFRMSCALE_SCL_Z};
constexpr const char* turns[] = {KZsICHAN_XFRMROTATION_ROT_X, KZsICHAN_XFRMROTATION_ROT_Y, KZsICHAN_XFRMROTATION_ROT_Z,
                                 KZsICHAN_XFRMROTATION_ORDER};
constexpr const char* places[] = {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMPOSITION_POS_Y,
                                  KZsICHAN_XFRMPOSITION_POS_Z};

std::vector<double> numbersOf(const CItem& item, std::span<const char* const> channels, double time) {
    std::vector<double> numbers;
    for (const EvaluatedValue& value : kzEvaluated(item, channels, time))
        numbers.push_back(kzNumberOf(value).value_or(0));
    return numbers;
}

// What one step does: the locator's place with everything else left out.
KzMatrix4 matrixOf(const CItem& item, std::uint32_t step, double time) {
    KzMatrix4 matrix = kzIdentity();
    if (step == static_cast<std::uint32_t>(KZiXFRM_WORLD)) {
        constexpr const char* channel = KZsICHAN_LOCATOR_PARENTMATRIX;
        const auto value = kzEvaluated(item, std::span(&channel, 1), time).front();
        const auto* parent = std::get_if<KzMatrix4>(&value);
        return parent != nullptr ? *parent : matrix;
    }
    if (step == static_cast<std::uint32_t>(KZiXFRM_POSITION)) {
        const auto place = numbersOf(item, places, time);
        std::copy_n(place.begin(), 3, matrix.m[3]);
    } else if (step == static_cast<std::uint32_t>(KZiXFRM_SCALE)) {
        const auto scale = numbersOf(item, scales, time);
        for (int axis = 0; axis < 3; ++axis) matrix.m[axis][axis] = scale[static_cast<std::size_t>(axis)];
    } else {
        const auto turn = numbersOf(item, turns, time);
        const int order = std::clamp(static_cast<std::int32_t>(turn[3]), 0, KZiROTORDER_ZYX);
        matrix = kzMatrixOf(kzRotationOfEuler({{turn[0], turn[1], turn[2]}}, order), {});
    }
    return matrix;
}

class CTransformScan final : public CHosted<"transform scan", CTransformScan, CKzIfc_TransformScan> {
public:
    KzResult transformscan_Start(IKzUnknown* locator, std::int32_t action) override {
        const auto own = kzOwn<CItem>(locator);
        if (own->read()->findChannel(KZsICHAN_LOCATOR_WORLDMATRIX) < 0) return KZe_INVALIDARG;
        m_locator = own;
        m_isSetup = action != 0;
        m_next = 0;
        return KZe_OK;
    }
    KzResult transformscan_Next() override {
        if (!m_locator) return KZe_NOTREADY;
        m_next = std::min(m_next + 1, steps.size() + 1);
        return m_next <= steps.size() ? KZe_OK : KZe_OUTOFBOUNDS;
    }
    KzResult transformscan_Item(IKzUnknown** transform) override {
        return isAtStep() ? m_locator.give(transform) : KZe_NOTFOUND;
    }
    std::uint32_t transformscan_Type() override { return isAtStep() ? steps[m_next - 1] : 0; }
    bool transformscan_IsInverse() override { return false; }  // there are no pivots among the steps
    KzResult transformscan_Matrix(double time, KzMatrix4* matrix) override {
        if (!isAtStep()) return KZe_NOTFOUND;
        *matrix = matrixOf(*m_locator, steps[m_next - 1], m_isSetup ? KZiCHANTIME_SETUP : time);
        return KZe_OK;
    }
    KzResult transformscan_Accumulated(double time, KzMatrix4* matrix) override {
        if (!m_locator) return KZe_NOTREADY;
        *matrix = kzIdentity();
        for (std::size_t i = 0; i < std::min(m_next, steps.size()); ++i)
            *matrix = *matrix * matrixOf(*m_locator, steps[i], m_isSetup ? KZiCHANTIME_SETUP : time);
        return KZe_OK;
    }

private:
    bool isAtStep() const { return m_locator && m_next > 0 && m_next <= steps.size(); }

    CHostRef<CItem> m_locator;
    bool m_isSetup = false;
    std::size_t m_next = 0;  // the number of steps so far
};

}  // namespace

IKzUnknown* kzMakeTransformScan() { return kzMakeObject<CTransformScan>(); }

}  // namespace kzhost
