// Envelopes: values that change over an input, by keys and the shape between them. A copy shares its keys with the
// original until one of them changes.
#pragma once

#include "host/document/envelope_segment.h"
#include "host/document/shared_list.h"

#include "kz/envelope.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kzhost {

// What a key is on one side. Both sides are equal in the parts that are not broken.
struct EnvelopeSide {
    double value = 0;
    double slope = 0;  // that of a direct slope; the others are computed
    double weight = 1;
    std::uint32_t type = KZiSLOPE_AUTO;
    bool operator==(const EnvelopeSide&) const = default;
};

struct EnvelopeKey {
    std::uint64_t id = 0;  // unique in the process; stays with the key in all states of its envelope
    double time = 0;
    EnvelopeSide in{}, out{};
    std::uint32_t breaks = 0;

    EnvelopeSide& side(int which) { return which == KZiENVSIDE_OUT ? out : in; }
    const EnvelopeSide& side(int which) const { return which == KZiENVSIDE_OUT ? out : in; }
    // Two envelopes are equal whatever their keys are called.
    bool operator==(const EnvelopeKey& other) const {
        return time == other.time && in == other.in && out == other.out && breaks == other.breaks;
    }
};

inline bool kzIsEnvelopeNumber(double number) { return std::abs(number) <= kzGreatestEnvelopeNumber; }

class EnvelopeData {
public:
    explicit EnvelopeData(bool isInteger = false) : m_isInteger(isInteger) {}
    bool operator==(const EnvelopeData&) const = default;

    bool isInteger() const { return m_isInteger; }
    const CSharedList<EnvelopeKey>& keys() const { return m_keys; }

    // Empty where the end behaviour is NONE, or where the input or the answer is no number.
    std::optional<double> value(double input) const;
    std::optional<double> slope(double input) const;
    // The extremes from one finite input to another, which is no less. Empty as above.
    std::optional<ValueRange> extremes(double start, double end) const;
    // The slope of a key as its type has it.
    double keySlope(std::size_t index, int side) const;

    // The number of keys before that input.
    std::size_t keysBefore(double input) const;
    // Where the key with that id is; the time at which it stood makes that quick.
    std::optional<std::size_t> indexOf(std::uint64_t id, double time) const;

    // All of these throw INVALIDARG for what an envelope cannot hold, and then change nothing.
    std::size_t add(double time, double value);  // the index of the key
    void remove(std::size_t index) { m_keys.erase(index); }
    void clear() { m_keys.clear(); }
    void setTime(std::size_t index, double time);
    void setValue(std::size_t index, double value, int side);
    void setSlopeType(std::size_t index, std::uint32_t type, int side);
    void setSlope(std::size_t index, double slope, double weight, int side);
    void setBreak(std::size_t index, std::uint32_t parts, bool isOn);
    // Gives ids to keys that have none.
    void setKeys(std::vector<EnvelopeKey> keys);
    void copy(const EnvelopeData& source);

    std::uint32_t endBehavior(int side) const { return side == KZiENVSIDE_OUT ? m_after : m_before; }
    void setEndBehavior(std::uint32_t behavior, int side);
    std::uint32_t interpolation() const { return m_interpolation; }
    void setInterpolation(std::uint32_t interpolation);

private:
    // Where the end behaviour puts an input: at another input, or at a value of its own.
    struct Folded {
        bool isAmongKeys;
        double input = 0, offset = 0, direction = 1;
        double value = 0, slope = 0;
    };
    std::optional<Folded> fold(double input) const;
    std::optional<Folded> foldOutside(double input, int side) const;
    std::uint32_t typeOf(const EnvelopeKey& key, int side) const;
    CEnvelopeSegment segment(std::size_t index) const;
    double autoSlope(const EnvelopeKey* before, const EnvelopeKey& key, const EnvelopeKey* after) const;
    double flattenedSlope(const EnvelopeKey* before, const EnvelopeKey& key, const EnvelopeKey* after,
                          double weight) const;
    double valueAmongKeys(double input) const;
    double slopeAmongKeys(double input) const;
    void addAmongKeys(double start, double end, double offset, ValueRange& range) const;
    bool addOutside(double start, double end, int side, ValueRange& range) const;
    void addCycles(double start, double end, std::uint32_t behavior, ValueRange& range) const;
    double cycleRise() const { return m_keys.back().in.value - m_keys.front().out.value; }
    double rounded(double value) const { return m_isInteger ? std::round(value) : value; }
    void check(const EnvelopeKey& key) const;

    CSharedList<EnvelopeKey> m_keys;  // by ascending time
    std::uint32_t m_before = KZiENV_CONSTANT, m_after = KZiENV_CONSTANT;
    bool m_isInteger;
    std::uint32_t m_interpolation = m_isInteger ? KZiENVINTERP_STEPPED : KZiENVINTERP_CURVE;
};

// Where an envelope lives: by itself, or in a channel of a document.
class EnvelopeHome {
public:
    virtual ~EnvelopeHome() = default;
    // Both throw a code if the envelope is gone.
    virtual std::shared_ptr<const EnvelopeData> read() const = 0;
    virtual void write(std::shared_ptr<const EnvelopeData> data) = 0;
};

}  // namespace kzhost
