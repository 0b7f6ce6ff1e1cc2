// Walks along curves step by step.
#include "host/core/reasons.h"
#include "host/document/transform_values.h"
#include "host/objects/arguments.h"
#include "host/objects/curve.h"

#include "kz/result.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Any curve as something with lengths and directions. Only the positions of a foreign curve can be relied on.
class CWalkedCurve {
public:
    explicit CWalkedCurve(IKzUnknown* curve) : m_curve(curve) {
        if (!m_curve) throw KZe_INVALIDARG;
        if (m_curve.Length() <= 0) measure();
    }

    KzVector3 position(double param) const {
        KzVector3 found{};
        if (const KzResult code = m_curve.Position(param, &found); kzFailed(code)) throw code;
        return found;
    }
    KzVector3 tangent(double param) const {
        KzVector3 found{};
        if (!kzFailed(m_curve.Tangent(param, &found)) && kzLength(found) > 0) return kzUnit(found);
        const double low = std::max(0.0, param - 1e-5), high = std::min(1.0, param + 1e-5);
        return kzUnit(position(high) - position(low));
    }
    std::optional<KzVector3> normal(double param) const {
        KzVector3 found{};
        return !kzFailed(m_curve.Normal(param, &found)) && kzLength(found) > 0 ? std::optional(found) : std::nullopt;
    }
    double lengthTo(double param) const {
        if (m_lengths.empty()) return m_curve.LengthTo(param);
        const double at = param * static_cast<double>(m_lengths.size() - 1);
        const std::size_t index = std::min(static_cast<std::size_t>(at), m_lengths.size() - 2);
        return std::lerp(m_lengths[index], m_lengths[index + 1], at - static_cast<double>(index));
    }
    double paramAt(double distance) const {
        if (m_lengths.empty()) return m_curve.Param(distance);
        const auto next = std::upper_bound(m_lengths.begin() + 1, m_lengths.end() - 1, distance);
        const double before = *(next - 1), gap = *next - before;
        const double share = gap > 0 ? std::clamp((distance - before) / gap, 0.0, 1.0) : 0;
        return (static_cast<double>(next - 1 - m_lengths.begin()) + share) / static_cast<double>(m_lengths.size() - 1);
    }

private:
    // The lengths of chords, for a curve that has no length of its own.
    void measure() {
        constexpr int chords = 1024;
        m_lengths.push_back(0);
        KzVector3 last = position(0);
        for (int i = 1; i <= chords; ++i) {
            const KzVector3 next = position(i / static_cast<double>(chords));
            m_lengths.push_back(m_lengths.back() + kzLength(next - last));
            last = next;
        }
    }

    CKzUser_Curve m_curve;
    std::vector<double> m_lengths;  // to even steps of the parameter
};

class CPathStep final : public CHosted<"path step", CPathStep, CKzIfc_PathStep> {
public:
    KzResult pathstep_Begin(IKzUnknown* curve, double start, double end) override {
        if (std::isnan(start) || std::isnan(end)) return KZe_INVALIDARG;
        auto walked = std::make_unique<const CWalkedCurve>(curve);
        m_start = std::clamp(start, 0.0, 1.0);
        m_end = std::clamp(end, 0.0, 1.0);
        m_startLength = walked->lengthTo(m_start);
        m_length = walked->lengthTo(m_end) - m_startLength;
        m_curve = std::move(walked);
        m_index.reset();
        return KZe_OK;
    }
    KzResult pathstep_SetSpacing(double distance) override {
        if (!(distance > 0) || !std::isfinite(distance)) return KZe_INVALIDARG;
        m_spacing = distance;
        m_count = 0;
        return KZe_OK;
    }
    KzResult pathstep_SetCount(std::uint32_t count) override {
        if (count == 0) return KZe_INVALIDARG;
        m_count = count;
        return KZe_OK;
    }
    KzResult pathstep_Step() override {
        if (!m_curve || (m_count == 0 && m_spacing == 0))
            return kzBecause(KZe_NOTREADY, "PathStep.Step",
                             [] { return "it takes Begin, and SetSpacing or SetCount, before the first step"; });
        const std::uint32_t next = m_index ? *m_index + 1 : 0;
        const double length = std::abs(m_length), last = m_count > 1 ? m_count - 1.0 : 1.0;
        const double distance = m_count > 0 ? length * (next / last) : next * m_spacing;
        // The last step of an even division must not fall to rounding.
        if (m_count > 0 ? next >= m_count : distance > length * (1 + 1e-12)) return KZe_OUTOFBOUNDS;
        const double param = next == 0            ? m_start
                             : distance >= length ? m_end
                                                  : m_curve->paramAt(m_startLength + std::copysign(distance, m_length));
        const Place place = placeAt(param);
        m_index = next;
        m_place = place;
        return KZe_OK;
    }
    std::uint32_t pathstep_Index() override { return m_index.value_or(0); }
    double pathstep_Param() override { return m_index ? m_place.param : m_start; }
    KzResult pathstep_Frame(KzVector3* position, KzVector3* forward, KzVector3* up) override {
        *position = here().position;
        *forward = here().forward;
        *up = here().up;
        return KZe_OK;
    }
    KzResult pathstep_Matrix(KzMatrix4* matrix) override {
        const Place& at = here();
        *matrix = kzMatrixOf(kzMatrixOfRows(kzCross(at.up, at.forward), at.up, at.forward), at.position);
        return KZe_OK;
    }

private:
    struct Place {
        double param = 0;
        KzVector3 position{}, forward{}, up{};
    };
    const Place& here() const {
        if (!m_index) throw kzBecause(KZe_NOTAVAILABLE, "PathStep", [] { return "it stands before the first step"; });
        return m_place;
    }
    // A curve without normals has those of the step before, made straight again.
    Place placeAt(double param) const {
        Place place{param, m_curve->position(param), m_curve->tangent(param) * (m_end < m_start ? -1 : 1), {}};
        if (kzLength(place.forward) == 0)
            throw kzBecause(KZe_NOTAVAILABLE, "PathStep.Step", [] { return "the curve has no direction there"; });
        const KzVector3 up = m_curve->normal(param).value_or(m_index ? m_place.up : kzAcross(place.forward));
        place.up = kzUnit(up - place.forward * kzDot(up, place.forward));
        if (kzLength(place.up) == 0) place.up = kzAcross(place.forward);
        return place;
    }

    std::unique_ptr<const CWalkedCurve> m_curve;
    double m_start = 0, m_end = 0, m_startLength = 0, m_length = 0;  // the length is negative backwards
    double m_spacing = 0;
    std::uint32_t m_count = 0;
    std::optional<std::uint32_t> m_index;
    Place m_place;
};

}  // namespace

IKzUnknown* kzMakePathStep() { return kzMakeObject<CPathStep>(); }

}  // namespace kzhost
