// One channel of an item: its description, and the definition of a new one.
#include "host/objects/item.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/channel_access.h"
#include "host/objects/envelope.h"
#include "host/objects/scene.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

// "levelOfDetail.X" is shown as "Level Of Detail X".
std::string kzUserNameOf(std::string_view name) {
    std::string text;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char letter = name[i] == '.' ? ' ' : name[i];
        const bool begins = i == 0 || name[i - 1] == '.';
        const bool isUpper = std::isupper(static_cast<unsigned char>(letter)) != 0;
        if (isUpper && !begins && std::islower(static_cast<unsigned char>(name[i - 1])) != 0) text += ' ';
        text += begins ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
    }
    return text;
}

// Looks its channel up by name each time, as channels come and go. What is read of it is copied under the lock.
class CChannelOf {
public:
    CChannelOf(CHostRef<CItem> item, std::string name) : m_item(std::move(item)), m_name(std::move(name)) {}

protected:
    CItem& item() const { return *m_item; }
    const CHostRef<CItem>& itemRef() const { return m_item; }
    std::int32_t index() const { return kzChannelIndex(*m_item->read(), m_name); }
    ChannelInfo info() const {
        const auto item = m_item->read();
        return kzChannelAt(*item, kzChannelIndex(*item, m_name));
    }
    // Changes the description of a user channel: `change(description)` throws what is wrong. Those of the item's type cannot
    // be changed.
    template <class Change> KzResult describe(const Change& change) {
        CEdit edit(m_item->workspace());
        const auto item = m_item->read();
        const ChannelInfo& channel = kzChannelAt(*item, kzChannelIndex(*item, m_name));
        if ((channel.flags & KZfCHAN_USER) == 0)
            return kzBecause(KZe_NOACCESS, "ItemChannel", [&] {
                return "the channel \"" + channel.name + "\" belongs to the type " + item->type.name;
            });
        ChannelInfo description = channel;
        change(description);
        edit.describeChannel(*item, channel, std::move(description));
        edit.commit();
        return KZe_OK;
    }
    const std::string& name() const { return m_name; }
    void rename(std::string name) { m_name = std::move(name); }

private:
    CHostRef<CItem> m_item;
    std::string m_name;
};

class CItemChannel final : public CHosted<"item channel", CItemChannel, CKzIfc_ItemChannel>, CChannelOf {
public:
    using CChannelOf::CChannelOf;

    KzResult itemchannel_Item(IKzUnknown** item) override { return itemRef().give(item); }
    std::uint32_t itemchannel_Index() override { return static_cast<std::uint32_t>(index()); }
    KzResult itemchannel_Name(const char** name) override {
        *name = kzLend(info().name);
        return KZe_OK;
    }
    KzResult itemchannel_FullName(const char** name) override {
        const auto item = this->item().read();
        *name = kzLend(item->uniqueName + ":" + info().name);
        return KZe_OK;
    }
    std::uint32_t itemchannel_StorageType() override { return info().storageType(); }
    KzResult itemchannel_EvalType(const char** type) override {
        *type = kzLend(info().evalType());
        return KZe_OK;
    }
    KzResult itemchannel_SetName(const char* name) override {
        const std::string wanted = kzString(name);
        if (wanted.empty()) return KZe_INVALIDARG;
        const KzResult code = describe([&](ChannelInfo& channel) {
            if (wanted != channel.name && item().read()->findChannel(wanted) >= 0) throw KZe_ALREADYEXISTS;
            channel.name = wanted;
        });
        if (kzSucceeded(code)) rename(wanted);
        return code;
    }
    KzResult itemchannel_UserName(const char** name) override {
        *name = kzLend(kzUserNameOf(info().name));
        return KZe_OK;
    }
    KzResult itemchannel_VectorName(const char** name) override {
        const ChannelInfo channel = info();
        *name = kzLend(std::string(channel.vectorName()));
        return KZe_OK;
    }
    KzResult itemchannel_VectorComponent(std::uint32_t component, IKzUnknown** itemChannel) override;
    KzResult itemchannel_SetDefault(IKzUnknown* value) override {
        if (!CKzUser_Value(value)) return KZe_INVALIDARG;
        const std::string text = kzValueText(value);
        return describe([&](ChannelInfo& channel) {
            const auto cell = kzParseCell(*channel.type, text);
            if (!cell)
                throw kzBecause(KZe_INVALIDARG, "ItemChannel.SetDefault",
                                [&] { return kzIsNot(text, channel.type->expects); });
            channel.initial = *cell;
        });
    }
    KzResult itemchannel_IsInput(bool* input) override {
        const auto owner = item().read();
        const ChannelInfo& channel = kzChannelAt(*owner, index());
        *input = std::ranges::any_of(owner->outputs, [&](const auto& link) { return link->sourceChannel == &channel; });
        return KZe_OK;
    }
    KzResult itemchannel_IsDriven(bool* driven) override {
        const auto owner = item().read();
        const ChannelInfo& channel = kzChannelAt(*owner, index());
        *driven = std::ranges::any_of(owner->inputs, [&](const auto& link) { return link->targetChannel == &channel; });
        return KZe_OK;
    }
    bool itemchannel_IsVector() override { return info().vectorSize > 1; }
    bool itemchannel_IsUser() override { return (info().flags & KZfCHAN_USER) != 0; }
    std::uint32_t itemchannel_VectorSize() override { return info().vectorSize; }
    KzResult itemchannel_Minimum(double* value) override { return limit(info().minimum, value); }
    KzResult itemchannel_Maximum(double* value) override { return limit(info().maximum, value); }
    KzResult itemchannel_DefaultDouble(double* value) override {
        return limit(info().type != nullptr ? kzNumberOf(info().initial) : std::nullopt, value);
    }
    KzResult itemchannel_DefaultInteger(std::int32_t* value) override {
        const auto whole = info().type != nullptr ? kzIntegerOf(info().initial) : std::nullopt;
        if (!whole) return KZe_NOTAVAILABLE;
        *value = *whole;
        return KZe_OK;
    }
    KzResult itemchannel_DefaultString(const char** value) override {
        const ChannelInfo channel = info();
        if (channel.type == nullptr) return KZe_NOTAVAILABLE;
        *value = kzLend(kzFormatCell(*channel.type, channel.initial));
        return KZe_OK;
    }
    KzResult itemchannel_Hints(const KzTextValueHint** hints) override {
        if (!info().hints) return KZe_NOTAVAILABLE;
        *hints = info().hints->rows();
        return KZe_OK;
    }
    KzResult itemchannel_SetHints(const KzTextValueHint* hints) override {
        return describe([&](ChannelInfo& channel) { channel.hints = std::make_shared<COwnedHints>(hints); });
    }
    std::uint32_t itemchannel_Flags() override { return info().flags; }
    KzResult itemchannel_Envelope(const char* action, IKzUnknown** envelope) override {
        const auto owner = item().read();
        const ChannelInfo& channel = kzChannelAt(*owner, index());
        std::string known;
        if (const std::string_view name = kzTextOf(action); !name.empty()) {
            const auto found = kzFindAction(owner->document, name);
            if (!found) return KZe_NOTFOUND;
            known = *found;
        }
        if (!kzHasKeys(*owner, channel, known)) return KZe_NOTFOUND;
        *envelope = kzMakeEnvelope(
            kzChannelEnvelope(itemRef(), kzChannelRef(*owner, channel), kzEnvelopeAction(*owner, channel, known)));
        return KZe_OK;
    }

private:
    static KzResult limit(const std::optional<double>& number, double* value) {
        if (!number) return KZe_NOTAVAILABLE;
        *value = *number;
        return KZe_OK;
    }
};

// The components stand in a row, in the order of their letters.
KzResult CItemChannel::itemchannel_VectorComponent(std::uint32_t component, IKzUnknown** itemChannel) {
    const auto owner = item().read();
    const std::int32_t own = index();
    const ChannelInfo& channel = kzChannelAt(*owner, own);
    if (component >= channel.vectorSize) return KZe_OUTOFBOUNDS;
    const std::string_view vector = channel.vectorName();
    std::int32_t first = own;
    while (channel.vectorSize > 1 && first > 0 && kzChannelAt(*owner, first - 1).vectorName() == vector) --first;
    *itemChannel = kzMakeItemChannel(itemRef(), first + static_cast<std::int32_t>(component));
    return KZe_OK;
}

// The components of each form of vector, as suffixes of channel names.
std::span<const char* const> componentsOf(std::uint32_t form) {
    static constexpr const char* xyzw[] = {".X", ".Y", ".Z", ".W"};
    static constexpr const char* rgba[] = {".R", ".G", ".B", ".A"};
    static constexpr const char* uvw[] = {".U", ".V", ".W"};
    switch (static_cast<std::int32_t>(form)) {
    case KZiCHANVEC_SCALAR: return {};
    case KZiCHANVEC_XY: return std::span(xyzw).first(2);
    case KZiCHANVEC_XYZ: return std::span(xyzw).first(3);
    case KZiCHANVEC_XYZW: return xyzw;
    case KZiCHANVEC_RGB: return std::span(rgba).first(3);
    case KZiCHANVEC_RGBA: return rgba;
    case KZiCHANVEC_UV: return std::span(uvw).first(2);
    case KZiCHANVEC_UVW: return uvw;
    default: throw KZe_INVALIDARG;
    }
}

class CAddChannel final : public CHosted<"new channel", CAddChannel, CKzIfc_AddChannel>, CChannelOf {
public:
    using CChannelOf::CChannelOf;

    KzResult addchannel_NewChannel(const char* name, const char* type) override {
        CKzLoc_Unknown another;
        const KzResult code = item().item_ChannelAdd(name, type, another.out());
        if (kzSucceeded(code)) {
            rename(name);
            ++m_count;
        }
        return code;
    }
    KzResult addchannel_SetDefault(double value, std::int32_t integer) override {
        const bool isWhole = std::holds_alternative<std::int32_t>(info().initial);
        return setDefault(kzCellOf(*info().type, isWhole ? integer : value));
    }
    KzResult addchannel_SetDefaultString(const char* text) override {
        return setDefault(kzParseCell(*info().type, kzTextOf(text)));
    }
    KzResult addchannel_SetVector(std::uint32_t form) override;
    KzResult addchannel_SetRange(double minimum, double maximum) override {
        if (!(minimum <= maximum)) return KZe_INVALIDARG;
        return describe([&](ChannelInfo& channel) {
            channel.minimum = minimum;
            channel.maximum = maximum;
            channel.flags |= KZfCHAN_FLOATRANGE;
        });
    }
    KzResult addchannel_SetHints(const KzTextValueHint* hints) override {
        return describe([&](ChannelInfo& channel) { channel.hints = std::make_shared<COwnedHints>(hints); });
    }
    KzResult addchannel_SetInternal() override {
        return describe([](ChannelInfo& channel) { channel.flags |= KZfCHAN_HIDDEN | KZfCHAN_NOANIM; });
    }
    std::uint32_t addchannel_ChannelCount() override { return m_count; }

private:
    KzResult setDefault(const std::optional<KzCell>& cell) {
        if (!cell) return KZe_INVALIDARG;
        return describe([&](ChannelInfo& channel) { channel.initial = *cell; });
    }

    std::uint32_t m_count = 1;
};

// Replaces the channel by one for each component. Later calls refer to the first of them.
KzResult CAddChannel::addchannel_SetVector(std::uint32_t form) {
    const auto components = componentsOf(form);
    if (components.empty()) return KZe_OK;
    CEdit edit(item().workspace());
    const auto owner = item().read();
    const ChannelInfo scalar = info();
    for (const char* component : components)
        if (owner->findChannel(scalar.name + component) >= 0) return KZe_ALREADYEXISTS;
    edit.removeChannel(*owner, kzChannelAt(*owner, index()));
    for (const char* component : components) {
        ChannelInfo each = scalar;
        each.name += component;
        each.flags |= KZfCHAN_VECTOR;
        each.vectorSize = static_cast<std::uint32_t>(components.size());
        kzAddChannel(*owner, std::move(each), edit);
    }
    edit.commit();
    rename(scalar.name + components[0]);
    m_count += static_cast<std::uint32_t>(components.size()) - 1;
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeItemChannel(CHostRef<CItem> item, std::int32_t channel) {
    std::string name = kzChannelAt(*item->read(), channel).name;
    return kzMakeObject<CItemChannel>(std::move(item), std::move(name));
}

IKzUnknown* kzMakeAddChannel(CHostRef<CItem> item, std::string channel) {
    return kzMakeObject<CAddChannel>(std::move(item), std::move(channel));
}

}  // namespace kzhost
