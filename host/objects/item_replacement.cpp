// Replaces items by items of other types.
#include "host/objects/item_replacement.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/document/edit.h"
#include "host/document/graphs.h"
#include "host/document/item_types.h"
#include "host/document/step_block.h"
#include "host/objects/arguments.h"
#include "host/objects/item_packages.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include "kz/item.h"
#include "kz/result.h"
#include "kz/undo.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace kzhost {

namespace {

constexpr const char* replacePlace = "ItemReplacement.Replace";

struct Replacer {
    std::string name;
    CKzUser_ItemReplacement server;
    std::string target;
};

// Calls `visit` with each server that says that it replaces the item, until that returns true.
template <class Visit> bool eachReplacer(const CModuleTable& modules, const CHostRef<CItem>& item, const Visit& visit) {
    for (const KzServer& server : modules.servers(KZa_ITEMREPLACEMENT)) {
        Replacer replacer{server.name, {}, {}};
        try {
            CKzLoc_Unknown object;
            if (!replacer.server.set(CModuleTable::spawn(server, object).raw())) continue;
        } catch (KzResult code) {
            kzBecause(code, replacePlace, [&] { return "the server \"" + server.name + "\" cannot be made"; });
            continue;
        }
        const char *source = nullptr, *target = nullptr;
        if (kzFailed(replacer.server.SourceType(&source)) || kzFailed(replacer.server.TargetType(&target))) continue;
        replacer.target = kzString(target);
        const ItemType* type = kzFindItemType(kzTextOf(source));
        if (type == nullptr || !item->type().isA(type->number) || !replacer.server.CanReplace(item.raw())) continue;
        if (visit(replacer)) return true;
    }
    return false;
}

std::size_t placeIn(const std::vector<Item*>& links, const Item& item) {
    return static_cast<std::size_t>(std::ranges::find(links, &item) - links.begin());
}

bool isIn(const std::vector<Item*>& links, const Item& item) { return placeIn(links, item) < links.size(); }

// Each link keeps its place among those at its other end.
void moveItemLinks(CEdit& edit, Item& former, Item& fresh) {
    std::vector<std::string> graphs;
    for (const auto& [graph, links] : former.links) graphs.push_back(graph);
    for (const std::string& graph : graphs) {
        const std::vector<Item*> targets = kzLinksOf(former, graph).forward;
        for (Item* target : targets) {
            const std::size_t place = placeIn(kzLinksOf(*target, graph).reverse, former);
            edit.unlink(graph, former, *target);
            Item& other = target == &former ? fresh : *target;
            if (!isIn(kzLinksOf(fresh, graph).forward, other)) edit.link(graph, fresh, CEdit::last, other, place);
        }
        const std::vector<Item*> sources = kzLinksOf(former, graph).reverse;
        for (Item* source : sources) {
            const std::size_t place = placeIn(kzLinksOf(*source, graph).forward, former);
            edit.unlink(graph, *source, former);
            if (!isIn(kzLinksOf(fresh, graph).reverse, *source)) edit.link(graph, *source, place, fresh, CEdit::last);
        }
    }
}

// A channel goes on as the one of the same name, if there is one.
void moveChannelLinks(CEdit& edit, Item& former, Item& fresh) {
    std::vector<std::shared_ptr<ChannelLink>> links = former.inputs;
    for (const auto& link : former.outputs)
        if (link->target != &former) links.push_back(link);
    const auto end = [&](Item* item, const ChannelInfo* channel) -> std::pair<Item*, const ChannelInfo*> {
        return item == &former ? std::pair<Item*, const ChannelInfo*>{&fresh, fresh.channel(channel->name)}
                               : std::pair<Item*, const ChannelInfo*>{item, channel};
    };
    for (const auto& link : links) {
        const auto source = end(link->source, link->sourceChannel), target = end(link->target, link->targetChannel);
        const auto attributes = link->attributes;
        edit.unlinkChannels(*link);
        if (source.second == nullptr || target.second == nullptr) continue;
        ChannelLink& made = edit.linkChannels(*source.first, *source.second, *target.first, *target.second);
        for (const auto& [name, value] : attributes) edit.setAttribute(made, name, value);
    }
    const std::vector<ChannelMember> groups = former.channelGroups;
    for (const ChannelMember& group : groups)
        if (const ChannelInfo* channel = fresh.channel(group.channel->name); channel != nullptr) {
            edit.removeMember(*group.item, former, *group.channel);
            edit.addMember(*group.item, fresh, *channel);
        }
}

void movePlace(CEdit& edit, Item& former, Item& fresh) {
    edit.place(fresh, former.parent, former.document.siblingsOf(former).positionOf(former));
    while (!former.children.empty()) edit.place(*former.children.at(0), &fresh, CEdit::last);
    const std::string name = former.name;
    const std::uint32_t number = former.number;
    edit.rename(former, {});
    edit.rename(fresh, name, name.empty() ? 0 : number);
}

// What other items are made from, and what belongs to the scene itself, stays.
void requireReplaceable(const CHostRef<CItem>& item) {
    const auto refuse = [&](KzResult code, const char* why) {
        throw kzBecause(code, replacePlace, [&] { return std::string("the item ") + why; });
    };
    if (kzItemPackages(item->workspace())->whoKeeps(*item)) refuse(KZe_NOACCESS, "is kept by one of its packages");
    if (item->workspace().state() == static_cast<std::uint32_t>(KZiUNDO_STATE_SUSPENDED))
        refuse(KZe_NOTAVAILABLE, "could not be restored after a failure, as the history is suspended");
    const auto reading = item->read();
    if (item->type().number == KZiITYPE_ROOT || kzIsActionItem(*reading))
        refuse(KZe_INVALIDARG, "is one that the scene itself needs");
    if (reading->source != nullptr || !reading->instances.empty())
        refuse(KZe_NOTSUPPORTED, "is an instance or has some");
}

CHostRef<CItem> replaceBy(const Replacer& replacer, const CHostRef<CScene>& scene, const CHostRef<CItem>& item) {
    const ItemType* type = kzFindItemType(replacer.target);
    if (type == nullptr)
        throw kzBecause(KZe_NOTFOUND, replacePlace,
                        [&] { return "there is no item type \"" + replacer.target + "\""; });
    CTentativeStep step(item->workspace(), "item.replace");
    CKzLoc_Unknown added;
    if (const KzResult code = scene->scene_ItemAdd(type->number, added.out()); kzFailed(code)) throw code;
    CHostRef<CItem> fresh = kzOwn<CItem>(added.raw());
    {
        CEdit edit(item->workspace());
        const auto former = item->read(), replacement = fresh->read();
        moveItemLinks(edit, *former, *replacement);
        moveChannelLinks(edit, *former, *replacement);
        movePlace(edit, *former, *replacement);
        edit.commit();
    }
    if (const KzResult code = replacer.server.Replace(item.raw(), fresh.raw()); kzFailed(code) && code != KZe_NOTIMPL)
        throw kzBecause(code, replacePlace, [&] {
            return fmt::format("the server \"{}\" did not make {} of the item", replacer.name, replacer.target);
        });
    if (!fresh->item_IsValid())
        throw kzBecause(KZe_FAILED, replacePlace,
                        [&] { return "the server \"" + replacer.name + "\" has removed the item that it made"; });
    if (item->item_IsValid())
        if (const KzResult code = scene->scene_ItemRemove(item.raw()); kzFailed(code)) throw code;
    step.keep();
    return fresh;
}

}  // namespace

std::vector<std::string> kzReplacementTypes(const CModuleTable& modules, const CHostRef<CItem>& item) {
    std::vector<std::string> types;
    eachReplacer(modules, item, [&](const Replacer& replacer) {
        if (std::ranges::find(types, replacer.target) == types.end()) types.push_back(replacer.target);
        return false;
    });
    return types;
}

CHostRef<CItem> kzReplaceItem(const CModuleTable& modules, const CHostRef<CScene>& scene, const CHostRef<CItem>& item,
                              const std::string& type) {
    requireReplaceable(item);
    CHostRef<CItem> fresh;
    const bool isReplaced = eachReplacer(modules, item, [&](const Replacer& replacer) {
        if (replacer.target != type) return false;
        fresh = replaceBy(replacer, scene, item);
        return true;
    });
    if (isReplaced) return fresh;
    throw kzBecause(KZe_NOTSUPPORTED, replacePlace, [&] {
        return kzThereIsNo("server that replaces this item by type", type, kzReplacementTypes(modules, item));
    });
}

}  // namespace kzhost
