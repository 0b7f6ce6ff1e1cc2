// Hints on how a value is shown and edited, as whoever makes a control reads them.
#include "host/core/reasons.h"
#include "host/core/ui_hints.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/value.h"

#include <limits>

namespace kzhost {

namespace {

const char* lentHint(const std::optional<std::string>& text) { return text ? kzLend(*text) : nullptr; }

template <class First, class Second>
KzResult givePair(const std::optional<std::pair<First, Second>>& pair, First* first, Second* second) {
    if (!pair) return KZe_NOTAVAILABLE;
    *first = pair->first;
    *second = pair->second;
    return KZe_OK;
}

}  // namespace

const char* CUIHints::uihintsread_Label() { return lentHint(values().label); }
const char* CUIHints::uihintsread_ButtonLabel() { return lentHint(values().button); }
const char* CUIHints::uihintsread_Tooltip() { return lentHint(values().tooltip); }
const char* CUIHints::uihintsread_Icon() { return lentHint(values().icon); }
const char* CUIHints::uihintsread_Unit() { return lentHint(values().unit); }
const char* CUIHints::uihintsread_Alpha() { return lentHint(values().alpha); }

KzResult CUIHints::uihintsread_Range(double* minimum, double* maximum) {
    const HintValues now = values();
    if ((now.flags & (KZfUIHINT_MIN | KZfUIHINT_MAX)) == 0) return KZe_NOTAVAILABLE;
    constexpr double endless = std::numeric_limits<double>::infinity();
    *minimum = (now.flags & KZfUIHINT_MIN) != 0 ? now.minimum : -endless;
    *maximum = (now.flags & KZfUIHINT_MAX) != 0 ? now.maximum : endless;
    return KZe_OK;
}
KzResult CUIHints::uihintsread_SoftRange(double* minimum, double* maximum) {
    return givePair(values().softRange, minimum, maximum);
}
KzResult CUIHints::uihintsread_Step(double* small, double* large) { return givePair(values().step, small, large); }
KzResult CUIHints::uihintsread_Digits(std::int32_t* integral, std::int32_t* fractional) {
    return givePair(values().digits, integral, fractional);
}
KzResult CUIHints::uihintsread_Palette(KzFVector3* first, KzFVector3* last) {
    return givePair(values().palette, first, last);
}
KzResult CUIHints::uihintsread_ItemList(const char** type, std::int32_t* allowNone) {
    const HintValues now = values();
    if (!now.itemType) return KZe_NOTAVAILABLE;
    *type = kzLend(*now.itemType);
    *allowNone = now.allowsNone;
    return KZe_OK;
}
KzResult CUIHints::uihintsread_FileClass(const char** fileClass, std::int32_t* save) {
    const HintValues now = values();
    if (!now.fileClass) return KZe_NOTAVAILABLE;
    *fileClass = kzLend(*now.fileClass);
    *save = now.saves;
    return KZe_OK;
}
KzResult CUIHints::uihintsread_StringByIndex(std::uint32_t index, const char** value, const char** label) {
    const HintValues now = values();
    if (index >= now.choices.size()) return KZe_OUTOFBOUNDS;
    *value = kzLend(now.choices[index].value);
    *label = lentHint(now.choices[index].label);
    return KZe_OK;
}
KzResult CUIHints::uihintsread_Choices(const KzTextValueHint** choices) {
    const std::lock_guard lock(m_lock);
    if (!m_table) return KZe_NOTAVAILABLE;
    *choices = m_table->rows.data();
    return KZe_OK;
}
KzResult CUIHints::uihintsread_Notifiers(IKzUnknown* notifiers) {
    const CKzUser_ValueArray array(notifiers);
    if (!array)
        return kzBecause(KZe_INVALIDARG, "UIHintsRead.Notifiers", [] { return "there is no array to add them to"; });
    for (const std::string& each : values().notifiers)
        if (const KzResult code = array.AddString(each.c_str()); kzFailed(code)) return code;
    return KZe_OK;
}

}  // namespace kzhost
