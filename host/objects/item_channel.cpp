// One channel of an item: its description, and the definition of a new one.
#include "host/objects/item_channel.h"

#include "host/core/values.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace kzhost {

namespace {

// Looks its channel up by name each time, as channels come and go.
class CChannelOf {
public:
    CChannelOf(CHostRef<CItem> item, std::string name) : m_item(std::move(item)), m_name(std::move(name)) {}

protected:
    CItem& item() const { return *m_item; }
    const CHostRef<CItem>& itemRef() const { return m_item; }
    std::int32_t index() const { return m_item->channelIndex(m_name); }
    ChannelInfo& info() const { return m_item->channel(index()).info; }
    // The channels of the item's type cannot be changed.
    ChannelInfo& ownInfo() const {
        if ((info().flags & KZfCHAN_USER) == 0) throw KZe_NOACCESS;
        return info();
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
        *name = info().name.c_str();
        return KZe_OK;
    }
    KzResult itemchannel_FullName(const char** name) override {
        m_text = item().scene().uniqueName(item()) + ":" + info().name;
        *name = m_text.c_str();
        return KZe_OK;
    }
    std::uint32_t itemchannel_StorageType() override { return info().storageType(); }
    KzResult itemchannel_EvalType(const char** type) override {
        *type = info().type != nullptr ? info().type->name : KZsCHANEVAL_MATRIX;
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
        if (info().type == nullptr) return KZe_NOTAVAILABLE;
        m_text = kzFormatCell(*info().type, info().initial);
        *value = m_text.c_str();
        return KZe_OK;
    }
    KzResult itemchannel_Hints(const KzTextValueHint** hints) override {
        if (!info().hints) return KZe_NOTAVAILABLE;
        *hints = info().hints->rows();
        return KZe_OK;
    }
    KzResult itemchannel_SetHints(const KzTextValueHint* hints) override {
        ownInfo().hints = std::make_shared<COwnedHints>(hints);
        return KZe_OK;
    }
    std::uint32_t itemchannel_Flags() override { return info().flags; }

private:
    static KzResult limit(const std::optional<double>& number, double* value) {
        if (!number) return KZe_NOTAVAILABLE;
        *value = *number;
        return KZe_OK;
    }

    std::string m_text;
};

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
        ownInfo().minimum = minimum;
        ownInfo().maximum = maximum;
        ownInfo().flags |= KZfCHAN_FLOATRANGE;
        return KZe_OK;
    }
    KzResult addchannel_SetHints(const KzTextValueHint* hints) override {
        ownInfo().hints = std::make_shared<COwnedHints>(hints);
        return KZe_OK;
    }
    KzResult addchannel_SetInternal() override {
        ownInfo().flags |= KZfCHAN_HIDDEN | KZfCHAN_NOANIM;
        return KZe_OK;
    }
    std::uint32_t addchannel_ChannelCount() override { return m_count; }

private:
    KzResult setDefault(const std::optional<KzCell>& cell) {
        if (!cell) return KZe_INVALIDARG;
        ownInfo().initial = *cell;
        return KZe_OK;
    }

    std::uint32_t m_count = 1;
};

// Replaces the channel by one for each component. Later calls refer to the first of them.
KzResult CAddChannel::addchannel_SetVector(std::uint32_t form) {
    const auto components = componentsOf(form);
    if (components.empty()) return KZe_OK;
    const ChannelInfo scalar = ownInfo();
    for (const char* component : components)
        if (item().hasChannel(scalar.name + component)) return KZe_ALREADYEXISTS;
    item().removeChannel(scalar.name);
    for (const char* component : components) {
        ChannelInfo each = scalar;
        each.name += component;
        each.flags |= KZfCHAN_VECTOR;
        each.vectorSize = static_cast<std::uint32_t>(components.size());
        item().addChannel(std::move(each));
    }
    rename(scalar.name + components[0]);
    m_count += static_cast<std::uint32_t>(components.size()) - 1;
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeItemChannel(CHostRef<CItem> item, std::int32_t channel) {
    std::string name = item->channel(channel).info.name;
    return kzMakeObject<CItemChannel>(std::move(item), std::move(name));
}

IKzUnknown* kzMakeAddChannel(CHostRef<CItem> item, std::string channel) {
    return kzMakeObject<CAddChannel>(std::move(item), std::move(channel));
}

}  // namespace kzhost
