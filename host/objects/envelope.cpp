// Envelopes as objects.
#include "host/objects/envelope.h"

#include "host/core/reasons.h"
#include "host/objects/arguments.h"

#include <fmt/format.h>

#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CFreeEnvelope final : public EnvelopeHome {
public:
    explicit CFreeEnvelope(bool isInteger) : m_data(std::make_shared<EnvelopeData>(isInteger)) {}
    std::shared_ptr<const EnvelopeData> read() const override {
        const std::lock_guard guard(m_lock);
        return m_data;
    }
    void write(std::shared_ptr<const EnvelopeData> data) override {
        const std::lock_guard guard(m_lock);
        m_data.swap(data);
    }

private:
    mutable std::mutex m_lock;
    std::shared_ptr<const EnvelopeData> m_data;
};

class CEnvelope final : public CHosted<"envelope", CEnvelope, CKzIfc_Envelope> {
public:
    explicit CEnvelope(std::shared_ptr<EnvelopeHome> home) : m_home(std::move(home)) {}

    KzResult envelope_Value(double input, double* value) override {
        return give("Envelope.Value", input, m_home->read()->value(input), value);
    }
    KzResult envelope_Slope(double input, double* slope) override {
        return give("Envelope.Slope", input, m_home->read()->slope(input), slope);
    }
    KzResult envelope_Segment(double start, double end, double* lowest, double* highest) override {
        if (!(start <= end) || !std::isfinite(start) || !std::isfinite(end))
            return kzBecause(KZe_INVALIDARG, "Envelope.Segment",
                             [&] { return fmt::format("{} to {} is no range of inputs", start, end); });
        const auto extremes = m_home->read()->extremes(start, end);
        if (!extremes) return kzBecause(KZe_OUTOFBOUNDS, "Envelope.Segment", &outside);
        *lowest = extremes->lowest;
        *highest = extremes->highest;
        return KZe_OK;
    }
    bool envelope_IsInteger() override { return m_home->read()->isInteger(); }
    std::uint32_t envelope_KeyCount() override { return static_cast<std::uint32_t>(m_home->read()->keys().size()); }
    KzResult envelope_Keys(IKzUnknown** key) override {
        *key = kzMakeKeyframe(m_home);
        return KZe_OK;
    }
    KzResult envelope_SetFromKeys(std::uint32_t count, double* inputs, double* values) override {
        if (count > 0 && (inputs == nullptr || values == nullptr)) return KZe_INVALIDARG;
        std::vector<EnvelopeKey> keys(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!kzIsEnvelopeNumber(inputs[i]) || !kzIsEnvelopeNumber(values[i]))
                return kzBecause(KZe_INVALIDARG, "Envelope.SetFromKeys", [&] {
                    return fmt::format("key {} is {} at {}; both must be finite and at most 1e300", i, values[i],
                                       inputs[i]);
                });
            if (i > 0 && inputs[i] <= inputs[i - 1])
                return kzBecause(KZe_INVALIDARG, "Envelope.SetFromKeys", [&] {
                    return fmt::format("key {} is at {} and the key before at {}; inputs must ascend", i, inputs[i],
                                       inputs[i - 1]);
                });
            keys[i].time = inputs[i];
            keys[i].in.value = keys[i].out.value = values[i];
        }
        return edit([&](EnvelopeData& data) { data.setKeys(std::move(keys)); });
    }
    KzResult envelope_Clear() override {
        return edit([](EnvelopeData& data) { data.clear(); });
    }
    KzResult envelope_EndBehavior(std::int32_t side, std::uint32_t* behavior) override {
        const auto data = m_home->read();
        const std::uint32_t before = data->endBehavior(KZiENVSIDE_IN), after = data->endBehavior(KZiENVSIDE_OUT);
        if (side < KZiENVSIDE_IN || side > KZiENVSIDE_BOTH || (side == KZiENVSIDE_BOTH && before != after))
            return KZe_INVALIDARG;
        *behavior = side == KZiENVSIDE_IN ? before : after;
        return KZe_OK;
    }
    KzResult envelope_SetEndBehavior(std::uint32_t behavior, std::int32_t side) override {
        return edit([&](EnvelopeData& data) { data.setEndBehavior(behavior, side); });
    }
    KzResult envelope_Interpolation(std::uint32_t* interpolation) override {
        const auto data = m_home->read();
        if (!data->isInteger()) return KZe_NOTAVAILABLE;
        *interpolation = data->interpolation();
        return KZe_OK;
    }
    KzResult envelope_SetInterpolation(std::uint32_t interpolation) override {
        return edit([&](EnvelopeData& data) { data.setInterpolation(interpolation); });
    }
    KzResult envelope_Compare(IKzUnknown* other, bool* identical) override {
        *identical = *m_home->read() == *kzOwn<CEnvelope>(other)->m_home->read();
        return KZe_OK;
    }
    KzResult envelope_Copy(IKzUnknown* source) override {
        const auto data = kzOwn<CEnvelope>(source)->m_home->read();
        return edit([&](EnvelopeData& own) { own.copy(*data); });
    }

private:
    static std::string outside() { return "the input is outside the keys, where the end behaviour is NONE"; }
    static KzResult give(const char* place, double input, const std::optional<double>& number, double* out) {
        if (number) *out = *number;
        else if (std::isfinite(input)) return kzBecause(KZe_OUTOFBOUNDS, place, &outside);
        else return kzBecause(KZe_INVALIDARG, place, [&] { return fmt::format("there is nothing at {}", input); });
        return KZe_OK;
    }
    template <class Change> KzResult edit(const Change& change) {
        kzEditEnvelope(*m_home, change);
        return KZe_OK;
    }

    std::shared_ptr<EnvelopeHome> m_home;
};

}  // namespace

std::shared_ptr<EnvelopeHome> kzMakeEnvelopeHome(bool isInteger) { return std::make_shared<CFreeEnvelope>(isInteger); }
IKzUnknown* kzMakeEnvelope(std::shared_ptr<EnvelopeHome> home) { return kzMakeObject<CEnvelope>(std::move(home)); }

}  // namespace kzhost
