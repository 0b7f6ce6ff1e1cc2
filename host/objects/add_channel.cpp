// New channels, as AddChannel objects describe them.
#include "host/objects/add_channel.h"

#include "host/core/reasons.h"
#include "host/document/described_types.h"
#include "host/objects/item.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <utility>

namespace kzhost {

namespace {

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

constexpr const char* evaluatedTypes[] = {KZsCHANEVAL_FALLOFF, KZsCHANEVAL_SURFACE,    KZsCHANEVAL_GEOMETRY,
                                          KZsCHANEVAL_IMAGE,   KZsCHANEVAL_AUDIO,      KZsCHANEVAL_MODIFIER,
                                          KZsCHANEVAL_PATH,    KZsCHANEVAL_QUATERNION, KZsCHANEVAL_FORCE};

// The channels that users add to an item.
class CItemChannels final : public NewChannels {
public:
    explicit CItemChannels(CHostRef<CItem> item) : m_item(std::move(item)) {}

    void add(ChannelInfo channel) override {
        CEdit edit(m_item->workspace());
        kzAddChannel(*m_item->read(), std::move(channel), edit);
        edit.commit();
    }
    ChannelInfo find(const std::string& name) const override {
        const auto item = m_item->read();
        return kzChannelAt(*item, kzChannelIndex(*item, name));
    }
    void change(const std::string& name, CFunctionRef<void(ChannelInfo&)> change) override {
        CEdit edit(m_item->workspace());
        const auto item = m_item->read();
        const ChannelInfo& channel = kzChannelAt(*item, kzChannelIndex(*item, name));
        ChannelInfo description = channel;
        change(description);
        edit.describeChannel(*item, channel, std::move(description));
        edit.commit();
    }
    void replace(const std::string& name, std::vector<ChannelInfo> channels) override {
        CEdit edit(m_item->workspace());
        const auto item = m_item->read();
        edit.removeChannel(*item, kzChannelAt(*item, kzChannelIndex(*item, name)));
        for (ChannelInfo& each : channels) kzAddChannel(*item, std::move(each), edit);
        edit.commit();
    }

private:
    CHostRef<CItem> m_item;
};

// Looks its channel up by name each time, as channels come and go.
class CAddChannel final : public CHosted<"new channel", CAddChannel, CKzIfc_AddChannel> {
public:
    CAddChannel(std::shared_ptr<NewChannels> channels, std::string channel)
        : m_channels(std::move(channels)), m_name(std::move(channel)), m_count(m_name.empty() ? 0 : 1) {}

    KzResult addchannel_NewChannel(const char* name, const char* type) override {
        m_channels->add(kzNewChannel(kzString(name), kzTextOf(type)));
        m_name = kzString(name);
        ++m_count;
        return KZe_OK;
    }
    KzResult addchannel_SetDefault(double value, std::int32_t integer) override {
        return setDefault([&](const ChannelInfo& channel) {
            const bool isWhole = std::holds_alternative<std::int32_t>(channel.initial);
            return kzCellOf(*channel.type, isWhole ? integer : value);
        });
    }
    KzResult addchannel_SetDefaultString(const char* text) override {
        return setDefault([&](const ChannelInfo& channel) { return kzParseCell(*channel.type, kzTextOf(text)); });
    }
    KzResult addchannel_SetDefaultVector(const KzVector3* value) override;
    KzResult addchannel_SetDefaultObject(const char* type) override {
        return change([&](ChannelInfo& channel) {
            if (channel.kind != ChannelKind::object) throw KZe_INVALIDARG;
            channel.objectType = kzNewChannel(channel.name, kzTextOf(type)).objectType;
            if (channel.objectType == nullptr) throw KZe_INVALIDARG;
        });
    }
    KzResult addchannel_SetVector(std::uint32_t form) override;
    KzResult addchannel_SetRange(double minimum, double maximum) override {
        if (!(minimum <= maximum)) return KZe_INVALIDARG;
        return change([&](ChannelInfo& channel) {
            channel.minimum = minimum;
            channel.maximum = maximum;
            channel.flags |= KZfCHAN_FLOATRANGE;
        });
    }
    KzResult addchannel_SetHints(const KzTextValueHint* hints) override {
        return change([&](ChannelInfo& channel) { channel.hints = std::make_shared<COwnedHints>(hints); });
    }
    KzResult addchannel_SetInternal() override {
        return change([](ChannelInfo& channel) { channel.flags |= KZfCHAN_HIDDEN | KZfCHAN_NOANIM; });
    }
    // Values of the other types have units of their own.
    KzResult addchannel_SetUnit(const char* unit) override {
        const char* kept = kzInterned(kzTextOf(unit));
        if (kept == nullptr) return KZe_INVALIDARG;
        return change([&](ChannelInfo& channel) {
            if (channel.type == nullptr || !kzNumberOf(channel.initial) || !channel.type->units.empty())
                throw KZe_INVALIDARG;
            channel.unit = kept;
        });
    }
    std::uint32_t addchannel_ChannelCount() override { return m_count; }

private:
    const std::string& name() const {
        if (m_name.empty()) throw kzBecause(KZe_NOTREADY, "AddChannel", [] { return "NewChannel comes first"; });
        return m_name;
    }
    template <class Change> KzResult change(const Change& change) {
        m_channels->change(name(), change);
        return KZe_OK;
    }
    template <class Cell> KzResult setDefault(const Cell& cellFor) {
        return change([&](ChannelInfo& channel) {
            const auto cell = channel.type != nullptr ? cellFor(channel) : std::nullopt;
            if (!cell) throw KZe_INVALIDARG;
            channel.initial = *cell;
        });
    }

    std::shared_ptr<NewChannels> m_channels;
    std::string m_name;
    std::vector<std::string> m_components;  // the names of a vector's channels
    std::uint32_t m_count;
};

// Replaces the channel by one for each component. Later calls refer to the first of them.
KzResult CAddChannel::addchannel_SetVector(std::uint32_t form) {
    const auto components = componentsOf(form);
    if (components.empty()) return KZe_OK;
    const ChannelInfo scalar = m_channels->find(name());
    std::vector<ChannelInfo> channels;
    std::vector<std::string> names;
    for (const char* component : components) {
        ChannelInfo& each = channels.emplace_back(scalar);
        each.name += component;
        each.flags |= KZfCHAN_VECTOR;
        each.vectorSize = static_cast<std::uint32_t>(components.size());
        names.push_back(each.name);
    }
    m_channels->replace(scalar.name, std::move(channels));
    m_components = std::move(names);
    m_name = m_components.front();
    m_count += static_cast<std::uint32_t>(components.size()) - 1;
    return KZe_OK;
}

KzResult CAddChannel::addchannel_SetDefaultVector(const KzVector3* value) {
    const auto& numbers = kzNotNull(value).v;
    if (m_components.empty() || m_components.front() != name()) return KZe_INVALIDARG;
    for (std::size_t i = 0; i < std::min(std::size(numbers), m_components.size()); ++i)
        m_channels->change(m_components[i], [&](ChannelInfo& channel) {
            const auto cell = channel.type != nullptr ? kzCellOf(*channel.type, numbers[i]) : std::nullopt;
            if (!cell) throw KZe_INVALIDARG;
            channel.initial = *cell;
        });
    return KZe_OK;
}

}  // namespace

void CTypeChannels::refuseTwice(const std::string& name) const {
    const bool isOwn = std::ranges::find(m_channels, name, &ChannelInfo::name) != m_channels.end();
    if (isOwn || m_base.index(name) >= 0)
        throw kzBecause(KZe_ALREADYEXISTS, "AddChannel.NewChannel", [&] {
            return isOwn ? fmt::format("the type {} has a channel \"{}\" already", m_typeName, name)
                         : fmt::format("the type {} has the channel \"{}\" of {}", m_typeName, name, m_base.name);
        });
}

ChannelInfo& CTypeChannels::at(const std::string& name) {
    if (!m_isOpen)
        throw kzBecause(KZe_NOTAVAILABLE, "AddChannel",
                        [&] { return "the channels of the type " + m_typeName + " are fixed now"; });
    const auto place = std::ranges::find(m_channels, name, &ChannelInfo::name);
    if (place == m_channels.end()) throw KZe_NOTFOUND;
    return *place;
}

void CTypeChannels::add(ChannelInfo channel) {
    if (!m_isOpen) at(channel.name);
    refuseTwice(channel.name);
    m_channels.push_back(std::move(channel));
}

void CTypeChannels::replace(const std::string& name, std::vector<ChannelInfo> channels) {
    at(name);
    for (const ChannelInfo& each : channels) refuseTwice(each.name);
    const auto place = std::ranges::find(m_channels, name, &ChannelInfo::name);
    m_channels.insert(m_channels.erase(place), channels.begin(), channels.end());
}

std::vector<ChannelInfo> CTypeChannels::finish() {
    m_isOpen = false;
    return std::exchange(m_channels, {});
}

ChannelInfo kzNewChannel(std::string name, std::string_view type) {
    ChannelInfo channel;
    channel.name = std::move(name);
    if (channel.name.empty()) throw KZe_INVALIDARG;
    const auto* object = std::ranges::find(evaluatedTypes, type);
    if (type == KZsCHANEVAL_MATRIX) {
        channel.kind = ChannelKind::matrix;
    } else if (type == KZsTYPE_ITEM) {
        channel.kind = ChannelKind::itemReference;
        channel.type = kzFindType(KZsTYPE_STRING);
    } else if (object != std::end(evaluatedTypes)) {
        channel.kind = ChannelKind::object;
        channel.objectType = *object;
        channel.flags = KZfCHAN_READONLY | KZfCHAN_NOANIM;
    } else if (channel.type = kzFindType(type); channel.type == nullptr) {
        throw kzBecause(KZe_INVALIDARG, "Item.ChannelAdd", [&] {
            return kzThereIsNo("value type", type, kzValueTypes(), [](const auto& each) { return each.name; });
        });
    }
    if (channel.type != nullptr) channel.initial = kzEmptyCell(*channel.type);
    return channel;
}

IKzUnknown* kzMakeAddChannel(std::shared_ptr<NewChannels> channels, std::string channel) {
    return kzMakeObject<CAddChannel>(std::move(channels), std::move(channel));
}

IKzUnknown* kzMakeAddChannel(CHostRef<CItem> item, std::string channel) {
    return kzMakeAddChannel(std::make_shared<CItemChannels>(std::move(item)), std::move(channel));
}

}  // namespace kzhost
