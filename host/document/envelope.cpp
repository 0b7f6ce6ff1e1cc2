// Envelopes: their keys, and what an input gives.
#include "host/document/envelope.h"

#include "kz/result.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <utility>

namespace kzhost {

namespace {

std::uint64_t newKeyId() noexcept {
    static std::atomic<std::uint64_t> theLast = 0;
    return ++theLast;
}

double limited(double slope) { return std::clamp(slope, -kzGreatestEnvelopeNumber, kzGreatestEnvelopeNumber); }

// The chord from one key to the next.
double chord(const EnvelopeKey& key, const EnvelopeKey& next) {
    return limited((next.in.value - key.out.value) / (next.time - key.time));
}

// Whether changing a part on one side changes it on the other.
bool concerns(const EnvelopeKey& key, int side, int which, std::uint32_t part) {
    return (key.breaks & part) == 0 || (side & which) != 0;
}

// Applies a change to the sides that it concerns.
template <class Change> void changeSides(EnvelopeKey& key, int side, std::uint32_t part, const Change& change) {
    for (const int which : {KZiENVSIDE_IN, KZiENVSIDE_OUT})
        if (concerns(key, side, which, part)) change(key.side(which), which);
}

void joinParts(EnvelopeKey& key, std::uint32_t parts) {
    if ((parts & KZfKEYBREAK_VALUE) != 0) key.out.value = key.in.value;
    if ((parts & KZfKEYBREAK_SLOPE) != 0) {
        key.out.slope = key.in.slope;
        key.out.type = key.in.type;
    }
    if ((parts & KZfKEYBREAK_WEIGHT) != 0) key.out.weight = key.in.weight;
}

void needSide(int side) {
    if (side < KZiENVSIDE_IN || side > KZiENVSIDE_BOTH) throw KZe_INVALIDARG;
}

}  // namespace

// What an envelope gives

std::size_t EnvelopeData::keysBefore(double input) const {
    return m_keys.partition([&](const EnvelopeKey& key) { return key.time < input; });
}

std::uint32_t EnvelopeData::typeOf(const EnvelopeKey& key, int side) const {
    if (!m_isInteger) return key.side(side).type;
    if (m_interpolation == KZiENVINTERP_STEPPED) return KZiSLOPE_STEPPED;
    if (m_interpolation == KZiENVINTERP_CURVE) return KZiSLOPE_AUTO;
    return side == KZiENVSIDE_OUT ? KZiSLOPE_LINEAROUT : KZiSLOPE_LINEARIN;
}

// Parallel to the line between the neighbours. A break in the values adds nothing to the rise.
double EnvelopeData::autoSlope(const EnvelopeKey* before, const EnvelopeKey& key, const EnvelopeKey* after) const {
    if (before == nullptr) return chord(key, *after);
    if (after == nullptr) return chord(*before, key);
    const double rise = (key.in.value - before->out.value) + (after->in.value - key.out.value);
    return limited(rise / (after->time - before->time));
}

// A control point that is no higher than the next key keeps the cubic below it, hence three times the chord.
double EnvelopeData::flattenedSlope(const EnvelopeKey* before, const EnvelopeKey& key, const EnvelopeKey* after,
                                    double weight) const {
    if (before == nullptr || after == nullptr) return 0;
    const double in = chord(*before, key), out = chord(key, *after);
    if (!(in > 0 && out > 0) && !(in < 0 && out < 0)) return 0;
    const double limit = 3 / std::max(1.0, weight) * std::min(std::abs(in), std::abs(out));
    return std::clamp(autoSlope(before, key, after), -limit, limit);
}

double EnvelopeData::keySlope(std::size_t index, int side) const {
    const EnvelopeKey& key = m_keys[index];
    const EnvelopeKey* before = index > 0 ? &m_keys[index - 1] : nullptr;
    const EnvelopeKey* after = index + 1 < m_keys.size() ? &m_keys[index + 1] : nullptr;
    const std::uint32_t type = typeOf(key, side);
    if (type == KZiSLOPE_DIRECT) return key.side(side).slope;
    if (type == KZiSLOPE_FLAT || type == KZiSLOPE_STEPPED || (before == nullptr && after == nullptr)) return 0;
    if (type == KZiSLOPE_AUTO) return autoSlope(before, key, after);
    if (type == KZiSLOPE_AUTOFLAT) return flattenedSlope(before, key, after, std::max(key.in.weight, key.out.weight));
    // At the ends, the only neighbour stands in for the one that is missing.
    const bool isTowardsBefore = before != nullptr && (type == KZiSLOPE_LINEARIN || after == nullptr);
    return isTowardsBefore ? chord(*before, key) : chord(key, *after);
}

// From that key to the next.
CEnvelopeSegment EnvelopeData::segment(std::size_t index) const {
    const EnvelopeKey &start = m_keys[index], &end = m_keys[index + 1];
    const bool isStepped =
        typeOf(start, KZiENVSIDE_OUT) == KZiSLOPE_STEPPED || typeOf(end, KZiENVSIDE_IN) == KZiSLOPE_STEPPED;
    return {{start.time, start.out.value, keySlope(index, KZiENVSIDE_OUT), start.out.weight},
            {end.time, end.in.value, keySlope(index + 1, KZiENVSIDE_IN), end.in.weight},
            isStepped};
}

double EnvelopeData::valueAmongKeys(double input) const {
    const std::size_t next = keysBefore(input);
    if (m_keys[next].time == input) return m_keys[next].out.value;
    return segment(next - 1).value(input);
}

double EnvelopeData::slopeAmongKeys(double input) const {
    const std::size_t next = keysBefore(input);
    return next > 0 ? segment(next - 1).slope(input) : keySlope(0, KZiENVSIDE_IN);
}

std::optional<EnvelopeData::Folded> EnvelopeData::foldOutside(double input, int side) const {
    const bool isAfter = side == KZiENVSIDE_OUT;
    const EnvelopeKey& key = isAfter ? m_keys.back() : m_keys.front();
    const double start = m_keys.front().time, length = m_keys.back().time - start;
    std::uint32_t behavior = endBehavior(side);
    const bool isRepeated = behavior == KZiENV_REPEAT || behavior == KZiENV_OSCILLATE || behavior == KZiENV_OFFSET;
    if (isRepeated && length == 0) behavior = KZiENV_CONSTANT;
    if (behavior == KZiENV_RESET) return Folded{.isAmongKeys = false};
    if (behavior == KZiENV_CONSTANT) return Folded{.isAmongKeys = false, .value = key.side(side).value};
    if (behavior == KZiENV_NONE || !std::isfinite(input)) return std::nullopt;
    if (behavior == KZiENV_LINEAR) {
        const double slope = keySlope(isAfter ? m_keys.size() - 1 : 0, side);
        const double value = key.side(side).value + slope * (input - key.time);
        constexpr double greatest = std::numeric_limits<double>::max();
        return Folded{.isAmongKeys = false, .value = std::clamp(value, -greatest, greatest), .slope = slope};
    }
    const double distance = input - start, period = behavior == KZiENV_OSCILLATE ? 2 * length : length;
    double phase = std::fmod(distance, period);
    if (phase < 0) phase += period;
    if (phase >= period) phase = 0;
    Folded folded{.isAmongKeys = true, .input = start + phase};
    if (behavior == KZiENV_OFFSET) folded.offset = std::round((distance - phase) / period) * cycleRise();
    if (phase > length) {
        folded.input = start + (period - phase);
        folded.direction = -1;
    }
    folded.input = std::clamp(folded.input, start, m_keys.back().time);
    return folded;
}

std::optional<EnvelopeData::Folded> EnvelopeData::fold(double input) const {
    if (std::isnan(input)) return std::nullopt;
    if (m_keys.empty()) return Folded{.isAmongKeys = false};
    if (input < m_keys.front().time) return foldOutside(input, KZiENVSIDE_IN);
    if (input > m_keys.back().time) return foldOutside(input, KZiENVSIDE_OUT);
    return Folded{.isAmongKeys = true, .input = input};
}

std::optional<double> EnvelopeData::value(double input) const {
    const auto folded = fold(input);
    if (!folded) return std::nullopt;
    return rounded(folded->isAmongKeys ? valueAmongKeys(folded->input) + folded->offset : folded->value);
}

std::optional<double> EnvelopeData::slope(double input) const {
    const auto folded = fold(input);
    if (!folded) return std::nullopt;
    if (m_isInteger) return 0;
    return folded->isAmongKeys ? slopeAmongKeys(folded->input) * folded->direction : folded->slope;
}

// Extremes of a range

void EnvelopeData::addAmongKeys(double start, double end, double offset, ValueRange& range) const {
    ValueRange found;
    start = std::min(start, m_keys.back().time);
    const std::size_t first = keysBefore(start);
    if (m_keys[first].time > start) segment(first - 1).addExtremes(start, std::min(end, m_keys[first].time), found);
    for (std::size_t i = first; i < m_keys.size() && m_keys[i].time <= end; ++i) {
        found.add(m_keys[i].out.value);
        if (i + 1 < m_keys.size() && m_keys[i].time < end)
            segment(i).addExtremes(m_keys[i].time, std::min(end, m_keys[i + 1].time), found);
    }
    range.add(found.lowest + offset);
    range.add(found.highest + offset);
}

// All cycles but the first and the last are whole, and what they add to the value only grows or only shrinks: the first
// two and the last two have the extremes of all.
void EnvelopeData::addCycles(double start, double end, std::uint32_t behavior, ValueRange& range) const {
    const double origin = m_keys.front().time, length = m_keys.back().time - origin;
    const double first = std::floor((start - origin) / length), last = std::floor((end - origin) / length);
    for (const double cycle : std::array{first, std::min(first + 1, last), std::max(last - 1, first), last}) {
        double low = std::clamp(start - origin - cycle * length, 0.0, length);
        double high = std::clamp(end - origin - cycle * length, 0.0, length);
        if (behavior == KZiENV_OSCILLATE && std::fmod(cycle, 2) != 0) {
            low = length - low;
            high = length - high;
            std::swap(low, high);
        }
        addAmongKeys(origin + low, std::min(origin + high, m_keys.back().time),
                     behavior == KZiENV_OFFSET ? cycle * cycleRise() : 0, range);
    }
}

// Adds what lies outside on that side; false where there is nothing.
bool EnvelopeData::addOutside(double start, double end, int side, ValueRange& range) const {
    const bool isAfter = side == KZiENVSIDE_OUT;
    const double limit = isAfter ? m_keys.back().time : m_keys.front().time;
    if (isAfter ? end <= limit : start >= limit) return true;
    if (isAfter) start = std::max(start, limit);
    else end = std::min(end, limit);
    const std::uint32_t behavior = endBehavior(side);
    const auto farthest = foldOutside(isAfter ? end : start, side);
    if (!farthest) return false;
    if (farthest->isAmongKeys) addCycles(start, end, behavior, range);
    else range.add(farthest->value);
    if (behavior == KZiENV_LINEAR) range.add(foldOutside(isAfter ? start : end, side)->value);
    return true;
}

std::optional<ValueRange> EnvelopeData::extremes(double start, double end) const {
    ValueRange range;
    if (m_keys.empty()) {
        range.add(0);
        return range;
    }
    if (!addOutside(start, end, KZiENVSIDE_IN, range) || !addOutside(start, end, KZiENVSIDE_OUT, range))
        return std::nullopt;
    const double first = std::max(start, m_keys.front().time), last = std::min(end, m_keys.back().time);
    if (first <= last) addAmongKeys(first, last, 0, range);
    return ValueRange{rounded(range.lowest), rounded(range.highest)};
}

// Edits

std::optional<std::size_t> EnvelopeData::indexOf(std::uint64_t id, double time) const {
    const std::size_t likely = keysBefore(time);
    if (likely < m_keys.size() && m_keys[likely].id == id) return likely;
    for (std::size_t i = 0; i < m_keys.size(); ++i)
        if (m_keys[i].id == id) return i;
    return std::nullopt;
}

void EnvelopeData::check(const EnvelopeKey& key) const {
    bool isFine = kzIsEnvelopeNumber(key.time) && (key.breaks & ~KZmKEYBREAK_ALL) == 0;
    for (const EnvelopeSide& side : {key.in, key.out}) {
        isFine = isFine && kzIsEnvelopeNumber(side.value) && kzIsEnvelopeNumber(side.slope);
        isFine = isFine && side.weight >= 0 && side.weight <= 3 && side.type <= KZiSLOPE_STEPPED;
    }
    if (!isFine) throw KZe_INVALIDARG;
}

std::size_t EnvelopeData::add(double time, double value) {
    EnvelopeKey key{.id = newKeyId(), .time = time};
    key.in.value = key.out.value = rounded(value);
    check(key);
    const std::size_t index = keysBefore(time);
    if (index == m_keys.size() || m_keys[index].time != time) m_keys.insert(index, key);
    else m_keys.change(index, [&](EnvelopeKey& old) { old.in.value = old.out.value = key.in.value; });
    return index;
}

void EnvelopeData::setTime(std::size_t index, double time) {
    const bool isPast =
        (index > 0 && time <= m_keys[index - 1].time) || (index + 1 < m_keys.size() && time >= m_keys[index + 1].time);
    if (isPast || !kzIsEnvelopeNumber(time)) throw KZe_INVALIDARG;
    m_keys.change(index, [&](EnvelopeKey& key) { key.time = time; });
}

void EnvelopeData::setValue(std::size_t index, double value, int side) {
    needSide(side);
    if (!kzIsEnvelopeNumber(value)) throw KZe_INVALIDARG;
    m_keys.change(index, [&](EnvelopeKey& key) {
        changeSides(key, side, KZfKEYBREAK_VALUE, [&](EnvelopeSide& each, int) { each.value = rounded(value); });
    });
}

void EnvelopeData::setSlopeType(std::size_t index, std::uint32_t type, int side) {
    needSide(side);
    if (m_isInteger) throw KZe_NOTAVAILABLE;
    if (type > KZiSLOPE_STEPPED) throw KZe_INVALIDARG;
    m_keys.change(index, [&](EnvelopeKey& key) {
        changeSides(key, side, KZfKEYBREAK_SLOPE, [&](EnvelopeSide& each, int which) {
            if (type == KZiSLOPE_DIRECT) each.slope = keySlope(index, which);
            each.type = type;
        });
        // The slope of an unbroken key was the same on both sides, unless it has no neighbour on one of them.
        joinParts(key, ~key.breaks & KZfKEYBREAK_SLOPE);
    });
}

void EnvelopeData::setSlope(std::size_t index, double slope, double weight, int side) {
    needSide(side);
    if (m_isInteger) throw KZe_NOTAVAILABLE;
    if (!kzIsEnvelopeNumber(slope) || !(weight >= 0 && weight <= 3)) throw KZe_INVALIDARG;
    m_keys.change(index, [&](EnvelopeKey& key) {
        changeSides(key, side, KZfKEYBREAK_SLOPE, [&](EnvelopeSide& each, int) {
            each.slope = slope;
            each.type = KZiSLOPE_DIRECT;
        });
        changeSides(key, side, KZfKEYBREAK_WEIGHT, [&](EnvelopeSide& each, int) { each.weight = weight; });
    });
}

void EnvelopeData::setBreak(std::size_t index, std::uint32_t parts, bool isOn) {
    if ((parts & ~KZmKEYBREAK_ALL) != 0) throw KZe_INVALIDARG;
    if (m_isInteger && (parts & ~KZfKEYBREAK_VALUE) != 0) throw KZe_NOTAVAILABLE;
    m_keys.change(index, [&](EnvelopeKey& key) {
        key.breaks = isOn ? key.breaks | parts : key.breaks & ~parts;
        if (!isOn) joinParts(key, parts);
    });
}

void EnvelopeData::setKeys(std::vector<EnvelopeKey> keys) {
    for (std::size_t i = 0; i < keys.size(); ++i) {
        EnvelopeKey& key = keys[i];
        key.in.value = rounded(key.in.value);
        key.out.value = rounded(key.out.value);
        joinParts(key, ~key.breaks);
        check(key);
        if (i > 0 && key.time <= keys[i - 1].time) throw KZe_INVALIDARG;
        if (key.id == 0) key.id = newKeyId();
    }
    m_keys.assign(keys);
}

// The keys are new ones: a cursor of this envelope must not come to stand at a key of another.
void EnvelopeData::copy(const EnvelopeData& source) {
    std::vector<EnvelopeKey> keys;
    for (std::size_t i = 0; i < source.m_keys.size(); ++i) {
        keys.push_back(source.m_keys[i]);
        keys.back().id = 0;
    }
    setKeys(std::move(keys));
    m_before = source.m_before;
    m_after = source.m_after;
    if (m_isInteger && source.m_isInteger) m_interpolation = source.m_interpolation;
}

void EnvelopeData::setEndBehavior(std::uint32_t behavior, int side) {
    needSide(side);
    if (behavior > KZiENV_NONE) throw KZe_INVALIDARG;
    if ((side & KZiENVSIDE_IN) != 0) m_before = behavior;
    if ((side & KZiENVSIDE_OUT) != 0) m_after = behavior;
}

void EnvelopeData::setInterpolation(std::uint32_t interpolation) {
    if (!m_isInteger) throw KZe_NOTAVAILABLE;
    if (interpolation > KZiENVINTERP_STEPPED) throw KZe_INVALIDARG;
    m_interpolation = interpolation;
}

}  // namespace kzhost
