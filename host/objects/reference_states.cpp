// What references keep: the scene that nobody sees, and what was changed of its items.
#include "host/document/referenced.h"
#include "host/objects/item.h"
#include "host/objects/references.h"
#include "host/objects/scene_file.h"
#include "host/objects/spent_scenes.h"

#include "kz/scene.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace kzhost {

ReferenceState::~ReferenceState() {
    if (scene && spent != nullptr) spent->add(std::move(scene));
}

std::shared_ptr<ItemAttachment> ReferenceState::copy() const {
    auto copied = std::make_shared<ReferenceState>();
    copied->kept = item != nullptr ? kzChangesKept(*item) : kept;
    return copied;
}

ReferenceState* kzReferenceOf(const Item& item) {
    if (std::string_view(item.type.name) != KZsITYPE_REFERENCE || kzIsReferenced(item)) return nullptr;
    return dynamic_cast<ReferenceState*>(item.geometry.get());
}

Item* kzReferenceAbove(const Item& item) {
    if (!kzIsReferenced(item)) return nullptr;
    Item* above = item.parent;
    while (above != nullptr && kzIsReferenced(*above)) above = above->parent;
    return above;
}

bool kzKeepOverride(Item& reference, const std::string& ident, const std::string& text) {
    if (reference.geometry == nullptr) reference.geometry = std::make_shared<ReferenceState>();
    return static_cast<ReferenceState&>(*reference.geometry).kept.emplace(ident, text).second;
}

std::vector<Item*> kzReferencesIn(const CDocument& document) {
    std::vector<Item*> references;
    document.each(kzFindItemType(KZsITYPE_REFERENCE)->number, [&](Item& item) {
        if (!kzIsReferenced(item)) references.push_back(&item);
    });
    return references;
}

namespace {

// What is stored in the referring document, as the other scene would name it: identifiers of its items begin with the
// reference's here.
ChannelState asInSource(ChannelState state, const ChannelInfo& info, std::string_view prefix) {
    const auto strip = [&](std::string& text) {
        if (text.starts_with(prefix)) text.erase(0, prefix.size());
    };
    if (auto* text = state.value ? std::get_if<std::string>(&*state.value) : nullptr;
        text != nullptr && info.kind == ChannelKind::itemReference)
        strip(*text);
    for (ActionValue& each : state.actions) strip(each.action);
    return state;
}

std::string changesOf(const Item& item, const Item& original, std::string_view prefix) {
    std::set<std::int32_t> indices;
    for (const auto& [info, state] : item.values) indices.insert(item.indexOf(*info));
    for (const auto& [info, state] : original.values) indices.insert(item.findChannel(info->name));
    std::string changes;
    for (const std::int32_t index : indices) {
        if (index < 0) continue;
        const ChannelInfo& info = *item.channelAt(static_cast<std::size_t>(index));
        const ChannelInfo* theirs = original.channel(info.name);
        const auto here = item.values.find(&info);
        const auto there = original.values.find(theirs);
        const ChannelState now = here != item.values.end() ? here->second : ChannelState();
        const ChannelState before = there != original.values.end() ? there->second : ChannelState();
        if (kzWriteChannel(info, asInSource(now, info, prefix)) !=
            kzWriteChannel(info, asInSource(before, info, prefix)))
            changes += kzWriteChannel(info, now);
    }
    return changes;
}

}  // namespace

// What comes from another scene may come to that one from a third.
KzResult CItem::item_HomeScene(IKzUnknown** scene) {
    const auto item = read();
    const Item* home = &*item;
    while (const Item* reference = kzReferenceAbove(*home)) {
        const ReferenceState* state = kzReferenceOf(*reference);
        if (state == nullptr || !state->scene) break;
        const Item* original = state->scene->document().byIdent(home->ident.substr(reference->ident.size() + 1));
        if (original == nullptr) return state->scene.give(scene);
        home = original;
    }
    return static_cast<AttachedObject&>(*home->document.object).give(scene);
}

Overrides kzChangesKept(const Item& reference) {
    const ReferenceState* state = kzReferenceOf(reference);
    if (state == nullptr) return {};
    Overrides all = state->kept;
    if (!state->scene) return all;
    const std::string prefix = reference.ident + "/";
    std::vector<const Item*> open{&reference};
    while (!open.empty()) {
        const Item& item = *open.back();
        open.pop_back();
        item.children.each([&](const Item& child) {
            if (kzIsReferenced(child)) open.push_back(&child);
        });
        if (&item == &reference || !item.ident.starts_with(prefix)) continue;
        const std::string ident = item.ident.substr(prefix.size());
        const Item* original = state->scene->document().byIdent(ident);
        if (original == nullptr) continue;
        all[ident] += changesOf(item, *original, prefix);
        if (all[ident].empty()) all.erase(ident);
    }
    return all;
}

}  // namespace kzhost
