// Asks the owners of attributes for hints.
#include "host/core/ui_hints.h"

#include "host/core/reasons.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/base/object_output.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>

namespace kzhost {

namespace {

constexpr std::uint32_t mostNotifiersAsked = 100;

std::optional<std::string> answered(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

void addChoices(const CKzUser_UIValueHints& hints, std::uint32_t announced, HintValues& values) {
    const std::uint32_t count = std::min(hints.PopCount(), kzMostChoicesAsked);
    for (std::uint32_t at = 0; at < count; ++at) {
        HintChoice choice;
        choice.value = kzAnswer([&](const char** text) { return hints.PopInternalName(at, text); });
        choice.label = answered(kzAnswer([&](const char** text) { return hints.PopUserName(at, text); }));
        choice.flags = hints.PopFlags(at);
        if ((announced & KZfVALHINT_POPUP_TIPS) != 0)
            choice.tip = kzAnswer([&](const char** text) { return hints.PopToolTip(at, text); });
        if (!choice.label) choice.label = answered(choice.value);
        if (choice.isOffered()) values.choices.push_back(std::move(choice));
    }
}

void addColors(const CKzUser_UIValueHints& hints, HintValues& values) {
    KzFVector4 first{}, last{};
    if (kzFailed(hints.ColorSample(0, &first)) || kzFailed(hints.ColorSample(1, &last))) return;
    values.palette = {KzFVector3{{first.v[0], first.v[1], first.v[2]}}, KzFVector3{{last.v[0], last.v[1], last.v[2]}}};
}

void addNotifiers(const CKzUser_UIValueHints& hints, HintValues& values) {
    const std::uint32_t count = std::min(hints.NotifierCount(), mostNotifiersAsked);
    for (std::uint32_t at = 0; at < count; ++at) {
        const char *name = nullptr, *arguments = nullptr;
        if (kzFailed(hints.NotifierByIndex(at, &name, &arguments))) return;
        if (kzTextOf(name).empty()) continue;
        values.notifiers.push_back(kzTextOf(arguments).empty() ? kzString(name)
                                                               : kzString(name) + " " + kzString(arguments));
    }
}

}  // namespace

void kzTakeValueHints(IKzUnknown* attributes, std::uint32_t index, CKzUser_UIValueHints& hints) {
    CKzLoc_Unknown object;
    const CKzUser_AttributesUI owner(attributes);
    if (owner && kzSucceeded(kzTakeOutput(object, [&](IKzUnknown** out) { return owner.UIValueHints(index, out); })))
        hints.set(object.raw());
}

void kzAddValueHints(const CKzUser_UIValueHints& hints, HintValues& values) {
    if (!hints) return;
    const std::uint32_t announced = hints.Flags();
    const auto has = [announced](std::uint32_t flag) { return (announced & flag) != 0; };
    if (has(KZfVALHINT_POPUPS)) addChoices(hints, announced, values);
    if (has(KZfVALHINT_LABEL)) values.label = answered(kzAnswer([&](const char** text) { return hints.Label(text); }));
    if (has(KZfVALHINT_CUE))
        values.tooltip = answered(kzAnswer([&](const char** text) { return hints.CueText(text); }));
    if (has(KZfVALHINT_COLORS)) addColors(hints, values);
    if (has(KZfVALHINT_NOTIFIERS)) addNotifiers(hints, values);
    if (has(KZfVALHINT_ITEMS)) {
        values.itemType = std::string();
        values.allowsNone = has(KZfVALHINT_ITEMS_NONE) ? 1 : 0;
    }
}

CHostRef<CUIHints> kzAttributeHints(IKzUnknown* attributes, std::uint32_t index) {
    auto hints = CHostRef<CUIHints>::make();
    HintValues more;
    if (const CKzUser_AttributesUI owner(attributes); owner) {
        owner.UIHints(index, hints.raw());  // what was given before a failure holds
        CKzUser_UIValueHints valueHints;
        kzTakeValueHints(attributes, index, valueHints);
        kzAddValueHints(valueHints, more);
        if (!more.label)
            more.label = answered(kzAnswer([&](const char** text) { return owner.UserName(index, text); }));
    }
    hints->add(more);
    const KzTextValueHint* table = nullptr;
    const CKzUser_Attributes owner(attributes);
    if (owner && kzSucceeded(owner.Hints(index, &table))) hints->setTable(table);
    return hints;
}

std::string kzAllowedText(IKzUnknown* attributes, std::uint32_t index, const HintValues& values,
                          const std::string& text) {
    std::string allowed = text;
    CKzUser_UIValueHints hints;
    kzTakeValueHints(attributes, index, hints);
    if (hints && (hints.Flags() & KZfVALHINT_FILTER) != 0) {
        const char* accepted = nullptr;
        const KzResult code = hints.StringFilter(text.c_str(), &accepted);
        if (kzFailed(code) && code != KZe_NOTIMPL) throw fmt::format("\"{}\" is not allowed", text);
        if (kzSucceeded(code) && accepted != nullptr) allowed = accepted;
    }
    const auto number = kzParseNumber(allowed);
    const bool isLow = number && (values.flags & KZfUIHINT_MIN) != 0 && *number < values.minimum;
    const bool isHigh = number && (values.flags & KZfUIHINT_MAX) != 0 && *number > values.maximum;
    if (isLow) throw fmt::format("{} is below {}", allowed, values.minimum);
    if (isHigh) throw fmt::format("{} is above {}", allowed, values.maximum);
    return allowed;
}

}  // namespace kzhost
