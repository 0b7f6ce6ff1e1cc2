// Copies of items.
#include "host/document/duplicate.h"

#include "host/document/graphs.h"

#include "kz/scene_graph.h"

#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Originals and their copies.
using Copies = std::unordered_map<const Item*, Item*>;

// The channel of the copy that stands for a channel of the original.
const ChannelInfo& counterpart(const Item& original, const ChannelInfo& channel, const Item& copy) {
    return *copy.channelAt(static_cast<std::size_t>(original.indexOf(channel)));
}

Item& copyOf(Item& source, CEdit& edit) {
    Item& copy = edit.add(source.document, source.type);
    if (!source.name.empty()) edit.rename(copy, source.name);
    if (source.flags != copy.flags) edit.setFlags(copy, source.flags);
    for (const auto& [code, text] : source.tags) edit.setTag(copy, code, text);
    for (const auto& channel : source.userChannels) edit.addChannel(copy, *channel);
    for (const auto& [channel, state] : source.values)
        edit.setChannel(copy, counterpart(source, *channel, copy), state);
    copy.modules.data = source.modules.data;
    copy.modules.original = source.weak_from_this();
    if (source.geometry != nullptr) copy.geometry = source.geometry->copy();
    return copy;
}

void copyLinks(const Copies& copies, CEdit& edit) {
    const auto find = [&](const Item* original) {
        const auto entry = copies.find(original);
        return entry != copies.end() ? entry->second : nullptr;
    };
    for (const auto& [original, copy] : copies) {
        for (const auto& [name, links] : original->links) {
            const GraphInfo* graph = kzFindGraph(name);
            if (graph == nullptr || (graph->flags & KZfGRAPH_COPY) == 0) continue;
            for (const Item* target : links.forward)
                if (Item* other = find(target)) edit.link(name, *copy, CEdit::last, *other, CEdit::last);
        }
        for (const auto& link : original->outputs)
            if (Item* other = find(link->target))
                edit.linkChannels(*copy, counterpart(*original, *link->sourceChannel, *copy), *other,
                                  counterpart(*link->target, *link->targetChannel, *other));
    }
}

}  // namespace

Item& kzDuplicate(Item& source, bool deep, CEdit& edit) {
    Copies copies;
    std::vector<std::pair<Item*, Item*>> open;  // originals, and the parents of their copies
    Item& top = copyOf(source, edit);
    copies.emplace(&source, &top);
    edit.place(top, source.parent, source.document.siblingsOf(source).positionOf(source) + 1);
    if (deep) source.children.each([&](Item& child) { open.emplace_back(&child, &top); });
    for (std::size_t i = 0; i < open.size(); ++i) {
        const auto [original, parent] = open[i];
        Item& copy = copyOf(*original, edit);
        copies.emplace(original, &copy);
        edit.place(copy, parent, CEdit::last);
        original->children.each([&](Item& child) { open.emplace_back(&child, &copy); });
    }
    copyLinks(copies, edit);
    return top;
}

}  // namespace kzhost
