// Cursors over the keys of an envelope. A cursor holds the id of its key and finds it in whatever state the envelope is in
// when a method is called, also after an undo that brings the key back.
#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/envelope.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <utility>

namespace kzhost {

namespace {

class CKeyframe final : public CHosted<"keyframe", CKeyframe, CKzIfc_Keyframe> {
public:
    explicit CKeyframe(std::shared_ptr<EnvelopeHome> home) : m_home(std::move(home)) {}

    KzResult keyframe_First() override { return standAt(*m_home->read(), 0); }
    KzResult keyframe_Last() override {
        const auto data = m_home->read();
        return standAt(*data, data->keys().size() - 1);
    }
    KzResult keyframe_Next() override {
        const auto data = m_home->read();
        if (isBeforeAll()) return standAt(*data, 0);
        const auto index = find(*data);
        return standAt(*data, index ? *index + 1 : data->keysBefore(m_time));
    }
    KzResult keyframe_Previous() override {
        const auto data = m_home->read();
        if (isBeforeAll()) return KZe_OUTOFBOUNDS;
        const auto index = find(*data);
        return standAt(*data, index.value_or(data->keysBefore(m_time)) - 1);
    }
    KzResult keyframe_Find(double time, std::int32_t side, double tolerance) override {
        if (!isSide(side) || std::isnan(time) || !(tolerance >= 0)) return KZe_INVALIDARG;
        const auto data = m_home->read();
        const auto& keys = data->keys();
        const std::size_t after = data->keysBefore(time);
        constexpr double nowhere = std::numeric_limits<double>::infinity();
        const bool isThere = after < keys.size() && keys[after].time == time;
        const double up =
            (isThere || (side & KZiENVSIDE_OUT) != 0) && after < keys.size() ? keys[after].time - time : nowhere;
        const double down = (side & KZiENVSIDE_IN) != 0 && after > 0 ? time - keys[after - 1].time : nowhere;
        if (!(std::min(up, down) <= tolerance) || std::min(up, down) == nowhere) return KZe_NOTFOUND;
        return standAt(*data, down < up ? after - 1 : after);
    }

    KzResult keyframe_Time(double* time) override {
        const auto data = m_home->read();
        *time = isBeforeAll() ? 0 : data->keys()[here("Keyframe.Time", *data)].time;
        return KZe_OK;
    }
    KzResult keyframe_SetTime(double time) override {
        return edit("Keyframe.SetTime", [&](EnvelopeData& data, std::size_t index) {
            data.setTime(index, time);
            m_time = time;
        });
    }
    KzResult keyframe_Value(std::int32_t side, double* value) override {
        return read("Keyframe.Value", side,
                    [&](const EnvelopeData& data, std::size_t index) { *value = data.keys()[index].side(side).value; });
    }
    KzResult keyframe_SetValue(double value, std::int32_t side) override {
        return edit("Keyframe.SetValue",
                    [&](EnvelopeData& data, std::size_t index) { data.setValue(index, value, side); });
    }
    KzResult keyframe_Add(double time, double value) override {
        kzEditEnvelope(*m_home, [&](EnvelopeData& data) { standAt(data, data.add(time, value)); });
        return KZe_OK;
    }
    KzResult keyframe_Remove() override {
        return edit("Keyframe.Remove", [&](EnvelopeData& data, std::size_t index) {
            data.remove(index);
            if (index == 0) m_id = 0;
            else standAt(data, index - 1);
        });
    }

    KzResult keyframe_SlopeType(std::int32_t side, std::uint32_t* type, std::uint32_t* weighted) override {
        return read("Keyframe.SlopeType", side, [&](const EnvelopeData& data, std::size_t index) {
            needSlopes(data);
            const EnvelopeSide& own = data.keys()[index].side(side);
            *type = own.type;
            *weighted = own.weight != 1 ? 1 : 0;
        });
    }
    KzResult keyframe_SetSlopeType(std::uint32_t type, std::int32_t side) override {
        return edit("Keyframe.SetSlopeType",
                    [&](EnvelopeData& data, std::size_t index) { data.setSlopeType(index, type, side); });
    }
    KzResult keyframe_Slope(std::int32_t side, double* slope, double* weight) override {
        return read("Keyframe.Slope", side, [&](const EnvelopeData& data, std::size_t index) {
            needSlopes(data);
            *slope = data.keySlope(index, side);
            *weight = data.keys()[index].side(side).weight;
        });
    }
    KzResult keyframe_SetSlope(double slope, double weight, std::int32_t side) override {
        return edit("Keyframe.SetSlope",
                    [&](EnvelopeData& data, std::size_t index) { data.setSlope(index, slope, weight, side); });
    }
    KzResult keyframe_SetBreak(std::uint32_t parts, std::int32_t on) override {
        return edit("Keyframe.SetBreak",
                    [&](EnvelopeData& data, std::size_t index) { data.setBreak(index, parts, on != 0); });
    }
    KzResult keyframe_Breaks(std::uint32_t* parts) override {
        const auto data = m_home->read();
        *parts = data->keys()[here("Keyframe.Breaks", *data)].breaks;
        return KZe_OK;
    }

private:
    bool isBeforeAll() const { return m_id == 0; }
    static bool isSide(std::int32_t side) { return side >= KZiENVSIDE_IN && side <= KZiENVSIDE_BOTH; }
    static void needSlopes(const EnvelopeData& data) {
        if (data.isInteger()) throw KZe_NOTAVAILABLE;
    }

    // An index past the end leaves the cursor where it is.
    KzResult standAt(const EnvelopeData& data, std::size_t index) {
        if (index >= data.keys().size()) return KZe_OUTOFBOUNDS;
        m_id = data.keys()[index].id;
        m_time = data.keys()[index].time;
        return KZe_OK;
    }
    std::optional<std::size_t> find(const EnvelopeData& data) {
        const auto index = data.indexOf(m_id, m_time);
        if (index) m_time = data.keys()[*index].time;
        return index;
    }
    std::size_t here(const char* place, const EnvelopeData& data) {
        if (isBeforeAll())
            throw kzBecause(KZe_NOTAVAILABLE, place, [] { return "the cursor stands before the first key"; });
        const auto index = find(data);
        if (!index)
            throw kzBecause(KZe_NOTAVAILABLE, place, [&] { return fmt::format("the key at {} was removed", m_time); });
        return *index;
    }
    template <class Use> KzResult read(const char* place, std::int32_t side, const Use& use) {
        if (!isSide(side)) return KZe_INVALIDARG;
        const auto data = m_home->read();
        use(*data, here(place, *data));
        return KZe_OK;
    }
    template <class Change> KzResult edit(const char* place, const Change& change) {
        kzEditEnvelope(*m_home, [&](EnvelopeData& data) { change(data, here(place, data)); });
        return KZe_OK;
    }

    std::shared_ptr<EnvelopeHome> m_home;
    std::uint64_t m_id = 0;
    double m_time = 0;  // where the key was when it was last seen
};

}  // namespace

IKzUnknown* kzMakeKeyframe(std::shared_ptr<EnvelopeHome> home) { return kzMakeObject<CKeyframe>(std::move(home)); }

}  // namespace kzhost
