// Items: their channels by index and name, and what they are called.
#include "host/document/item.h"

#include "kz/action.h"

#include <algorithm>
#include <cctype>

namespace kzhost {

const ChannelInfo* Item::channelAt(std::size_t index) const {
    if (index < type.channels.size()) return &type.channels[index].get();
    index -= type.channels.size();
    return index < userChannels.size() ? userChannels[index].get() : nullptr;
}

std::int32_t Item::findChannel(std::string_view wanted) const {
    if (const std::int32_t index = type.index(wanted); index >= 0) return index;
    for (std::size_t i = 0; i < userChannels.size(); ++i)
        if (userChannels[i]->name == wanted ||
            (userChannels[i]->vectorSize > 1 && userChannels[i]->vectorName() == wanted))
            return static_cast<std::int32_t>(type.channels.size() + i);
    return -1;
}

const ChannelInfo* Item::channel(std::string_view wanted) const {
    const std::int32_t index = findChannel(wanted);
    return index >= 0 ? channelAt(static_cast<std::size_t>(index)) : nullptr;
}

std::int32_t Item::indexOf(const ChannelInfo& channel) const {
    const std::int32_t index = findChannel(channel.name);
    return index >= 0 && channelAt(static_cast<std::size_t>(index)) == &channel ? index : -1;
}

const ChannelState* Item::stateOf(const ChannelInfo& channel) const {
    const ChannelInfo* wanted = &channel;
    for (const Item* item = this; wanted != nullptr && wanted->type == channel.type;
         wanted = item->channel(channel.name)) {
        if (const auto state = item->values.find(wanted); state != item->values.end()) return &state->second;
        item = item->source;
        if (item == nullptr) break;
    }
    return nullptr;
}

const KzCell& Item::valueOf(const ChannelInfo& channel) const {
    const ChannelState* state = stateOf(channel);
    return state != nullptr && state->value ? *state->value : channel.initial;
}

std::string Item::baseName() const {
    if (!name.empty()) return name;
    if (!modules.name.empty()) return modules.name;
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

bool kzIsActionItem(const Item& item) {
    static const ItemType* const clip = kzFindItemType(KZsITYPE_ACTIONCLIP);
    static const ItemType* const pose = kzFindItemType(KZsITYPE_ACTIONPOSE);
    return &item.type == clip || &item.type == pose;
}

}  // namespace kzhost
