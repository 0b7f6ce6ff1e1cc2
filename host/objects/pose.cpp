// Poses: items that keep one value for each of some channels.
#include "host/core/reasons.h"
#include "host/document/animation.h"
#include "host/objects/channel_access.h"
#include "host/objects/scene.h"

#include "kz/action.h"
#include "kz/channel.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

namespace kzhost {

namespace {

class CPose final : public CHosted<"pose", CPose, CKzIfc_PoseItem> {
public:
    // The item keeps this object alive, and not the other way round.
    CPose(std::shared_ptr<CWorkspace> workspace, std::weak_ptr<Item> item)
        : m_workspace(std::move(workspace)), m_item(std::move(item)) {}

    KzResult poseitem_Actor(IKzUnknown** actor) override {
        const auto pose = read();
        const bool isActors = pose->parent != nullptr && &pose->parent->type == kzFindItemType(KZsITYPE_ACTOR);
        return kzGiveItem(isActors ? pose->parent : nullptr, actor);
    }
    std::uint32_t poseitem_ChannelCount() override {
        const auto pose = read();
        return static_cast<std::uint32_t>(channels(*pose).size());
    }
    KzResult poseitem_ChannelByIndex(std::uint32_t index, IKzUnknown** item, std::int32_t* channel) override {
        const auto pose = read();
        const auto [owner, info] = channelAt(*pose, index);
        *channel = owner->indexOf(*info);
        return kzGiveItem(owner.get(), item);
    }
    double poseitem_Value(std::uint32_t index) override {
        const auto pose = read();
        const auto& all = channels(*pose);
        return index < all.size() ? valueOf(*pose, all[index]) : 0;
    }
    KzResult poseitem_SetValue(std::uint32_t index, double value) override {
        CEdit edit(*m_workspace);
        const auto pose = read();
        const auto channel = channelAt(*pose, index);
        store(*pose, channel, value, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult poseitem_Capture(IKzUnknown* clip, double time) override {
        if (!std::isfinite(time)) return KZe_INVALIDARG;
        CEdit edit(*m_workspace);
        const auto pose = read();
        const std::string action = kzActionOf(clip, pose->document);
        ActionChannels taken = channels(*pose);
        if (taken.empty()) taken = kzActionChannels(pose->document, action);
        for (const auto& channel : taken)
            if (const auto number = kzNumberOf(kzStoredCell(*channel.first, *channel.second, time, action)))
                store(*pose, channel, *number, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult poseitem_Apply(IKzUnknown* clip, double time, double weight) override {
        if (!kzIsEnvelopeNumber(time) || !(weight >= 0 && weight <= 1)) return KZe_INVALIDARG;
        CEdit edit(*m_workspace);
        const auto pose = read();
        const std::string action = kzActionOf(clip, pose->document);
        if (weight == 0) return KZe_OK;
        for (const auto& channel : channels(*pose)) {
            const auto& [item, info] = channel;
            kzCheckKeys(*item, *info, action);
            const double before = kzNumberOf(kzStoredCell(*item, *info, time, action)).value_or(0);
            const double value = before + (valueOf(*pose, channel) - before) * weight;
            auto curve = kzCurveOf(*item, *info, action);
            auto keyed = std::make_shared<EnvelopeData>(curve != nullptr ? *curve : kzNewCurve(*info));
            keyed->add(time, value);
            kzSetCurve(*item, *info, action, std::move(keyed), {DocumentEvent::Kind::envelope, time}, edit);
        }
        edit.commit();
        return KZe_OK;
    }
    bool poseitem_IsMatch(IKzUnknown* channelRead, double tolerance) override {
        const CKzUser_ChannelRead reader(channelRead);
        if (!reader) throw KZe_INVALIDARG;
        struct Wanted {
            CHostRef<CItem> item;
            std::int32_t channel;
            double value;
        };
        std::vector<Wanted> all;
        {
            const auto pose = read();
            for (const auto& channel : channels(*pose))
                all.push_back(
                    {kzObjectOf(*channel.first), channel.first->indexOf(*channel.second), valueOf(*pose, channel)});
        }
        for (const Wanted& wanted : all) {  // a reader may run modules, so this is not done under the lock
            double value = 0;
            if (kzFailed(reader->Double(wanted.item.raw(), wanted.channel, &value))) return false;
            if (!(std::abs(value - wanted.value) <= tolerance)) return false;
        }
        return true;
    }

private:
    using Channel = ActionChannels::value_type;

    // Throws NOTAVAILABLE once the item has left its scene.
    CItemReading read() const {
        const CReading reading(*m_workspace);
        const ItemRef item = m_item.lock();
        if (item == nullptr || !item->isPresent) throw KZe_NOTAVAILABLE;
        return {*m_workspace, *item};
    }
    // As of the document's present state.
    const ActionChannels& channels(const Item& pose) {
        if (m_stamp != pose.document.stamp() || !m_isListed) {
            m_channels = kzActionChannels(pose.document, pose.ident);
            m_stamp = pose.document.stamp();
            m_isListed = true;
        }
        return m_channels;
    }
    Channel channelAt(const Item& pose, std::uint32_t index) {
        const auto& all = channels(pose);
        if (index >= all.size()) throw KZe_OUTOFBOUNDS;
        return all[index];
    }
    static double valueOf(const Item& pose, const Channel& channel) {
        return kzNumberOf(kzStoredCell(*channel.first, *channel.second, 0, pose.ident)).value_or(0);
    }
    static void store(const Item& pose, const Channel& channel, double value, CEdit& edit) {
        const auto& [item, info] = channel;
        const auto cell = info->type != nullptr ? kzCellOf(*info->type, value) : std::nullopt;
        if (!cell) throw KZe_INVALIDARG;
        kzCheckWrite(*info, *cell);
        kzSetAction(*item, *info, {pose.ident, *cell, nullptr}, edit);
    }

    const std::shared_ptr<CWorkspace> m_workspace;
    const std::weak_ptr<Item> m_item;
    ActionChannels m_channels;
    std::uint64_t m_stamp = 0;
    bool m_isListed = false;
};

}  // namespace

IKzUnknown* kzMakePose(const CHostRef<CItem>& item) {
    const auto own = item->readKept();
    return kzMakeObject<CPose>(item->workspace().shared_from_this(), own->weak_from_this());
}

}  // namespace kzhost
