// Colour models. Colours are in the working space, which is linear with the primaries of Rec. 709 and the white D65.
#include "host/objects/color_model.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/arguments.h"

#include "kz/color.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>

namespace kzhost {

namespace {

using Triple = std::array<double, 3>;
using Parts = std::array<double, 4>;

constexpr double turn = 2 * std::numbers::pi;
constexpr double coldest = 2000, hottest = 15000;  // kelvins, whose colours the primaries can mix

struct ModelComponent {
    const char* name;
    const char* type;
    double minimum = 0, maximum = 1;
    bool isPeriodic = false;
};

struct ModelRow {
    const char* name;
    const char* userName;
    std::uint32_t flags;
    std::span<const ModelComponent> components;
    Triple (*toRGB)(const Parts& parts);
    Parts (*fromRGB)(const Triple& rgb);
};

// The hue in turns: where the largest component stands, and to which side the others pull.
double hueOf(const Triple& rgb, double largest, double spread) {
    if (spread <= 0) return 0;
    double hue = 0;
    if (largest == rgb[0]) hue = (rgb[1] - rgb[2]) / spread;
    else if (largest == rgb[1]) hue = 2 + (rgb[2] - rgb[0]) / spread;
    else hue = 4 + (rgb[0] - rgb[1]) / spread;
    return hue / 6 - std::floor(hue / 6);
}

// Of that hue, from `low` to `high`.
Triple hueToRGB(double hueAngle, double low, double high) {
    const double hue = (hueAngle / turn - std::floor(hueAngle / turn)) * 6;
    const auto part = [&](double offset) {
        const double at = std::fmod(hue + offset, 6);
        return low + (high - low) * std::clamp(std::abs(at - 3) - 1, 0.0, 1.0);
    };
    return {part(0), part(4), part(2)};
}

Triple hsvToRGB(const Parts& hsv) { return hueToRGB(hsv[0], hsv[2] * (1 - hsv[1]), hsv[2]); }
Parts hsvFromRGB(const Triple& rgb) {
    const auto [low, high] = std::ranges::minmax(rgb);
    return {hueOf(rgb, high, high - low) * turn, high > 0 ? (high - low) / high : 0, high, 0};
}

Triple hslToRGB(const Parts& hsl) {
    const double half = hsl[1] * (hsl[2] <= 0.5 ? hsl[2] : 1 - hsl[2]);
    return hueToRGB(hsl[0], hsl[2] - half, hsl[2] + half);
}
Parts hslFromRGB(const Triple& rgb) {
    const auto [low, high] = std::ranges::minmax(rgb);
    const double lightness = (low + high) / 2;
    const double most = lightness <= 0.5 ? low + high : 2 - low - high;
    return {hueOf(rgb, high, high - low) * turn, most > 0 ? (high - low) / most : 0, lightness, 0};
}

Triple cmykToRGB(const Parts& cmyk) {
    const double light = 1 - cmyk[3];
    return {(1 - cmyk[0]) * light, (1 - cmyk[1]) * light, (1 - cmyk[2]) * light};
}
Parts cmykFromRGB(const Triple& rgb) {
    const double light = std::max({rgb[0], rgb[1], rgb[2]});
    if (light <= 0) return {0, 0, 0, 1};
    return {1 - rgb[0] / light, 1 - rgb[1] / light, 1 - rgb[2] / light, 1 - light};
}

constexpr std::array<Triple, 3> rgbToXYZ{{{0.4123907993, 0.3575843394, 0.1804807884},
                                          {0.2126390059, 0.7151686788, 0.0721923154},
                                          {0.0193308187, 0.1191947798, 0.9505321522}}};
constexpr std::array<Triple, 3> xyzToRGB{{{3.2409699419, -1.5373831776, -0.4986107603},
                                          {-0.9692436363, 1.8759675015, 0.0415550574},
                                          {0.0556300797, -0.2039769589, 1.0569715142}}};
constexpr Triple white{0.9504559271, 1, 1.0890577508};

Triple applied(const std::array<Triple, 3>& matrix, const Triple& value) {
    Triple result{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t at = 0; at < 3; ++at) result[row] += matrix[row][at] * value[at];
    return result;
}

// Near black the cube root of lightness goes over into a straight line.
constexpr double bend = 6.0 / 29;
double labCurve(double part) {
    return part > bend * bend * bend ? std::cbrt(part) : part / (3 * bend * bend) + 4.0 / 29;
}
double labCurveBack(double part) { return part > bend ? part * part * part : 3 * bend * bend * (part - 4.0 / 29); }

Triple labToRGB(const Parts& lab) {
    const double middle = (lab[0] + 16) / 116;
    return applied(xyzToRGB, {white[0] * labCurveBack(middle + lab[1] / 500), labCurveBack(middle),
                              white[2] * labCurveBack(middle - lab[2] / 200)});
}
Parts labFromRGB(const Triple& rgb) {
    const Triple xyz = applied(rgbToXYZ, rgb);
    const double x = labCurve(xyz[0] / white[0]), y = labCurve(xyz[1]), z = labCurve(xyz[2] / white[2]);
    return {116 * y - 16, 500 * (x - y), 200 * (y - z), 0};
}

// A black body's colour, by the rational approximation of its place in the CIE 1960 diagram; the largest component is 1.
Triple kelvinToRGB(const Parts& kelvin) {
    const double t = std::clamp(kelvin[0], coldest, hottest);
    const double u =
        (0.860117757 + 1.54118254e-4 * t + 1.28641212e-7 * t * t) / (1 + 8.42420235e-4 * t + 7.08145163e-7 * t * t);
    const double v =
        (0.317398726 + 4.22806245e-5 * t + 4.20481691e-8 * t * t) / (1 - 2.89741816e-5 * t + 1.61456053e-7 * t * t);
    const double x = 3 * u / (2 * u - 8 * v + 4), y = 2 * v / (2 * u - 8 * v + 4);
    Triple rgb = applied(xyzToRGB, {x / y, 1, (1 - x - y) / y});
    const double largest = std::max({rgb[0], rgb[1], rgb[2]});
    for (double& each : rgb) each = std::max(each / largest, 0.0);
    return rgb;
}
// The temperature with the same share of blue, which grows with the temperature.
Parts kelvinFromRGB(const Triple& rgb) {
    const auto blue = [](const Triple& each) { return each[0] + each[2] > 0 ? each[2] / (each[0] + each[2]) : 0.5; };
    double low = coldest, high = hottest;
    for (int step = 0; step < 60; ++step) {
        const double middle = (low + high) / 2;
        (blue(kelvinToRGB({middle, 0, 0, 0})) < blue(rgb) ? low : high) = middle;
    }
    return {(low + high) / 2, 0, 0, 0};
}

constexpr ModelComponent rgbParts[] = {{"Red", KZsTYPE_FLOAT}, {"Green", KZsTYPE_FLOAT}, {"Blue", KZsTYPE_FLOAT}};
constexpr ModelComponent hsvParts[] = {
    {"Hue", KZsTYPE_ANGLE, 0, turn, true}, {"Saturation", KZsTYPE_PERCENT}, {"Value", KZsTYPE_PERCENT}};
constexpr ModelComponent hslParts[] = {
    {"Hue", KZsTYPE_ANGLE, 0, turn, true}, {"Saturation", KZsTYPE_PERCENT}, {"Lightness", KZsTYPE_PERCENT}};
constexpr ModelComponent cmykParts[] = {
    {"Cyan", KZsTYPE_PERCENT}, {"Magenta", KZsTYPE_PERCENT}, {"Yellow", KZsTYPE_PERCENT}, {"Black", KZsTYPE_PERCENT}};
constexpr ModelComponent labParts[] = {{"Lightness", KZsTYPE_FLOAT, 0, 100},
                                       {"Green to red", KZsTYPE_FLOAT, -128, 127},
                                       {"Blue to yellow", KZsTYPE_FLOAT, -128, 127}};
constexpr ModelComponent kelvinParts[] = {{"Temperature", KZsTYPE_TEMPERATURE, coldest, hottest}};

constexpr ModelRow colorModels[] = {
    {KZs_COLORMODEL_RGB, "RGB", KZfCOLORMODEL_HDR, rgbParts,
     [](const Parts& parts) -> Triple {
         return {parts[0], parts[1], parts[2]};
     },
     [](const Triple& rgb) -> Parts {
         return {rgb[0], rgb[1], rgb[2], 0};
     }},
    {KZs_COLORMODEL_HSV, "HSV", KZfCOLORMODEL_WHEEL | KZfCOLORMODEL_HDR, hsvParts, hsvToRGB, hsvFromRGB},
    {KZs_COLORMODEL_HSL, "HSL", KZfCOLORMODEL_WHEEL, hslParts, hslToRGB, hslFromRGB},
    {KZs_COLORMODEL_CMYK, "CMYK", 0, cmykParts, cmykToRGB, cmykFromRGB},
    {KZs_COLORMODEL_LAB, "Lab", KZfCOLORMODEL_PERCEPTUAL | KZfCOLORMODEL_HDR, labParts, labToRGB, labFromRGB},
    {KZs_COLORMODEL_KELVIN, "Temperature", 0, kelvinParts, kelvinToRGB, kelvinFromRGB},
};

class CColorModel final : public CHosted<"color model", CColorModel, CKzIfc_ColorModel> {
public:
    explicit CColorModel(const ModelRow& row) : m_row(row) {}

    KzResult colm_Name(const char** name) override {
        *name = m_row.name;
        return KZe_OK;
    }
    KzResult colm_UserName(const char** name) override {
        *name = m_row.userName;
        return KZe_OK;
    }
    std::uint32_t colm_Flags() override { return m_row.flags; }
    std::uint32_t colm_ComponentCount() override { return static_cast<std::uint32_t>(m_row.components.size()); }
    KzResult colm_ComponentName(std::uint32_t index, const char** name) override {
        *name = at("ColorModel.ComponentName", index).name;
        return KZe_OK;
    }
    KzResult colm_ComponentType(std::uint32_t index, const char** type) override {
        *type = at("ColorModel.ComponentType", index).type;
        return KZe_OK;
    }
    KzResult colm_ComponentRange(std::uint32_t index, double* minimum, double* maximum) override {
        const ModelComponent& component = at("ColorModel.ComponentRange", index);
        *minimum = component.minimum;
        *maximum = component.maximum;
        return KZe_OK;
    }
    bool colm_IsPeriodic(std::uint32_t index) override {
        return index < m_row.components.size() && m_row.components[index].isPeriodic;
    }
    KzResult colm_ToRGB(float* components, KzFVector3* rgb) override {
        give("ColorModel.ToRGB", m_row.toRGB(partsOf("ColorModel.ToRGB", components)), rgb);
        return KZe_OK;
    }
    KzResult colm_FromRGB(const KzFVector3* rgb, float* components) override {
        const KzFVector3& color = kzNotNull(rgb);
        for (const float each : color.v) requireNumber("ColorModel.FromRGB", each);
        const Parts parts = m_row.fromRGB({color.v[0], color.v[1], color.v[2]});
        for (const double each : parts) requireNumber("ColorModel.FromRGB", static_cast<float>(each));
        for (std::size_t index = 0; index < parts.size(); ++index)
            (&kzNotNull(components))[index] = index < m_row.components.size() ? static_cast<float>(parts[index]) : 0.0F;
        return KZe_OK;
    }
    KzResult colm_Slider(std::uint32_t index, double position, float* components, KzFVector3* rgb) override {
        constexpr const char* place = "ColorModel.Slider";
        const ModelComponent& component = at(place, index);
        Parts parts = partsOf(place, components);
        if (!(position >= 0 && position <= 1))
            return kzBecause(KZe_INVALIDARG, place,
                             [&] { return fmt::format("the position {} is not 0 to 1", position); });
        parts[index] = component.minimum + position * (component.maximum - component.minimum);
        give(place, m_row.toRGB(parts), rgb);
        return KZe_OK;
    }

private:
    const ModelComponent& at(const char* place, std::uint32_t index) const {
        if (index < m_row.components.size()) return m_row.components[index];
        throw kzBecause(KZe_OUTOFBOUNDS, place, [&] {
            return fmt::format("{} has no component {}, but {}", m_row.userName, index, m_row.components.size());
        });
    }
    static void requireNumber(const char* place, float number) {
        if (!std::isfinite(number))
            throw kzBecause(KZe_INVALIDARG, place, [&] { return fmt::format("{} is no component", number); });
    }
    static Parts partsOf(const char* place, const float* components) {
        Parts parts{};
        for (std::size_t index = 0; index < parts.size(); ++index) {
            requireNumber(place, (&kzNotNull(components))[index]);
            parts[index] = components[index];
        }
        return parts;
    }
    // Components far beyond their ranges may make a colour that no float holds.
    static void give(const char* place, const Triple& color, KzFVector3* rgb) {
        for (const double each : color) requireNumber(place, static_cast<float>(each));
        for (std::size_t at = 0; at < color.size(); ++at) kzNotNull(rgb).v[at] = static_cast<float>(color[at]);
    }

    const ModelRow& m_row;
};

}  // namespace

std::vector<std::string> kzColorModelNames() {
    std::vector<std::string> names;
    for (const ModelRow& row : colorModels) names.emplace_back(row.name);
    return names;
}

IKzUnknown* kzMakeColorModel(const std::string& name) {
    for (const ModelRow& row : colorModels)
        if (row.name == name) return kzMakeObject<CColorModel>(row);
    return nullptr;
}

}  // namespace kzhost
