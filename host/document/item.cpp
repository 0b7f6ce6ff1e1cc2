// Items: their channels by index and name, and what they are called.
#include "host/document/item.h"

#include "host/document/change.h"

#include <algorithm>
#include <cctype>

namespace kzhost {

ItemAttachment::ItemAttachment() = default;
ItemAttachment::~ItemAttachment() = default;
std::unique_ptr<CChange> ItemAttachment::takeChange(const ItemRef& /*item*/) { return nullptr; }

const ChannelInfo* Item::channelAt(std::size_t index) const {
    if (index < type.channels.size()) return &type.channels[index];
    index -= type.channels.size();
    return index < userChannels.size() ? userChannels[index].get() : nullptr;
}

std::int32_t Item::findChannel(std::string_view wanted) const {
    if (const std::int32_t index = type.channelIndex(wanted); index >= 0) return index;
    for (std::size_t i = 0; i < userChannels.size(); ++i)
        if (userChannels[i]->name == wanted) return static_cast<std::int32_t>(type.channels.size() + i);
    return -1;
}

std::int32_t Item::indexOf(const ChannelInfo& channel) const {
    const ChannelInfo* first = type.channels.data();
    if (std::greater_equal<>()(&channel, first) && std::less<>()(&channel, first + type.channels.size()))
        return static_cast<std::int32_t>(&channel - first);
    const auto place = std::find_if(userChannels.begin(), userChannels.end(),
                                    [&](const auto& each) { return each.get() == &channel; });
    return place != userChannels.end()
               ? static_cast<std::int32_t>(type.channels.size() + static_cast<std::size_t>(place - userChannels.begin()))
               : -1;
}

const KzCell& Item::valueOf(const ChannelInfo& channel) const {
    const auto state = values.find(&channel);
    return state != values.end() && state->second.value ? *state->second.value : channel.initial;
}

std::string Item::baseName() const {
    if (!name.empty()) return name;
    std::string text = type.name;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

bool Item::isAbove(const Item& other) const {
    for (const Item* item = other.parent; item != nullptr; item = item->parent)
        if (item == this) return true;
    return false;
}

}  // namespace kzhost
