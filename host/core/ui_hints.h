// Hints on how a value is shown and edited: an object that takes them and is read, and who is asked for them.
#pragma once

#include "host/core/object.h"

#include "kz/command.h"
#include "kz/ui_hints.h"
#include "kz/ui_value_hints.h"

#include <array>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CNotifierTable;

struct HintChoice {
    std::string value;
    std::optional<std::string> label;
    std::string tip;
    std::uint32_t flags = 0;  // fPOPUP
    bool isOffered() const {
        return (flags & (KZfPOPUP_DISABLED | KZfPOPUP_DIVIDER | KZfPOPUP_HEADING)) == 0 && !value.empty();
    }
};

// What has been given so far. Texts that were not given are nothing.
struct HintValues {
    std::optional<std::string> label, button, tooltip, icon, unit, alpha, commonName, form, itemType, fileClass;
    std::optional<std::uint32_t> control, components, boolStyle, lines;
    std::uint32_t flags = 0;
    double minimum = 0, maximum = 0;  // as far as the flags say
    std::optional<std::pair<double, double>> softRange, step;
    std::optional<double> speed;
    std::optional<std::pair<std::int32_t, std::int32_t>> digits;
    std::optional<std::pair<KzFVector3, KzFVector3>> palette;
    std::int32_t allowsNone = 0, saves = 0, wraps = 0;
    double formWeight = 0;
    std::vector<HintChoice> choices;
    std::vector<std::string> notifiers;
};

class CUIHints final : public CHosted<"UI hints", CUIHints, CKzIfc_UIHints, CKzIfc_UIHintsRead> {
public:
    KzResult uihints_Label(const char* text) override;
    KzResult uihints_ButtonLabel(const char* text) override;
    KzResult uihints_Tooltip(const char* text) override;
    KzResult uihints_Icon(const char* name) override;
    KzResult uihints_Class(std::uint32_t control) override;
    KzResult uihints_Flags(std::uint32_t flags, std::uint32_t mask) override;
    KzResult uihints_Range(double minimum, double maximum) override;
    KzResult uihints_MinInt(std::int32_t minimum) override;
    KzResult uihints_MaxInt(std::int32_t maximum) override;
    KzResult uihints_MinFloat(double minimum) override;
    KzResult uihints_MaxFloat(double maximum) override;
    KzResult uihints_SoftRange(double minimum, double maximum) override;
    KzResult uihints_Step(double small, double large) override;
    KzResult uihints_Speed(double perPixel) override;
    KzResult uihints_Digits(std::int32_t integral, std::int32_t fractional) override;
    KzResult uihints_Unit(const char* unit) override;
    KzResult uihints_Palette(const KzFVector3* first, const KzFVector3* last) override;
    KzResult uihints_Alpha(const char* attribute) override;
    KzResult uihints_VectorSize(std::uint32_t components, const char* commonName) override;
    KzResult uihints_ItemList(const char* type, std::int32_t allowNone) override;
    KzResult uihints_FileClass(const char* fileClass, std::int32_t save) override;
    KzResult uihints_StringList(IKzUnknown* values, IKzUnknown* labels) override;
    KzResult uihints_BooleanStyle(std::uint32_t style) override;
    KzResult uihints_Lines(std::uint32_t visible, std::int32_t wraps) override;
    KzResult uihints_NotifyOn(IKzUnknown* notifier) override;
    KzResult uihints_Form(const char* form, double weight) override;

    const char* uihintsread_Label() override;
    const char* uihintsread_ButtonLabel() override;
    const char* uihintsread_Tooltip() override;
    const char* uihintsread_Icon() override;
    std::uint32_t uihintsread_Class() override { return values().control.value_or(0); }
    std::uint32_t uihintsread_Flags() override { return values().flags; }
    KzResult uihintsread_Range(double* minimum, double* maximum) override;
    KzResult uihintsread_SoftRange(double* minimum, double* maximum) override;
    KzResult uihintsread_Step(double* small, double* large) override;
    double uihintsread_Speed() override { return values().speed.value_or(0); }
    KzResult uihintsread_Digits(std::int32_t* integral, std::int32_t* fractional) override;
    const char* uihintsread_Unit() override;
    KzResult uihintsread_Palette(KzFVector3* first, KzFVector3* last) override;
    const char* uihintsread_Alpha() override;
    std::uint32_t uihintsread_VectorSize() override { return values().components.value_or(0); }
    KzResult uihintsread_ItemList(const char** type, std::int32_t* allowNone) override;
    KzResult uihintsread_FileClass(const char** fileClass, std::int32_t* save) override;
    std::uint32_t uihintsread_StringCount() override { return static_cast<std::uint32_t>(values().choices.size()); }
    KzResult uihintsread_StringByIndex(std::uint32_t index, const char** value, const char** label) override;
    KzResult uihintsread_Choices(const KzTextValueHint** choices) override;
    std::uint32_t uihintsread_BooleanStyle() override { return values().boolStyle.value_or(0); }
    KzResult uihintsread_Notifiers(IKzUnknown* notifiers) override;
    bool uihintsread_HasFlag(std::uint32_t flag) override { return (values().flags & flag) != 0; }

    HintValues values() const {
        const std::lock_guard lock(m_lock);
        return m_values;
    }
    // Keeps what only the host knows besides, such as choices and the table of an integer's.
    void add(const HintValues& more);
    void setTable(const KzTextValueHint* table);

private:
    // Applies the hint, which is called `place`. ALREADYEXISTS for the second of a name.
    template <class Apply> KzResult once(const char* place, std::uint32_t method, const Apply& apply);
    KzResult range(const char* place, std::uint32_t method, std::optional<double> minimum,
                   std::optional<double> maximum);

    struct Table {
        std::deque<std::string> words;
        std::vector<KzTextValueHint> rows;
    };
    mutable std::mutex m_lock;
    HintValues m_values;
    std::uint64_t m_given = 0;
    std::optional<Table> m_table;
};

// A nonsensical count must not keep the host busy.
inline constexpr std::uint32_t kzMostChoicesAsked = 10000;
// The hints of an attribute's value; empty if its owner has none.
void kzTakeValueHints(IKzUnknown* attributes, std::uint32_t index, CKzUser_UIValueHints& hints);
// Adds what the hints of a value answer, which are asked for only what their flags announce.
void kzAddValueHints(const CKzUser_UIValueHints& hints, HintValues& values);

// The hints that the owner of the attribute gives: its AttributesUI and the hints of its value. An owner without any
// leaves them empty.
CHostRef<CUIHints> kzAttributeHints(IKzUnknown* attributes, std::uint32_t index);
// The text that hints allow in place of what was typed. Throws the reason, as a text, for one that they refuse.
std::string kzAllowedText(IKzUnknown* attributes, std::uint32_t index, const HintValues& values,
                          const std::string& text);

}  // namespace kzhost
