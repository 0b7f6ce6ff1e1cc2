// The changes of links among items and channels, and of the channels that groups have.
#include "host/document/edit.h"
#include "host/document/referenced.h"

#include "kz/scene_graph.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;

void insertAt(std::vector<Item*>& list, std::size_t index, Item* item) {
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(std::min(index, list.size())), item);
}

// Where it was. What came last is found first, as it is when many links are undone.
std::size_t takeFrom(std::vector<Item*>& list, const Item* item) {
    const auto place = std::prev(std::find(list.rbegin(), list.rend(), item).base());
    const auto index = static_cast<std::size_t>(place - list.begin());
    list.erase(place);
    return index;
}

// A link of a graph of items, with its place among the links of either end.
struct LinkPresence {
    std::string graph;
    ItemRef source, target;
    std::size_t sourceIndex, targetIndex;
    bool adds;

    void operator()(Direction direction, DocumentEvents& events) {
        const bool isAdded = adds == (direction == Direction::forward);
        auto& forward = source->links[graph].forward;
        auto& reverse = target->links[graph].reverse;
        if (isAdded) {
            insertAt(forward, sourceIndex, target.get());
            insertAt(reverse, targetIndex, source.get());
        } else {
            sourceIndex = takeFrom(forward, target.get());
            targetIndex = takeFrom(reverse, source.get());
        }
        for (Item* end : {source.get(), target.get()}) {
            const auto links = end->links.find(graph);
            if (links != end->links.end() && links->second.forward.empty() && links->second.reverse.empty())
                end->links.erase(links);
        }
        events.push_back({.kind = isAdded ? Kind::linkAdded : Kind::linkRemoved,
                          .document = &source->document,
                          .item = source,
                          .other = target,
                          .text = graph});
    }
};

struct LinkPlace {
    std::string graph;
    ItemRef source, target;
    std::size_t sourceIndex, targetIndex;

    void operator()(Direction /*direction*/, DocumentEvents& events) {
        auto& forward = source->links[graph].forward;
        auto& reverse = target->links[graph].reverse;
        const std::size_t place = takeFrom(forward, target.get());
        insertAt(forward, std::exchange(sourceIndex, place), target.get());
        insertAt(reverse, std::exchange(targetIndex, takeFrom(reverse, source.get())), source.get());
        const auto now = std::find(forward.begin(), forward.end(), target.get()) - forward.begin();
        events.push_back({.kind = Kind::linkMoved,
                          .document = &source->document,
                          .item = source,
                          .other = target,
                          .text = graph,
                          .first = now});
    }
};

}  // namespace

void CEdit::link(std::string graph, Item& source, std::size_t sourceIndex, Item& target, std::size_t targetIndex) {
    kzDemandOwn(source, "linked");
    kzDemandOwn(target, "linked");
    make(&source.document, LinkPresence{std::move(graph), source.shared_from_this(), target.shared_from_this(),
                                        sourceIndex, targetIndex, true});
}

void CEdit::moveLink(const std::string& graph, Item& source, std::size_t sourceIndex, Item& target,
                     std::size_t targetIndex) {
    kzDemandOwn(source, "linked");
    kzDemandOwn(target, "linked");
    make(&source.document,
         LinkPlace{graph, source.shared_from_this(), target.shared_from_this(), sourceIndex, targetIndex});
}

void CEdit::unlink(const std::string& graph, Item& source, Item& target) {
    kzDemandOwn(source, "linked");
    kzDemandOwn(target, "linked");
    m_workspace.m_selection.dropLink(source, target, graph, *this);
    make(&source.document, LinkPresence{graph, source.shared_from_this(), target.shared_from_this(), 0, 0, false});
}

void CEdit::unlinkAll(const std::string& graph, Item& item) {
    const auto links = [&]() -> const ItemLinks* {
        const auto entry = item.links.find(graph);
        return entry != item.links.end() ? &entry->second : nullptr;
    };
    while (links() != nullptr && !links()->forward.empty()) unlink(graph, item, *links()->forward.back());
    while (links() != nullptr && !links()->reverse.empty()) unlink(graph, *links()->reverse.back(), item);
}

namespace {

struct ChannelLinkPresence {
    std::shared_ptr<ChannelLink> link;
    ItemRef source, target;
    std::size_t outputIndex, inputIndex;
    bool adds;

    using Links = std::vector<std::shared_ptr<ChannelLink>>;
    static void insert(Links& links, std::size_t index, const std::shared_ptr<ChannelLink>& link) {
        links.insert(links.begin() + static_cast<std::ptrdiff_t>(std::min(index, links.size())), link);
    }
    static std::size_t erase(Links& links, const std::shared_ptr<ChannelLink>& link) {
        const auto place = std::find(links.begin(), links.end(), link);
        const auto index = static_cast<std::size_t>(place - links.begin());
        if (place != links.end()) links.erase(place);
        return index;
    }
    void operator()(Direction direction, DocumentEvents& events) {
        const bool isAdded = adds == (direction == Direction::forward);
        if (isAdded) {
            insert(source->outputs, outputIndex, link);
            insert(target->inputs, inputIndex, link);
        } else {
            outputIndex = erase(source->outputs, link);
            inputIndex = erase(target->inputs, link);
        }
        events.push_back({.kind = isAdded ? Kind::channelLinkAdded : Kind::channelLinkRemoved,
                          .document = &source->document,
                          .item = source,
                          .other = target,
                          .text = KZsGRAPH_CHANLINKS,
                          .first = source->indexOf(*link->sourceChannel),
                          .second = target->indexOf(*link->targetChannel)});
    }
};

}  // namespace

ChannelLink& CEdit::linkChannels(Item& source, const ChannelInfo& sourceChannel, Item& target,
                                 const ChannelInfo& targetChannel, std::size_t targetIndex) {
    kzDemandOwn(source, "linked");
    kzDemandOwn(target, "linked");
    auto link = std::make_shared<ChannelLink>(ChannelLink{&source, &sourceChannel, &target, &targetChannel, {}});
    make(&source.document,
         ChannelLinkPresence{link, source.shared_from_this(), target.shared_from_this(), last, targetIndex, true});
    return *link;
}

void CEdit::unlinkChannels(ChannelLink& link) {
    kzDemandOwn(*link.source, "linked");
    kzDemandOwn(*link.target, "linked");
    m_workspace.m_selection.dropLink(*link.source, *link.target, kzLinkText(link), *this);
    const auto owned = std::find_if(link.source->outputs.begin(), link.source->outputs.end(),
                                    [&](const auto& each) { return each.get() == &link; });
    make(&link.source->document,
         ChannelLinkPresence{*owned, link.source->shared_from_this(), link.target->shared_from_this(), 0, 0, false});
}

void CEdit::setAttribute(ChannelLink& link, const std::string& name, std::optional<std::string> value) {
    kzDemandOwn(*link.source, "linked");
    kzDemandOwn(*link.target, "linked");
    const auto owned = std::find_if(link.source->outputs.begin(), link.source->outputs.end(),
                                    [&](const auto& each) { return each.get() == &link; });
    make(&link.source->document, [link = *owned, source = link.source->shared_from_this(), name,
                                  value = std::move(value)](Direction, DocumentEvents& /*events*/) mutable {
        std::optional<std::string> before;
        if (const auto entry = link->attributes.find(name); entry != link->attributes.end())
            before = std::move(entry->second);
        if (value) link->attributes[name] = std::move(*value);
        else link->attributes.erase(name);
        value = std::move(before);
    });
}

namespace {

// A channel's membership, with its place in the group.
struct MemberPresence {
    ItemRef group, item;
    const ChannelInfo* channel;
    std::size_t index;
    bool adds;

    void operator()(Direction direction, DocumentEvents& events) {
        const ChannelMember member{item.get(), channel};
        auto& members = group->channelMembers;
        if (adds == (direction == Direction::forward)) {
            members.insert(members.begin() + static_cast<std::ptrdiff_t>(std::min(index, members.size())), member);
            item->channelGroups.push_back({group.get(), channel});
        } else {
            const auto place = std::find(members.begin(), members.end(), member);
            index = static_cast<std::size_t>(place - members.begin());
            members.erase(place);
            std::erase(item->channelGroups, ChannelMember{group.get(), channel});
        }
        events.push_back({.kind = Kind::groupMembers, .document = &group->document, .item = group});
    }
};

}  // namespace

void CEdit::addMember(Item& group, Item& item, const ChannelInfo& channel) {
    kzDemandOwn(item, "grouped");
    kzDemandOwn(group, "given members");
    make(&group.document, MemberPresence{group.shared_from_this(), item.shared_from_this(), &channel, last, true});
}

void CEdit::removeMember(Item& group, Item& item, const ChannelInfo& channel) {
    kzDemandOwn(item, "grouped");
    kzDemandOwn(group, "given members");
    make(&group.document, MemberPresence{group.shared_from_this(), item.shared_from_this(), &channel, 0, false});
}

}  // namespace kzhost
