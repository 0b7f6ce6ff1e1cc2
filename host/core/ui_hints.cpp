// Hints on how a value is shown and edited, as whoever gives them sets them.
#include "host/core/ui_hints.h"

#include "host/core/reasons.h"
#include "host/state/text.h"

#include "kz/listener.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <cmath>

namespace kzhost {

namespace {

constexpr std::uint32_t mostHintChoices = 10000;
constexpr std::uint32_t flagsOfHints = 0xFFFF;

KzResult unlikely(const char* place, const char* why) {
    return kzBecause(KZe_INVALIDARG, place, [why] { return std::string(why); });
}

std::optional<std::string> textOfHint(const char* text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

// The order that `m_given` has the methods in.
enum HintMethod : std::uint32_t {
    hintLabel,
    hintButton,
    hintTooltip,
    hintIcon,
    hintClass,
    hintFlags,
    hintMinimum,
    hintMaximum,
    hintSoftRange,
    hintStep,
    hintSpeed,
    hintDigits,
    hintUnit,
    hintPalette,
    hintAlpha,
    hintVectorSize,
    hintItemList,
    hintFileClass,
    hintStringList,
    hintBoolean,
    hintLines,
    hintNotifier,
    hintForm
};

template <class Apply> KzResult CUIHints::once(const char* place, std::uint32_t method, const Apply& apply) {
    {
        const std::lock_guard lock(m_lock);
        if ((m_given >> method & 1U) == 0) {
            m_given |= std::uint64_t{1} << method;
            apply(m_values);
            return KZe_OK;
        }
    }
    return kzBecause(KZe_ALREADYEXISTS, place, [] { return "each hint is given once for a control"; });
}

KzResult CUIHints::range(const char* place, std::uint32_t method, std::optional<double> minimum,
                         std::optional<double> maximum) {
    if (std::isnan(minimum.value_or(0)) || std::isnan(maximum.value_or(0)))
        return unlikely(place, "an end is no number");
    const HintValues now = values();
    const bool isBelow =
        minimum && (maximum || (now.flags & KZfUIHINT_MAX) != 0) && *minimum > maximum.value_or(now.maximum);
    const bool isAbove = maximum && !minimum && (now.flags & KZfUIHINT_MIN) != 0 && now.minimum > *maximum;
    if (isBelow || isAbove) return unlikely(place, "the least value is above the greatest");
    return once(place, method, [&](HintValues& values) {
        if (minimum) {
            values.minimum = *minimum;
            values.flags |= KZfUIHINT_MIN;
        }
        if (maximum) {
            values.maximum = *maximum;
            values.flags |= KZfUIHINT_MAX;
        }
        if (minimum && maximum) m_given |= std::uint64_t{1} << hintMaximum;
    });
}

KzResult CUIHints::uihints_Label(const char* text) {
    return once("UIHints.Label", hintLabel, [&](HintValues& values) { values.label = textOfHint(text); });
}
KzResult CUIHints::uihints_ButtonLabel(const char* text) {
    return once("UIHints.ButtonLabel", hintButton, [&](HintValues& values) { values.button = textOfHint(text); });
}
KzResult CUIHints::uihints_Tooltip(const char* text) {
    return once("UIHints.Tooltip", hintTooltip, [&](HintValues& values) { values.tooltip = textOfHint(text); });
}
KzResult CUIHints::uihints_Icon(const char* name) {
    return once("UIHints.Icon", hintIcon, [&](HintValues& values) { values.icon = textOfHint(name); });
}
KzResult CUIHints::uihints_Class(std::uint32_t control) {
    if (control > KZiUIHINT_CLASS_DIVIDER) return unlikely("UIHints.Class", "there is no such kind of control");
    return once("UIHints.Class", hintClass, [&](HintValues& values) { values.control = control; });
}
KzResult CUIHints::uihints_Flags(std::uint32_t flags, std::uint32_t mask) {
    if ((mask & ~flagsOfHints) != 0) return unlikely("UIHints.Flags", "the mask has flags that controls do not have");
    return once("UIHints.Flags", hintFlags,
                [&](HintValues& values) { values.flags = (values.flags & ~mask) | (flags & mask); });
}
KzResult CUIHints::uihints_Range(double minimum, double maximum) {
    return range("UIHints.Range", hintMinimum, minimum, maximum);
}
KzResult CUIHints::uihints_MinInt(std::int32_t minimum) { return range("UIHints.MinInt", hintMinimum, minimum, {}); }
KzResult CUIHints::uihints_MaxInt(std::int32_t maximum) { return range("UIHints.MaxInt", hintMaximum, {}, maximum); }
KzResult CUIHints::uihints_MinFloat(double minimum) { return range("UIHints.MinFloat", hintMinimum, minimum, {}); }
KzResult CUIHints::uihints_MaxFloat(double maximum) { return range("UIHints.MaxFloat", hintMaximum, {}, maximum); }
KzResult CUIHints::uihints_SoftRange(double minimum, double maximum) {
    if (!(minimum <= maximum)) return unlikely("UIHints.SoftRange", "the lower end is above the upper, or no number");
    return once("UIHints.SoftRange", hintSoftRange, [&](HintValues& values) {
        values.softRange = {minimum, maximum};
        values.flags |= KZfUIHINT_SOFTMIN | KZfUIHINT_SOFTMAX;
    });
}
KzResult CUIHints::uihints_Step(double small, double large) {
    if (!(small > 0) || !(large > 0)) return unlikely("UIHints.Step", "a step is above 0");
    return once("UIHints.Step", hintStep, [&](HintValues& values) { values.step = {small, large}; });
}
KzResult CUIHints::uihints_Speed(double perPixel) {
    if (!std::isfinite(perPixel)) return unlikely("UIHints.Speed", "the change for each pixel is no number");
    return once("UIHints.Speed", hintSpeed, [&](HintValues& values) { values.speed = perPixel; });
}
KzResult CUIHints::uihints_Digits(std::int32_t integral, std::int32_t fractional) {
    if (integral < -1 || fractional < -1) return unlikely("UIHints.Digits", "digits are 0 or more, or -1 for any");
    return once("UIHints.Digits", hintDigits, [&](HintValues& values) { values.digits = {integral, fractional}; });
}
KzResult CUIHints::uihints_Unit(const char* unit) {
    return once("UIHints.Unit", hintUnit, [&](HintValues& values) { values.unit = textOfHint(unit); });
}
KzResult CUIHints::uihints_Palette(const KzFVector3* first, const KzFVector3* last) {
    if (first == nullptr || last == nullptr) return unlikely("UIHints.Palette", "a colour is missing");
    return once("UIHints.Palette", hintPalette, [&](HintValues& values) { values.palette = {*first, *last}; });
}
KzResult CUIHints::uihints_Alpha(const char* attribute) {
    return once("UIHints.Alpha", hintAlpha, [&](HintValues& values) { values.alpha = textOfHint(attribute); });
}
KzResult CUIHints::uihints_VectorSize(std::uint32_t components, const char* commonName) {
    return once("UIHints.VectorSize", hintVectorSize, [&](HintValues& values) {
        values.components = components;
        values.commonName = textOfHint(commonName);
    });
}
KzResult CUIHints::uihints_ItemList(const char* type, std::int32_t allowNone) {
    return once("UIHints.ItemList", hintItemList, [&](HintValues& values) {
        values.itemType = kzString(type);
        values.allowsNone = allowNone != 0 ? 1 : 0;
    });
}
KzResult CUIHints::uihints_FileClass(const char* fileClass, std::int32_t save) {
    return once("UIHints.FileClass", hintFileClass, [&](HintValues& values) {
        values.fileClass = kzString(fileClass);
        values.saves = save != 0 ? 1 : 0;
    });
}

KzResult CUIHints::uihints_StringList(IKzUnknown* values, IKzUnknown* labels) {
    constexpr const char* place = "UIHints.StringList";
    const CKzUser_ValueArray all(values), shown(labels);
    if (!all || (labels != nullptr && !shown)) return unlikely(place, "the choices are no array of values");
    const std::uint32_t count = all.Count();
    if (count > mostHintChoices || (labels != nullptr && shown.Count() != count))
        return kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("{} choices: there are up to {}, and as many labels", count, mostHintChoices);
        });
    std::vector<HintChoice> choices(count);
    const auto read = [](const CKzUser_ValueArray& array, std::uint32_t index, std::string& text) {
        return kzReadText(text,
                          [&](char* buffer, std::uint32_t length) { return array.GetString(index, buffer, length); });
    };
    for (std::uint32_t at = 0; at < count; ++at) {
        if (const KzResult code = read(all, at, choices[at].value); kzFailed(code)) return code;
        if (labels == nullptr) continue;
        if (const KzResult code = read(shown, at, choices[at].label.emplace()); kzFailed(code)) return code;
    }
    return once(place, hintStringList, [&](HintValues& now) { now.choices = std::move(choices); });
}

KzResult CUIHints::uihints_BooleanStyle(std::uint32_t style) {
    if (style > KZiUIHINT_BOOL_INVERTED) return unlikely("UIHints.BooleanStyle", "there is no such style");
    return once("UIHints.BooleanStyle", hintBoolean, [&](HintValues& values) { values.boolStyle = style; });
}
KzResult CUIHints::uihints_Lines(std::uint32_t visible, std::int32_t wraps) {
    return once("UIHints.Lines", hintLines, [&](HintValues& values) {
        values.lines = visible;
        values.wraps = wraps != 0 ? 1 : 0;
    });
}
// Kept by name and arguments, by which anybody finds it.
KzResult CUIHints::uihints_NotifyOn(IKzUnknown* notifier) {
    const CKzUser_Notifier source(notifier);
    if (!source) return unlikely("UIHints.NotifyOn", "this is no notifier");
    const std::string name = kzAnswer([&](const char** text) { return source.Name(text); });
    const std::string arguments = kzAnswer([&](const char** text) { return source.Args(text); });
    return once("UIHints.NotifyOn", hintNotifier, [&](HintValues& values) {
        values.notifiers.push_back(arguments.empty() ? name : name + " " + arguments);
    });
}
KzResult CUIHints::uihints_Form(const char* form, double weight) {
    return once("UIHints.Form", hintForm, [&](HintValues& values) {
        values.form = textOfHint(form);
        values.formWeight = weight;
    });
}

void CUIHints::add(const HintValues& more) {
    const std::lock_guard lock(m_lock);
    if (!m_values.label) m_values.label = more.label;
    if (!m_values.icon) m_values.icon = more.icon;
    if (!m_values.tooltip) m_values.tooltip = more.tooltip;
    if (!m_values.palette) m_values.palette = more.palette;
    if (!more.choices.empty()) m_values.choices = more.choices;
    if (!m_values.itemType && more.itemType) {
        m_values.itemType = more.itemType;
        m_values.allowsNone = more.allowsNone;
    }
    m_values.notifiers.insert(m_values.notifiers.end(), more.notifiers.begin(), more.notifiers.end());
}

void CUIHints::setTable(const KzTextValueHint* table) {
    Table copy;
    for (; table != nullptr && table->text != nullptr && copy.rows.size() < mostHintChoices; ++table)
        copy.rows.push_back({table->value, copy.words.emplace_back(table->text).c_str()});
    if (copy.rows.empty()) return;
    copy.rows.push_back({0, nullptr});
    const std::lock_guard lock(m_lock);
    if (!m_table) m_table = std::move(copy);
}

}  // namespace kzhost
