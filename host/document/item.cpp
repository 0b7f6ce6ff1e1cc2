// Items: their channels by index and name, and what they are called.
#include "host/document/item.h"

#include "host/document/change.h"

#include <algorithm>
#include <cctype>

namespace kzhost {

ItemAttachment::ItemAttachment() = default;
ItemAttachment::~ItemAttachment() = default;
std::unique_ptr<CChange> ItemAttachment::takeChange(const ItemRef& /*item*/) { return nullptr; }
bool ItemAttachment::hasElement(const SelectionPacket& /*packet*/) { return false; }
void ItemAttachment::markElement(const SelectionPacket& /*packet*/, bool /*isSelected*/) {}

const ChannelInfo* Item::channelAt(std::size_t index) const {
    if (index < type.channels.size()) return &type.channels[index].get();
    index -= type.channels.size();
    return index < userChannels.size() ? userChannels[index].get() : nullptr;
}

std::int32_t Item::findChannel(std::string_view wanted) const {
    if (const std::int32_t index = type.index(wanted); index >= 0) return index;
    for (std::size_t i = 0; i < userChannels.size(); ++i)
        if (userChannels[i]->name == wanted || (userChannels[i]->vectorSize > 1 && userChannels[i]->vectorName() == wanted))
            return static_cast<std::int32_t>(type.channels.size() + i);
    return -1;
}

std::int32_t Item::indexOf(const ChannelInfo& channel) const {
    const std::int32_t index = findChannel(channel.name);
    return index >= 0 && channelAt(static_cast<std::size_t>(index)) == &channel ? index : -1;
}

const KzCell& Item::valueOf(const ChannelInfo& channel) const {
    const auto state = values.find(&channel);
    if (state != values.end() && state->second.value) return *state->second.value;
    if (source == nullptr) return channel.initial;
    const std::int32_t index = source->findChannel(channel.name);
    return index >= 0 ? source->valueOf(*source->channelAt(static_cast<std::size_t>(index))) : channel.initial;
}

std::string Item::baseName() const {
    if (!name.empty()) return name;
    if (const char* prefix = type.tag(KZs_ITEMTAG_PREFIX)) return prefix;
    std::string text = type.name;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

Item& Item::shapeOwner() {
    Item* owner = this;
    while (owner->source != nullptr) owner = owner->source;
    return *owner;
}

bool Item::isAbove(const Item& other) const {
    for (const Item* item = other.parent; item != nullptr; item = item->parent)
        if (item == this) return true;
    return false;
}

}  // namespace kzhost
