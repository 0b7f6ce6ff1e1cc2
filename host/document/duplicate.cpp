// Copies of items.
#include "host/document/duplicate.h"

#include "host/core/reasons.h"
#include "host/document/animation.h"
#include "host/document/graphs.h"
#include "host/document/referenced.h"

#include "kz/result.h"
#include "kz/scene.h"
#include "kz/scene_graph.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
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

// Reports the first failure of what cannot be copied as asked.
std::string identFor(const Item& source, CDocument& target, bool keepsIdent) {
    if (!keepsIdent) return {};
    if (target.byIdent(source.ident) != nullptr)
        throw kzBecause(KZe_ALREADYEXISTS, "ItemCollection.Duplicate",
                        [&] { return "the scene has an item with the identifier \"" + source.ident + "\" already"; });
    return source.ident;
}

// An instance has what its source has, until something is set on it. Its copy is one, too, in the same document.
Item& copyOf(Item& source, CDocument& target, std::uint32_t flags, CEdit& edit) {
    const bool isInstance = (flags & KZfITEMCOPY_INSTANCE) != 0;
    Item& copy = edit.add(target, source.type, identFor(source, target, (flags & KZfITEMCOPY_KEEPIDENT) != 0));
    if (!source.name.empty()) edit.rename(copy, source.name);
    const std::uint32_t ownFlags = source.flags & ~static_cast<std::uint32_t>(KZfITEM_REFERENCE);
    if (ownFlags != copy.flags) edit.setFlags(copy, ownFlags);
    for (const auto& [code, text] : source.tags) edit.setTag(copy, code, text);
    for (const auto& channel : source.userChannels) edit.addChannel(copy, *channel);
    copy.packages = source.packages;
    Item* shown = isInstance ? &source : &source.document == &target ? source.source : nullptr;
    if (shown != nullptr) edit.setSource(copy, shown);
    for (const auto& [package, data] : source.modules.data)
        copy.modules.data[package] = std::make_shared<ModuleState::Data>(*data);
    copy.modules.original = source.weak_from_this();
    if (isInstance) return copy;
    for (const Item* layer = &source; layer != shown; layer = layer->source)
        for (auto [channel, state] : layer->values) {
            const ChannelInfo* own = copy.channel(channel->name);
            if (own == nullptr || own->type != channel->type || copy.values.contains(own)) continue;
            if ((flags & KZfITEMCOPY_ANIMATION) == 0)
                std::erase_if(state.actions, [](const ActionValue& each) { return each.curve != nullptr; });
            if (!state.empty()) edit.setChannel(copy, *own, std::move(state));
        }
    if (const auto& geometry = source.shapeOwner().geometry; geometry != nullptr && shown == nullptr)
        copy.geometry = geometry->copy();
    return copy;
}

// The copy of an item of another scene is the document's own, so it cannot be below such an item.
Item* ownParent(const Item& source) {
    Item* parent = source.parent;
    while (parent != nullptr && kzIsReferenced(*parent)) parent = parent->parent;
    return parent;
}

// The copy of a reference brings the items of the other scene by itself, once it is loaded.
bool comesAlong(const Item& item, const std::unordered_set<const Item*>& copied) {
    for (const Item* each = &item; each != nullptr && kzIsReferenced(*each); each = each->parent)
        if (const Item* above = each->parent;
            above != nullptr && copied.contains(above) && std::string_view(above->type.name) == KZsITYPE_REFERENCE)
            return true;
    return false;
}

Item* find(const Copies& copies, const Item* original) {
    const auto entry = copies.find(original);
    return entry != copies.end() ? entry->second : nullptr;
}

void copyLinks(const Item& original, Item& copy, const Copies& copies, CEdit& edit) {
    for (const auto& [name, links] : original.links) {
        const GraphInfo* graph = kzFindGraph(name);
        if (graph == nullptr || (graph->flags & KZfGRAPH_COPY) == 0) continue;
        for (const Item* target : links.forward)
            if (Item* other = find(copies, target)) edit.link(name, copy, CEdit::last, *other, CEdit::last);
    }
    for (const auto& link : original.outputs)
        if (Item* other = find(copies, link->target))
            edit.linkChannels(copy, counterpart(original, *link->sourceChannel, copy), *other,
                              counterpart(*link->target, *link->targetChannel, *other));
    for (const ChannelMember& member : original.channelMembers)
        if (Item* other = find(copies, member.item))
            edit.addMember(copy, *other, counterpart(*member.item, *member.channel, *other));
}

// Channels that name a copied item name its copy.
void copyReferences(Item& copy, const std::unordered_map<std::string_view, Item*>& byIdent, CEdit& edit) {
    std::vector<std::pair<const ChannelInfo*, std::string>> changes;
    for (const auto& [channel, state] : copy.values) {
        if (channel->kind != ChannelKind::itemReference || !state.value) continue;
        const auto* ident = std::get_if<std::string>(&*state.value);
        const auto entry = ident != nullptr ? byIdent.find(*ident) : byIdent.end();
        if (entry != byIdent.end()) changes.emplace_back(channel, entry->second->ident);
    }
    for (auto& [channel, ident] : changes) edit.setValue(copy, *channel, KzCell(std::move(ident)));
}

// Actions that are copied, too, are named by their copies. Those of another document that are not are left out.
void copyActions(const Item& original, Item& copy, const Copies& copies, CEdit& edit) {
    std::vector<std::pair<const ChannelInfo*, ChannelState>> changes;
    for (const auto& [channel, state] : copy.values) {
        ChannelState changed = state;
        bool isChanged = false;
        for (auto each = changed.actions.begin(); each != changed.actions.end();) {
            const Item* action = kzIsSceneAction(each->action) ? nullptr : original.document.byIdent(each->action);
            const Item* copied = action != nullptr ? find(copies, action) : nullptr;
            const bool isLost = copied == nullptr && &original.document != &copy.document;
            isChanged = isChanged || copied != nullptr || (isLost && !kzIsSceneAction(each->action));
            if (copied != nullptr) each->action = copied->ident;
            if (isLost && !kzIsSceneAction(each->action)) each = changed.actions.erase(each);
            else ++each;
        }
        if (isChanged) changes.emplace_back(channel, std::move(changed));
    }
    for (auto& [channel, state] : changes) edit.setChannel(copy, *channel, std::move(state));
}

void joinGroups(const Item& original, Item& copy, const Copies& copies, CEdit& edit) {
    if (&original.document != &copy.document) return;
    const std::vector<Item*> groups = kzLinksOf(original, KZsGRAPH_GROUPS).reverse;
    for (Item* group : groups)
        if (find(copies, group) == nullptr) edit.link(KZsGRAPH_GROUPS, *group, CEdit::last, copy, CEdit::last);
}

void finish(const std::vector<std::pair<Item*, Item*>>& pairs, const Copies& copies, std::uint32_t flags, CEdit& edit) {
    std::unordered_map<std::string_view, Item*> byIdent;
    for (const auto& [original, copy] : pairs) byIdent.emplace(original->ident, copy);
    for (const auto& [original, copy] : pairs) {
        copyReferences(*copy, byIdent, edit);
        copyActions(*original, *copy, copies, edit);
        if ((flags & KZfITEMCOPY_LINKS) != 0) copyLinks(*original, *copy, copies, edit);
        if ((flags & KZfITEMCOPY_GROUPS) != 0) joinGroups(*original, *copy, copies, edit);
    }
}

}  // namespace

Item& kzDuplicate(Item& source, bool deep, CEdit& edit) {
    constexpr std::uint32_t flags = KZfITEMCOPY_LINKS | KZfITEMCOPY_ANIMATION;
    const std::uint32_t below = deep ? KZfITEMCOPY_CHILDREN : 0;
    Item& top = *kzDuplicateAll({&source}, source.document, flags | below, edit).front();
    edit.place(top, ownParent(source), source.document.siblingsOf(source).positionOf(source) + 1);
    return top;
}

std::vector<Item*> kzDuplicateAll(const std::vector<Item*>& sources, CDocument& target, std::uint32_t flags,
                                  CEdit& edit) {
    std::vector<Item*> originals;
    for (Item* source : sources) {
        if (source->type.number == KZiITYPE_ROOT) continue;
        if ((flags & KZfITEMCOPY_INSTANCE) != 0 && &source->document != &target)
            throw kzBecause(KZe_INVALIDARG, "ItemCollection.Duplicate",
                            [] { return "an instance is in the scene of its source"; });
        originals.push_back(source);
    }
    std::unordered_set<const Item*> known(originals.begin(), originals.end());
    if ((flags & KZfITEMCOPY_CHILDREN) != 0)
        for (std::size_t i = 0; i < originals.size(); ++i)
            originals[i]->children.each([&](Item& child) {
                if (known.insert(&child).second) originals.push_back(&child);
            });
    std::erase_if(originals, [&](const Item* each) { return comesAlong(*each, known); });
    Copies copies;
    std::vector<std::pair<Item*, Item*>> pairs;
    std::vector<Item*> made;
    for (Item* original : originals) {
        made.push_back(&copyOf(*original, target, flags, edit));
        copies.emplace(original, made.back());
        pairs.emplace_back(original, made.back());
    }
    for (const auto& [original, copy] : pairs) {
        Item* parent = find(copies, original->parent);
        if (parent == nullptr && &original->document == &target) parent = ownParent(*original);
        if (parent != nullptr) edit.place(*copy, parent, CEdit::last);
    }
    finish(pairs, copies, flags, edit);
    return made;
}

}  // namespace kzhost
