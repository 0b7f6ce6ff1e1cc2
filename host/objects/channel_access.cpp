// What readers and writers of channels have in common, and the envelopes of channels.
#include "host/objects/channel_access.h"

#include "host/core/reasons.h"
#include "host/objects/envelope.h"
#include "host/state/readable_number.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kzhost {

CChannelAccess::CChannelAccess(CHostRef<CScene> scene, std::string action, double time)
    : m_scene(std::move(scene)), m_action(std::move(action)), m_time(time) {
    if (!std::isfinite(time)) throw KZe_INVALIDARG;
}

CItemReading CChannelAccess::at(IKzUnknown* item) const { return kzOwn<CItem>(item)->readIn(document()); }

std::int32_t CChannelAccess::named(IKzUnknown* item, const char* name) const {
    return kzChannelIndex(*at(item), kzTextOf(name));
}

const ChannelInfo& CChannelAccess::stored(const Item& item, std::int32_t channel) {
    const ChannelInfo& info = kzChannelAt(item, channel);
    if (info.type == nullptr)
        throw kzBecause(KZe_INVALIDARG, "Channels", [&] {
            return "the channel \"" + info.name + "\" has no plain value but is a " + info.evalType();
        });
    return info;
}

// An added action is told by its name, though the document knows it by its item.
KzResult CChannelAccess::giveAction(const char** action) const {
    const CReading reading(workspace());
    const Item* item = m_action.empty() || kzIsSceneAction(m_action) ? nullptr : document().byIdent(m_action);
    *action = m_action.empty() ? nullptr : kzLend(item != nullptr ? item->name : m_action);
    return KZe_OK;
}

KzResult CChannelAccess::setTime(double time) {
    if (!std::isfinite(time)) return KZe_INVALIDARG;
    m_time = time;
    return KZe_OK;
}

namespace {

std::string rangeOf(const ChannelInfo& info) {
    if (info.hints) return "only " + kzOneOf(info.hints->rows());
    if (!info.minimum) return fmt::format("only values up to {}", *info.maximum);
    if (!info.maximum) return fmt::format("only values from {}", *info.minimum);
    return fmt::format("only values from {} to {}", *info.minimum, *info.maximum);
}

KzResult refusal(KzResult code, const ChannelInfo& channel, const std::string& why) {
    return kzBecause(code, "ChannelWrite", [&] { return fmt::format("the channel \"{}\" {}", channel.name, why); });
}

}  // namespace

void kzCheckWrite(const ChannelInfo& channel, const KzCell& cell) {
    if ((channel.flags & (KZfCHAN_READONLY | KZfCHAN_LOCKED)) != 0)
        throw refusal(KZe_NOACCESS, channel, "cannot be written");
    const auto number = kzNumberOf(cell);
    if (!number) return;
    if (!std::isfinite(*number))
        throw refusal(KZe_INVALIDARG, channel, fmt::format("takes no {}", kzReadable(*number)));
    if ((channel.minimum || channel.maximum || channel.hints) && !channel.takes(*number))
        throw refusal(KZe_OUTOFBOUNDS, channel, fmt::format("takes no {}, {}", *number, rangeOf(channel)));
}

void kzCheckKeys(const Item& item, const ChannelInfo& channel, std::string_view action) {
    if ((channel.flags & (KZfCHAN_READONLY | KZfCHAN_LOCKED)) != 0)
        throw refusal(KZe_NOACCESS, channel, "cannot be written");
    if (channel.kind == ChannelKind::gradient && action == KZs_ACTIONLAYER_STATIC) return;
    if ((channel.flags & KZfCHAN_NOANIM) != 0) throw refusal(KZe_NOACCESS, channel, "takes no keys");
    if (!kzTakesKeys(item.document, action))
        throw refusal(KZe_NOACCESS, channel, fmt::format("takes no keys in the action \"{}\"", action));
    if (channel.type == nullptr || !kzNumberOf(channel.initial))
        throw refusal(KZe_INVALIDARG, channel, "is no number, and so it takes no keys");
}

void kzWriteChannel(Item& item, const ChannelInfo& channel, KzCell cell, CEdit& edit) {
    kzCheckWrite(channel, cell);
    edit.setValue(item, channel, std::move(cell));
}

std::string kzEnvelopeAction(const Item& item, const ChannelInfo& channel, std::string_view action) {
    if (channel.kind == ChannelKind::gradient) return KZs_ACTIONLAYER_STATIC;
    if (!action.empty()) return std::string(action);
    const ActionValue* keyed = kzKeyedAction(item, channel);
    return keyed != nullptr ? keyed->action : kzKeyAction(channel, {});
}

bool kzHasKeys(const Item& item, const ChannelInfo& channel, std::string_view action) {
    const auto curve = kzCurveOf(item, channel, kzEnvelopeAction(item, channel, action));
    return curve != nullptr && !curve->keys().empty();
}

namespace {

using Keys = CSharedList<EnvelopeKey>;

// How many keys at the start are the same, where one list has one key more than the other.
std::size_t commonKeys(const Keys& shorter, const Keys& longer) {
    std::size_t low = 0, high = shorter.size();
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (shorter[middle].id == longer[middle].id) low = middle + 1;
        else high = middle;
    }
    return low;
}

// Any other difference than that of one key counts as a change of the whole envelope.
KeyChange differenceOf(const EnvelopeData* before, const EnvelopeData& after) {
    using Kind = DocumentEvent::Kind;
    static const EnvelopeData none;
    const Keys &old = (before != nullptr ? *before : none).keys(), &keys = after.keys();
    const auto oneMore = [](const Keys& shorter, const Keys& longer, std::size_t at) {
        return at == shorter.size() || (shorter[at].id == longer[at + 1].id && shorter.back().id == longer.back().id);
    };
    if (keys.size() == old.size() + 1)
        if (const std::size_t at = commonKeys(old, keys); oneMore(old, keys, at))
            return {Kind::keyAdded, keys[at].time};
    if (keys.size() + 1 == old.size())
        if (const std::size_t at = commonKeys(keys, old); oneMore(keys, old, at))
            return {Kind::keyRemoved, old[at].time};
    KeyChange moved;
    for (std::size_t i = 0; keys.size() == old.size() && i < keys.size(); ++i) {
        if (keys[i].id != old[i].id || (moved.kind == Kind::keyMoved && keys[i].time != old[i].time)) return {};
        if (keys[i].time != old[i].time) moved = {Kind::keyMoved, keys[i].time, old[i].time};
    }
    return moved;
}

class CChannelEnvelope final : public EnvelopeHome {
public:
    CChannelEnvelope(CHostRef<CItem> item, ChannelRef channel, std::string action)
        : m_item(std::move(item)), m_channel(std::move(channel)), m_action(std::move(action)) {}

    std::shared_ptr<const EnvelopeData> read() const override {
        const auto item = m_item->read();
        if (auto curve = kzCurveOf(*item, *m_channel.channel, m_action)) return curve;
        return std::make_shared<EnvelopeData>(kzNewCurve(*m_channel.channel));
    }
    void write(std::shared_ptr<const EnvelopeData> data) override {
        CEdit edit(m_item->workspace());
        const auto item = m_item->read();
        if (!item->owns(*m_channel.channel)) throw KZe_NOTAVAILABLE;
        kzCheckKeys(*item, *m_channel.channel, m_action);
        const auto before = kzCurveOf(*item, *m_channel.channel, m_action);
        const KeyChange change = differenceOf(before.get(), *data);
        kzSetCurve(*item, *m_channel.channel, m_action, std::move(data), change, edit);
        edit.commit();
    }

private:
    CHostRef<CItem> m_item;
    ChannelRef m_channel;
    std::string m_action;
};

}  // namespace

std::shared_ptr<EnvelopeHome> kzChannelEnvelope(CHostRef<CItem> item, const ChannelRef& channel, std::string action) {
    return std::make_shared<CChannelEnvelope>(std::move(item), channel, std::move(action));
}

}  // namespace kzhost
