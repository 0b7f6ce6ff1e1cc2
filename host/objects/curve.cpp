// Curves as objects.
#include "host/objects/curve.h"

#include "host/core/reasons.h"
#include "host/objects/arguments.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace kzhost {

namespace {

class CCurve final : public CHosted<"curve", CCurve, CKzIfc_Curve> {
public:
    explicit CCurve(CurveDefinition definition) : m_definition(std::move(definition)) {}

    std::uint32_t curve_KnotCount() override { return static_cast<std::uint32_t>(knots().size()); }
    KzResult curve_KnotPosition(std::uint32_t index, KzVector3* position) override {
        if (index >= knots().size()) return KZe_OUTOFBOUNDS;
        *position = knots()[index];
        return KZe_OK;
    }
    KzResult curve_SetKnotPosition(std::uint32_t index, const KzVector3* position) override {
        const KzVector3& place = checked(position);
        if (index >= knots().size()) return KZe_OUTOFBOUNDS;
        knots()[index] = place;
        return change();
    }
    KzResult curve_KnotAdd(const KzVector3* position, std::int32_t before, std::uint32_t* index) override {
        const auto count = static_cast<std::int64_t>(knots().size());
        if (before < -1 || before > count) return KZe_OUTOFBOUNDS;
        const std::int64_t place = before < 0 ? count : before;
        knots().insert(knots().begin() + place, checked(position));
        *index = static_cast<std::uint32_t>(place);
        return change();
    }
    KzResult curve_KnotRemove(std::uint32_t index) override {
        if (index >= knots().size()) return KZe_OUTOFBOUNDS;
        knots().erase(knots().begin() + index);
        return change();
    }
    double curve_KnotParam(std::uint32_t index) override {
        if (index >= knots().size()) throw KZe_OUTOFBOUNDS;
        return index / static_cast<double>(m_definition.segmentCount());
    }
    double curve_Param(double distance) override { return shape().paramAt(distance); }
    double curve_Length() override { return knots().empty() ? 0 : shape().length(); }
    double curve_LengthTo(double param) override { return shape().lengthTo(number(param)); }
    KzResult curve_Position(double param, KzVector3* position) override {
        *position = shape().position(number(param));
        return KZe_OK;
    }
    KzResult curve_Tangent(double param, KzVector3* tangent) override {
        return direction(tangent, shape().tangent(number(param)));
    }
    KzResult curve_Normal(double param, KzVector3* normal) override {
        return direction(normal, shape().normal(number(param)));
    }
    double curve_Curvature(double param) override { return shape().curvature(number(param)); }
    double curve_Radius(double /*param*/) override { return m_definition.radius; }
    KzResult curve_Closest(const KzVector3* position, double* param, double* distance) override {
        const KzVector3& wanted = checked(position);
        *param = shape().closest(wanted);
        *distance = kzLength(shape().position(*param) - wanted);
        return KZe_OK;
    }
    bool curve_IsClosed() override { return m_definition.isClosed; }
    KzResult curve_SetClosed(std::int32_t closed) override {
        m_definition.isClosed = closed != 0;
        return change();
    }
    std::uint32_t curve_Degree() override { return m_definition.degree; }
    KzResult curve_Sample(std::uint32_t count, double* positions) override {
        if (positions == nullptr && count > 0) return KZe_INVALIDARG;
        const std::uint32_t gaps = m_definition.isClosed ? count : count - 1;
        for (std::uint32_t i = 0; i < count; ++i) {
            const double share = i == 0 ? 0 : i / static_cast<double>(gaps);
            const KzVector3 position = shape().position(shape().paramAt(share * shape().length()));
            std::copy_n(position.v, 3, positions + std::size_t{3} * i);
        }
        return KZe_OK;
    }

private:
    std::vector<KzVector3>& knots() { return m_definition.knots; }
    KzResult change() {
        m_shape.reset();
        return KZe_OK;
    }
    const CCurveShape& shape() {
        if (knots().empty())
            throw kzBecause(KZe_NOTAVAILABLE, "Curve", [] { return "the curve has no knots; KnotAdd adds some"; });
        if (!m_shape) m_shape = std::make_unique<CCurveShape>(m_definition);
        return *m_shape;
    }
    static double number(double param) {
        if (std::isnan(param)) throw KZe_INVALIDARG;
        return param;
    }
    // Squares of products of the numbers of a curve must stay finite.
    static const KzVector3& checked(const KzVector3* position) {
        for (const double each : kzNotNull(position).v)
            if (!(std::abs(each) <= 1e60))
                throw kzBecause(KZe_INVALIDARG, "Curve",
                                [&] { return fmt::format("{} is no coordinate, which is at most 1e60", each); });
        return *position;
    }
    static KzResult direction(KzVector3* out, const KzVector3& found) {
        *out = found;
        return kzLength(found) > 0 ? KZe_OK : KZe_NOTAVAILABLE;
    }

    CurveDefinition m_definition;
    std::unique_ptr<const CCurveShape> m_shape;  // made when it is needed
};

}  // namespace

IKzUnknown* kzMakeCurve(CurveDefinition definition) { return kzMakeObject<CCurve>(std::move(definition)); }

}  // namespace kzhost
