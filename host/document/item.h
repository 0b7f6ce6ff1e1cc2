// One item of a document as plain data: its name and place, its channels, tags and links.
#pragma once

#include "host/document/item_types.h"
#include "host/document/ordered_items.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace kzhost {

class CDocument;
class EnvelopeData;
struct Item;
using ItemRef = std::shared_ptr<Item>;

// What an action says about a channel: a value, or a curve over time.
struct ActionValue {
    std::string action;
    std::optional<KzCell> value;
    std::shared_ptr<const EnvelopeData> curve;
};

// What is stored for one channel. A channel of which nothing is stored has its default value.
struct ChannelState {
    std::optional<KzCell> value;  // without time
    std::vector<ActionValue> actions;

    bool empty() const noexcept { return !value && actions.empty(); }
};

// Whatever the floors above keep with an item: the object that stands for it, or its geometry.
struct ItemAttachment {
    ItemAttachment() = default;
    ItemAttachment(const ItemAttachment&) = delete;
    ItemAttachment& operator=(const ItemAttachment&) = delete;
    virtual ~ItemAttachment() = default;
    // For the copy of an item; null for what is not copied.
    virtual std::shared_ptr<ItemAttachment> copy() const { return nullptr; }
};

// What modules keep with an item of a type that they have added.
struct ModuleState {
    struct Data {
        std::uint32_t version = 0;
        std::string bytes;
    };
    // As last written or read, by the name of the server; without bytes there are none. A step of the history that takes a
    // package away shares the data with the instance, which may write them when the package has gone.
    std::map<std::string, std::shared_ptr<Data>, std::less<>> data;
    std::string name;              // what a module calls an item that has no name
    std::weak_ptr<Item> original;  // that a new item is a copy of
    bool hadInstance = false;
    std::set<std::string, std::less<>> hadPackages;  // that have had an instance since the item is here
    std::uint32_t refusal = 0;                       // the code with which a module failed to complete the item
};

// A link from one item to another in a graph of items. Each end keeps its links in order.
struct ItemLinks {
    std::vector<Item*> forward, reverse;
};

// A link from a channel of one item to a channel of another.
struct ChannelLink {
    Item* source;
    const ChannelInfo* sourceChannel;
    Item* target;
    const ChannelInfo* targetChannel;
    std::map<std::string, std::string> attributes;

    bool joins(const ChannelLink& other) const {
        return source == other.source && sourceChannel == other.sourceChannel && target == other.target &&
               targetChannel == other.targetChannel;
    }
};

// A channel that is a member of a group; seen from the channel, the group in which it is.
struct ChannelMember {
    Item* item;
    const ChannelInfo* channel;
    bool operator==(const ChannelMember&) const = default;
};

// Whatever the floors above keep with a document, until it is closed.
struct DocumentAttachment {
    DocumentAttachment() = default;
    DocumentAttachment(const DocumentAttachment&) = delete;
    DocumentAttachment& operator=(const DocumentAttachment&) = delete;
    virtual ~DocumentAttachment() = default;
    virtual void clear() = 0;
};

struct Item : std::enable_shared_from_this<Item> {
    Item(CDocument& document, const ItemType& type, std::string ident, std::int64_t serial)
        : document(document), type(type), ident(std::move(ident)), serial(serial) {}

    CDocument& document;
    const ItemType& type;
    // What every reading of a channel looks at stands side by side: among many items, each further line of the cache costs
    // more than all the rest of the reading.
    bool isPresent = false;
    Item* source = nullptr;                                  // the item that this is an instance of
    std::vector<std::shared_ptr<ChannelInfo>> userChannels;  // those of packages, too
    std::vector<std::shared_ptr<ChannelLink>> inputs;
    std::unordered_map<const ChannelInfo*, ChannelState> values;

    const std::string ident;
    std::int64_t serial;      // the order of creation
    std::uint64_t stamp = 0;  // that of the document when anything about the item last changed

    std::string name;          // given by the user; empty without one
    std::uint32_t number = 0;  // tells items of one name apart; 1 is not shown

    std::int64_t siblingKey = 0;
    Item* parent = nullptr;
    COrderedItems<&Item::siblingKey> children;

    std::vector<std::string> packages;  // that the item has been given, in that order
    std::map<std::uint32_t, std::string> tags;
    std::uint32_t flags = KZfITEM_VISIBLE | KZfITEM_SELECTABLE | KZfITEM_RENDERABLE;
    std::vector<Item*> instances;

    std::map<std::string, ItemLinks, std::less<>> links;  // by the name of the graph
    std::vector<std::shared_ptr<ChannelLink>> outputs;
    std::vector<ChannelMember> channelMembers;  // of a group
    std::vector<ChannelMember> channelGroups;   // the groups that have channels of this item

    ModuleState modules;

    std::string uniqueName;                    // as shown; beside the object, as looking the item up reads both
    std::unique_ptr<ItemAttachment> object;    // goes last: it may hold what stands for the item
    std::shared_ptr<ItemAttachment> geometry;  // of a mesh

    std::size_t channelCount() const { return type.channels.size() + userChannels.size(); }
    // Null past the end.
    const ChannelInfo* channelAt(std::size_t index) const;
    // -1 if there is none.
    std::int32_t findChannel(std::string_view wanted) const;
    const ChannelInfo* channel(std::string_view wanted) const;  // null if there is none
    std::int32_t indexOf(const ChannelInfo& channel) const;
    bool owns(const ChannelInfo& channel) const { return indexOf(channel) >= 0; }
    // What is stored for a channel, null if nothing is. Of an instance that has nothing itself, that of its source.
    const ChannelState* stateOf(const ChannelInfo& channel) const;
    // The value without time.
    const KzCell& valueOf(const ChannelInfo& channel) const;
    // The name, or else what a module calls the item, or the type's title.
    std::string baseName() const;
    bool isAbove(const Item& other) const;
    // The item that has the geometry: the source of an instance, else the item itself.
    Item& shapeOwner();
};

// Whether the item is an action: a clip or a pose.
bool kzIsActionItem(const Item& item);

}  // namespace kzhost
