// The modifiers that the host has of its own.
#include "host/document/host_modifiers.h"

#include "host/core/reasons.h"
#include "host/document/animation.h"
#include "host/document/expression.h"
#include "host/document/vectors.h"

#include "kz/channel_mod.h"
#include "kz/item.h"
#include "kz/result.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <map>
#include <numbers>
#include <numeric>

namespace kzhost {

namespace {

constexpr double tau = 2 * std::numbers::pi;
using Numbers = std::vector<double>;

std::int32_t choiceIn(const HostInputs& in, std::size_t index) { return static_cast<std::int32_t>(in[index]); }
double mix(double a, double b, double weight) { return a + (b - a) * weight; }
double fraction(double number) { return number - std::floor(number); }

double mathBasic(const HostInputs& in) {
    const double a = in[1], b = in[2];
    switch (choiceIn(in, 0)) {
    case KZiMATHBASIC_SUBTRACT: return a - b;
    case KZiMATHBASIC_MULTIPLY: return a * b;
    case KZiMATHBASIC_DIVIDE: return a / b;
    case KZiMATHBASIC_MODULO: return a - b * std::floor(a / b);
    case KZiMATHBASIC_POWER: return std::pow(a, b);
    case KZiMATHBASIC_MINIMUM: return std::min(a, b);
    case KZiMATHBASIC_MAXIMUM: return std::max(a, b);
    default: return a + b;
    }
}

double mathFunction(const HostInputs& in) {
    const double x = in[4] * in[2], angle = choiceIn(in, 1) == 1 ? x * tau / 360 : x;
    switch (choiceIn(in, 0)) {
    case KZiMATHFUNC_SIN: return std::sin(angle) * in[3];
    case KZiMATHFUNC_COS: return std::cos(angle) * in[3];
    case KZiMATHFUNC_TAN: return std::tan(angle) * in[3];
    case KZiMATHFUNC_SQRT: return std::sqrt(x) * in[3];
    case KZiMATHFUNC_EXP: return std::exp(x) * in[3];
    case KZiMATHFUNC_LOG: return std::log(x) * in[3];
    case KZiMATHFUNC_FLOOR: return std::floor(x) * in[3];
    case KZiMATHFUNC_FRACTION: return fraction(x) * in[3];
    default: return std::abs(x) * in[3];
    }
}

// The vector, and the scalar. A result of the other kind is 0.
Numbers mathVector(const HostInputs& in) {
    const KzVector3 a{{in[1], in[2], in[3]}}, b{{in[4], in[5], in[6]}};
    const auto vector = [](const KzVector3& v) { return Numbers{v.v[0], v.v[1], v.v[2], kzLength(v)}; };
    switch (choiceIn(in, 0)) {
    case KZiMATHVECTOR_CROSS: return vector(kzCross(a, b));
    case KZiMATHVECTOR_DOT: return {0, 0, 0, kzDot(a, b)};
    case KZiMATHVECTOR_ANGLE: return {0, 0, 0, std::atan2(kzLength(kzCross(a, b)), kzDot(a, b))};
    case KZiMATHVECTOR_LENGTH: return {0, 0, 0, kzLength(a)};
    case KZiMATHVECTOR_NORMALIZE: return vector(kzUnit(a));
    default: return vector(a + b);
    }
}

// Smooth noise of one dimension: random numbers at whole steps, and quintic transitions between them.
double noiseAt(std::int32_t seed, double x) {
    const double step = std::floor(x), t = x - step;
    const auto at = [&](double where) { return kzRandom(seed, static_cast<std::int64_t>(where)); };
    return mix(at(step), at(step + 1), t * t * t * (t * (t * 6 - 15) + 10));
}

double noise(const HostInputs& in) {
    double sum = 0, size = 0, strength = 1, frequency = in[1];
    for (int octave = 0; octave < choiceIn(in, 3); ++octave) {
        sum += strength * noiseAt(choiceIn(in, 6) + octave, in.time * frequency);
        size += strength;
        strength *= in[4];
        frequency *= in[5];
    }
    const double unit = size != 0 ? sum / size : 0;
    return in[2] + in[0] * (in[7] != 0 ? 2 * unit - 1 : unit);
}

double wave(const HostInputs& in) {
    const double phase = fraction(in.time / in[1] + in[2]);
    const auto shape = [&] {
        switch (choiceIn(in, 0)) {
        case KZiMODWAVE_TRIANGLE: return 1 - std::abs(2 * phase - 1);
        case KZiMODWAVE_SAW: return phase;
        case KZiMODWAVE_SQUARE: return phase < 0.5 ? 1.0 : 0.0;
        case KZiMODWAVE_PULSE: return phase < 0.1 ? 1.0 : 0.0;
        default: return 0.5 + 0.5 * std::sin(tau * phase);
        }
    };
    return mix(in[3], in[4], shape());
}

// The smaller of two numbers, with a parabola in place of the corner.
double softMinimum(double a, double b, double softness) {
    const double near = softness > 0 ? std::max(softness - std::abs(a - b), 0.0) / softness : 0;
    return std::min(a, b) - near * near * softness / 4;
}

double clamp(const HostInputs& in) {
    const double top = softMinimum(in[3], std::max(in[0], in[1]), in[2]);
    return -softMinimum(-top, -in[0], in[2]);
}

Numbers smoothTimes(const HostInputs& in) {
    const int count = choiceIn(in, 1);
    const double first = in[2] != 0 ? in.time - in[0] / 2 : in.time - in[0];
    Numbers times;
    for (int i = 0; i < count; ++i) times.push_back(count > 1 ? first + in[0] * i / (count - 1) : in.time);
    return times;
}

double average(const HostInputs& in) {
    return std::accumulate(in.atTimes.begin(), in.atTimes.end(), 0.0) / static_cast<double>(in.atTimes.size());
}

// The place in the cycle, the same one cycle before, and both ends.
Numbers cycleTimes(const HostInputs& in) {
    const double place = in[1] * fraction((in.time - in[0]) / in[1]);
    return {in[0] + place, in[0] + place - in[1], in[0], in[0] + in[1]};
}

// The last part of each cycle fades into what comes before the cycle's start, so that the next one goes on from there.
double cycle(const HostInputs& in) {
    const double rise = in[2] != 0 ? in.atTimes[3] - in.atTimes[2] : 0;
    const double number = std::floor((in.time - in[0]) / in[1]);
    const double place = in[1] * fraction((in.time - in[0]) / in[1]);
    const double blend = std::min(in[3], in[1]);
    const double weight = blend > 0 ? std::max(0.0, (place - (in[1] - blend)) / blend) : 0;
    return mix(in.atTimes[0] + number * rise, in.atTimes[1] + (number + 1) * rise, weight);
}

double select(const HostInputs& in) {
    const auto& choices = in.numbers[1];
    return choices[std::min(static_cast<std::size_t>(std::max(in[0], 0.0)), choices.size() - 1)];
}

double logic(const HostInputs& in) {
    const double a = in[1], b = in[2];
    const auto holds = [&] {
        switch (choiceIn(in, 0)) {
        case KZiMODLOGIC_LESS: return a < b;
        case KZiMODLOGIC_GREATER: return a > b;
        case KZiMODLOGIC_AND: return a != 0 && b != 0;
        case KZiMODLOGIC_OR: return a != 0 || b != 0;
        case KZiMODLOGIC_NOT: return a == 0;
        default: return a == b;
        }
    };
    return holds() ? in[3] : in[4];
}

double random(const HostInputs& in) {
    std::int64_t step = 0;
    if (in[3] > 0) step = static_cast<std::int64_t>(std::floor(in.time / in[3]));
    else std::memcpy(&step, &in.time, sizeof step);
    return mix(in[1], in[2], kzRandom(choiceIn(in, 0), step));
}

double distance(const HostInputs& in) { return std::hypot(in[0] - in[3], in[1] - in[4], in[2] - in[5]) * in[6]; }

double relation(const HostInputs& in) {
    const ChannelInfo* channel = in.item.type.channel(KZsICHAN_MODRELATION_CURVE);
    const auto curve = kzCurveOf(in.item, *channel, KZs_ACTIONLAYER_STATIC);
    return curve != nullptr && !curve->keys().empty() ? curve->value(in[0]).value_or(NAN) : in[0];
}

// The moments at which a spring looks at its input: sixty in a second, or so many that it can still be computed.
Numbers springTimes(const HostInputs& in) {
    constexpr double rate = 60, most = 36'000;
    const double start = in[3], length = in.time - start;
    if (!(length > 0)) return {in.time};
    const auto count = static_cast<std::size_t>(std::min(std::ceil(length * rate), most));
    Numbers times;
    times.reserve(count + 1);
    for (std::size_t i = 0; i < count; ++i)
        times.push_back(start + length * static_cast<double>(i) / static_cast<double>(count));
    times.push_back(in.time);
    return times;
}

// A mass on a damped spring that follows the input, at rest at the start. Between two moments the input is taken to be
// straight, for which the motion is known exactly, however stiff the spring is.
double spring(const HostInputs& in) {
    const double stiffness = in[0] / in[2], damping = in[1] / in[2] / 2;
    const std::size_t steps = in.atTimes.size() - 1;
    double place = in.atTimes.front(), speed = 0;
    if (steps == 0 || stiffness == 0) return place;
    const double step = (in.time - in[3]) / static_cast<double>(steps);
    const std::complex<double> root = std::sqrt(std::complex<double>(damping * damping - stiffness));
    const auto up = std::exp((root - damping) * step), down = std::exp((-root - damping) * step);
    const double even = ((up + down) / 2.0).real();
    const double odd = std::abs(root) * step > 1e-9 ? ((up - down) / (2.0 * root)).real() : step * up.real();
    for (std::size_t i = 0; i < steps; ++i) {
        const double slope = (in.atTimes[i + 1] - in.atTimes[i]) / step, lag = 2 * damping / stiffness * slope;
        const double offset = place - (in.atTimes[i] - lag), drift = speed - slope;
        place = in.atTimes[i + 1] - lag + offset * even + (drift + damping * offset) * odd;
        speed = slope + drift * even - (damping * drift + stiffness * offset) * odd;
    }
    return place;
}

// A formula that cannot be understood leaves what is stored, and the log says why.
double expression(const HostInputs& in) {
    const ChannelInfo* channel = in.item.type.channel(KZsICHAN_MODEXPRESSION_TEXT);
    const auto* text = std::get_if<std::string>(&in.item.valueOf(*channel));
    if (text == nullptr || text->empty()) return in[2];
    std::string why;
    const auto number = kzCalculate(
        *text,
        [&](std::string_view name) -> std::optional<double> {
            if (name == "t") return in.time;
            return name == "input" ? std::optional(in[2]) : std::nullopt;
        },
        why);
    if (!number)
        kzBecause(KZe_INVALIDARG, "modifierExpression",
                  [&] { return "the expression of \"" + in.item.uniqueName + "\", " + why; });
    return number.value_or(NAN);
}

// Between the value of the input named first and the result, as the strength says; all of the former while it is switched off.
using Function = double (*)(const HostInputs&);
HostModifier scalar(const char* type, std::vector<HostModifier::Input> inputs, Function function,
                    const char* main = nullptr, std::function<Numbers(const HostInputs&)> times = {}) {
    const std::size_t count = inputs.size();
    inputs.insert(inputs.end(), {{KZsICHAN_CHANMODIFY_ENABLE},
                                 {KZsICHAN_CHANMODIFY_STRENGTH},
                                 {main != nullptr ? main : KZsICHAN_CHANMODIFY_INPUT}});
    return {type,
            std::move(inputs),
            {KZsICHAN_CHANMODIFY_OUTPUT},
            [=](const HostInputs& in) {
                const double strength = in[count] != 0 ? in[count + 1] : 0;
                return Numbers{strength == 0 ? in[count + 2] : mix(in[count + 2], function(in), strength)};
            },
            std::move(times)};
}

std::vector<HostModifier> makeRows() {
    constexpr const char* input = KZsICHAN_CHANMODIFY_INPUT;
    std::vector<HostModifier> rows{
        scalar(KZsITYPE_MATHBASIC,
               {{KZsICHAN_MATHBASIC_OPERATION}, {KZsICHAN_MATHBASIC_INPUT1}, {KZsICHAN_MATHBASIC_INPUT2}}, mathBasic,
               KZsICHAN_MATHBASIC_INPUT1),
        scalar(KZsITYPE_MATHFUNC,
               {{KZsICHAN_MATHFUNC_FUNCTION},
                {KZsICHAN_MATHFUNC_ANGLEUNIT},
                {KZsICHAN_MATHFUNC_PRESCALE},
                {KZsICHAN_MATHFUNC_POSTSCALE},
                {input}},
               mathFunction),
        scalar(KZsITYPE_MODNOISE,
               {{KZsICHAN_MODNOISE_AMPLITUDE},
                {KZsICHAN_MODNOISE_FREQUENCY},
                {KZsICHAN_MODNOISE_OFFSET},
                {KZsICHAN_MODNOISE_OCTAVES},
                {KZsICHAN_MODNOISE_GAIN},
                {KZsICHAN_MODNOISE_LACUNARITY},
                {KZsICHAN_MODNOISE_SEED},
                {KZsICHAN_MODNOISE_SIGNED}},
               noise),
        scalar(KZsITYPE_MODWAVE,
               {{KZsICHAN_MODWAVE_SHAPE},
                {KZsICHAN_MODWAVE_PERIOD},
                {KZsICHAN_MODWAVE_PHASE},
                {KZsICHAN_MODWAVE_LOW},
                {KZsICHAN_MODWAVE_HIGH}},
               wave),
        scalar(KZsITYPE_MODCLAMP,
               {{KZsICHAN_MODCLAMP_MINIMUM}, {KZsICHAN_MODCLAMP_MAXIMUM}, {KZsICHAN_MODCLAMP_SOFTNESS}, {input}},
               clamp),
        scalar(KZsITYPE_MODSMOOTH,
               {{KZsICHAN_MODSMOOTH_WINDOW}, {KZsICHAN_MODSMOOTH_SAMPLES}, {KZsICHAN_MODSMOOTH_CENTERED}}, average,
               nullptr, smoothTimes),
        scalar(KZsITYPE_MODCYCLE,
               {{KZsICHAN_MODCYCLE_START},
                {KZsICHAN_MODCYCLE_LENGTH},
                {KZsICHAN_MODCYCLE_RELATIVE},
                {KZsICHAN_MODCYCLE_BLEND}},
               cycle, nullptr, cycleTimes),
        scalar(KZsITYPE_MODSWITCH, {{KZsICHAN_MODSWITCH_SELECTOR}, {KZsICHAN_MODSWITCH_INPUTS, true}}, select),
        scalar(KZsITYPE_MODLOGIC,
               {{KZsICHAN_MODLOGIC_OPERATION},
                {KZsICHAN_MODLOGIC_VALUE1},
                {KZsICHAN_MODLOGIC_VALUE2},
                {KZsICHAN_MODLOGIC_TRUEVALUE},
                {KZsICHAN_MODLOGIC_FALSEVALUE}},
               logic),
        scalar(KZsITYPE_MODRANDOM,
               {{KZsICHAN_MODRANDOM_SEED},
                {KZsICHAN_MODRANDOM_MINIMUM},
                {KZsICHAN_MODRANDOM_MAXIMUM},
                {KZsICHAN_MODRANDOM_HOLD}},
               random),
        scalar(
            KZsITYPE_MODTIMEOFFSET, {{KZsICHAN_MODTIMEOFFSET_OFFSET}},
            [](const HostInputs& in) { return in.atTimes[0]; }, nullptr,
            [](const HostInputs& in) { return Numbers{in.time + in[0]}; }),
        scalar(KZsITYPE_MODDISTANCE,
               {{"point1.X"},
                {"point1.Y"},
                {"point1.Z"},
                {"point2.X"},
                {"point2.Y"},
                {"point2.Z"},
                {KZsICHAN_MODDISTANCE_SCALE}},
               distance),
        scalar(KZsITYPE_MODSPRING,
               {{KZsICHAN_MODSPRING_STIFFNESS},
                {KZsICHAN_MODSPRING_DAMPING},
                {KZsICHAN_MODSPRING_MASS},
                {KZsICHAN_MODSPRING_START}},
               spring, nullptr, springTimes),
        scalar(KZsITYPE_MODEXPRESSION, {}, expression),
        scalar(KZsITYPE_MODRELATION, {{KZsICHAN_MODRELATION_INPUT}}, relation, KZsICHAN_MODRELATION_INPUT),
    };
    // The result is to be had under a name of its own, too.
    HostModifier& formula = rows[rows.size() - 2];
    formula.outputs.push_back(KZsICHAN_MODEXPRESSION_RESULT);
    formula.compute = [compute = formula.compute](const HostInputs& in) {
        Numbers numbers = compute(in);
        numbers.push_back(numbers.front());
        return numbers;
    };
    rows.push_back({KZsITYPE_MATHVECTOR,
                    {{KZsICHAN_MATHVECTOR_OPERATION},
                     {"vector1.X"},
                     {"vector1.Y"},
                     {"vector1.Z"},
                     {"vector2.X"},
                     {"vector2.Y"},
                     {"vector2.Z"}},
                    {"vectorOut.X", "vectorOut.Y", "vectorOut.Z", KZsICHAN_MATHVECTOR_SCALAR},
                    mathVector});
    return rows;
}

}  // namespace

const HostModifier* kzHostModifier(const ItemType& type) {
    static const std::vector<HostModifier> rows = makeRows();
    static const std::map<const ItemType*, const HostModifier*> byType = [] {
        std::map<const ItemType*, const HostModifier*> found;
        for (const HostModifier& row : rows) found[kzFindItemType(row.type)] = &row;
        return found;
    }();
    const auto row = byType.find(&type);
    return row != byType.end() ? row->second : nullptr;
}

std::optional<std::size_t> kzOutputOf(const HostModifier& modifier, std::string_view channel) {
    const auto place = std::ranges::find(modifier.outputs, channel);
    if (place == modifier.outputs.end()) return {};
    return static_cast<std::size_t>(place - modifier.outputs.begin());
}

// The finaliser of SplitMix64 over both numbers.
double kzRandom(std::int32_t seed, std::int64_t step) {
    std::uint64_t bits = static_cast<std::uint64_t>(step) * 0x9E3779B97F4A7C15U +
                         static_cast<std::uint64_t>(static_cast<std::uint32_t>(seed)) * 0xD1B54A32D192ED03U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    bits ^= bits >> 31;
    return static_cast<double>(bits >> 11) * 0x1.0p-53;
}

}  // namespace kzhost
