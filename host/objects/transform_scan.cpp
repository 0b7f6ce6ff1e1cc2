// Walks the transforms of a locator, whose channels are the locator's own, and at last its parents.
#include "host/objects/scene.h"
#include "host/objects/transform_values.h"

#include "kz/transform.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kzhost {

namespace {

constexpr std::array<std::uint32_t, 4> steps = {KZiXFRM_SCALE, KZiXFRM_ROTATION, KZiXFRM_POSITION, KZiXFRM_WORLD};

// What one step does: the locator's place with everything else left out.
KzMatrix4 matrixOf(const Item& item, std::uint32_t step) {
    if (step == static_cast<std::uint32_t>(KZiXFRM_WORLD))
        return item.parent != nullptr ? kzWorldMatrix(*item.parent) : kzIdentity();
    const KzMatrix4 local = kzLocalMatrix(item);
    KzMatrix4 matrix = kzIdentity();
    if (step == static_cast<std::uint32_t>(KZiXFRM_POSITION)) {
        std::copy_n(local.m[3], 3, matrix.m[3]);
        return matrix;
    }
    if (step == static_cast<std::uint32_t>(KZiXFRM_SCALE)) return kzScaleOf(item);
    return kzRotationOf(item);
}

class CTransformScan final : public CHosted<"transform scan", CTransformScan, CKzIfc_TransformScan> {
public:
    KzResult transformscan_Start(IKzUnknown* locator, std::int32_t /*action*/) override {
        const auto own = kzOwn<CItem>(locator);
        if (own->read()->findChannel(KZsICHAN_LOCATOR_WORLDMATRIX) < 0) return KZe_INVALIDARG;
        m_locator = own;
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
    KzResult transformscan_Matrix(double /*time*/, KzMatrix4* matrix) override {
        if (!isAtStep()) return KZe_NOTFOUND;
        *matrix = matrixOf(*m_locator->read(), steps[m_next - 1]);
        return KZe_OK;
    }
    KzResult transformscan_Accumulated(double /*time*/, KzMatrix4* matrix) override {
        if (!m_locator) return KZe_NOTREADY;
        const auto locator = m_locator->read();
        *matrix = kzIdentity();
        for (std::size_t i = 0; i < std::min(m_next, steps.size()); ++i)
            *matrix = *matrix * matrixOf(*locator, steps[i]);
        return KZe_OK;
    }

private:
    bool isAtStep() const { return m_locator && m_next > 0 && m_next <= steps.size(); }

    CHostRef<CItem> m_locator;
    std::size_t m_next = 0;  // the number of steps so far
};

}  // namespace

IKzUnknown* kzMakeTransformScan() { return kzMakeObject<CTransformScan>(); }

}  // namespace kzhost
