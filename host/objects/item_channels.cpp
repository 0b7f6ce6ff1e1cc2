// The channels of an item's object: by index and name, added and removed.
#include "host/objects/item.h"

#include "host/core/reasons.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <utility>

namespace kzhost {

const ChannelInfo& kzChannelAt(const Item& item, std::int32_t index) {
    const ChannelInfo* channel = index >= 0 ? item.channelAt(static_cast<std::size_t>(index)) : nullptr;
    if (channel == nullptr)
        throw kzBecause(KZe_OUTOFBOUNDS, "Item.Channel", [&] {
            return fmt::format("there is no channel {}; \"{}\" has {}", index, item.uniqueName, item.channelCount());
        });
    return *channel;
}

std::int32_t kzChannelIndex(const Item& item, std::string_view name) {
    const std::int32_t index = item.findChannel(name);
    if (index < 0)
        throw kzBecause(KZe_NOTFOUND, "Item.ChannelLookup", [&] {
            std::vector<std::string> names;
            for (std::size_t at = 0; at < item.channelCount(); at++) names.push_back(item.channelAt(at)->name);
            return kzThereIsNo("channel", name, names);
        });
    return index;
}

void kzAddChannel(Item& item, ChannelInfo channel, CEdit& edit) {
    if (item.findChannel(channel.name) >= 0)
        throw kzBecause(KZe_ALREADYEXISTS, "Item.ChannelAdd", [&] {
            return fmt::format("\"{}\" has a channel \"{}\" already", item.uniqueName, channel.name);
        });
    channel.flags |= KZfCHAN_USER;
    edit.addChannel(item, std::move(channel));
}

std::uint32_t CItem::item_ChannelCount() { return static_cast<std::uint32_t>(read()->channelCount()); }

KzResult CItem::item_ChannelLookup(const char* name, std::int32_t* channel) {
    *channel = kzChannelIndex(*read(), kzTextOf(name));
    return KZe_OK;
}

KzResult CItem::item_ChannelByIndex(std::int32_t channel, IKzUnknown** itemChannel) {
    kzChannelAt(*read(), channel);
    *itemChannel = kzMakeItemChannel(self(), channel);
    return KZe_OK;
}

KzResult CItem::item_ChannelName(std::int32_t channel, const char** name) {
    *name = kzLend(kzChannelAt(*read(), channel).name);
    return KZe_OK;
}

KzResult CItem::item_ChannelPackage(std::int32_t channel, const char** package) {
    const auto item = read();
    const ChannelInfo& info = kzChannelAt(*item, channel);
    *package = !info.package.empty()              ? kzLend(info.package)
               : (info.flags & KZfCHAN_USER) != 0 ? KZs_CHANPKG_USER
                                                  : nullptr;
    return KZe_OK;
}

KzResult CItem::item_ChannelAdd(const char* name, const char* type, IKzUnknown** description) {
    CEdit edit(*m_workspace);
    kzAddChannel(*read(), kzNewChannel(kzString(name), kzTextOf(type)), edit);
    edit.commit();
    *description = kzMakeAddChannel(self(), name);
    return KZe_OK;
}

KzResult CItem::item_ChannelRemove(const char* name) {
    CEdit edit(*m_workspace);
    const auto item = read();
    const ChannelInfo& channel = kzChannelAt(*item, kzChannelIndex(*item, kzTextOf(name)));
    if ((channel.flags & KZfCHAN_USER) == 0)
        return kzBecause(KZe_NOACCESS, "Item.ChannelRemove", [&] {
            return channel.package.empty()
                       ? fmt::format("the channel \"{}\" belongs to the type {}", channel.name, m_type.name)
                       : fmt::format("the channel \"{}\" belongs to the package {}", channel.name, channel.package);
        });
    edit.removeChannel(*item, channel);
    edit.commit();
    return KZe_OK;
}

}  // namespace kzhost
