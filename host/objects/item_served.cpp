// What the packages of modules have a say in: changes that they may refuse, copies of items and what goes along with them, the
// objects behind an item, and the packages that it has.
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/document/duplicate.h"
#include "host/objects/item_collection.h"
#include "host/objects/item_packages.h"
#include "host/objects/scene.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/package.h"
#include "kz/result.h"
#include "kz/undo.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

namespace kzhost {

namespace {

bool has(const Item& item, std::string_view package) {
    return std::ranges::find(item.packages, package) != item.packages.end();
}

// The packages of these items, each once.
std::vector<PackageRef> packagesOf(const CItemPackages& packages, const std::vector<CHostRef<CItem>>& items) {
    std::vector<PackageRef> all;
    for (const auto& item : items)
        if (const auto served = packages.find(&*item->readKept()))
            for (const auto& part : served->parts)
                if (std::ranges::find(all, part->package) == all.end()) all.push_back(part->package);
    return all;
}

// The channels of a package of the host's or of a module's. Throws what is against giving it to the item.
std::vector<ChannelInfo> channelsFor(const CItem& object, const std::string& name) {
    kzUpdateItemTypes(object.workspace());
    const CItemPackages* packages = kzItemPackages(object.workspace());
    const PackageRef guest = packages != nullptr ? packages->types().find(name) : nullptr;
    const bool isGuest = guest != nullptr && guest->type == nullptr;
    const auto* channels = isGuest ? &guest->channels : kzFindChannelPackage(name);
    const auto item = object.read();
    const auto refuse = [&](KzResult code, const std::string& why) {
        return kzBecause(code, "Item.PackageAdd", [&] {
            return fmt::format("the package \"{}\" cannot come to the item \"{}\": {}", name, item->uniqueName, why);
        });
    };
    if (has(*item, name)) throw refuse(KZe_ALREADYEXISTS, "it is there already");
    if (channels == nullptr)
        throw refuse(KZe_NOTFOUND, guest != nullptr ? "it is an item type of its own" : "there is no such package");
    if (isGuest && !guest->takes(item->type))
        throw refuse(KZe_NOTSUPPORTED, fmt::format("it is for items of other types than {}", item->type.name));
    for (const ChannelInfo& channel : *channels)
        if (item->findChannel(channel.name) >= 0)
            throw refuse(KZe_ALREADYEXISTS, fmt::format("the item has a channel \"{}\"", channel.name));
    return *channels;
}

}  // namespace

KzResult kzRefusalOf(std::vector<const Item*> items) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (kzFailed(items[i]->modules.refusal)) return items[i]->modules.refusal;
        items[i]->children.each([&](const Item& child) { items.push_back(&child); });
    }
    return KZe_OK;
}

KzResult kzChangeItems(CWorkspace& workspace, const ItemChange& change) {
    CItemPackages* packages = kzItemPackages(workspace);
    const bool isServed = packages != nullptr && !packages->types().empty();
    const std::size_t depth = workspace.blockDepth();
    if (isServed) workspace.beginBlock({}, KZfUNDO_BLOCK_NOEMPTY);
    struct Blocks {
        CWorkspace& workspace;
        std::size_t depth;
        ~Blocks() { workspace.endBlocksAbove(depth); }
    } const blocks{workspace, depth};
    {
        CEdit edit(workspace);
        change.make(edit);
        edit.commit();
    }
    if (!isServed) return KZe_OK;
    KzResult refusal = KZe_OK;
    {
        const CReading reading(workspace);
        refusal = change.refusal();
    }
    if (kzSucceeded(refusal)) return KZe_OK;
    if (workspace.blockDepth() == depth + 1) workspace.discardBlock();
    CEdit edit(workspace);
    change.takeBack(edit);  // the history is suspended
    edit.commit();
    return refusal;
}

namespace {

// Adds the items as one step, or none if a package refuses one of them.
KzResult addItems(CWorkspace& workspace, CFunctionRef<std::vector<Item*>(CEdit&)> add, std::vector<ItemRef>& added) {
    return kzChangeItems(workspace, {.make =
                                         [&](CEdit& edit) {
                                             for (Item* item : add(edit)) added.push_back(item->shared_from_this());
                                         },
                                     .refusal =
                                         [&] {
                                             std::vector<const Item*> all;
                                             all.reserve(added.size());
                                             for (const ItemRef& item : added) all.push_back(item.get());
                                             return kzRefusalOf(std::move(all));
                                         },
                                     .takeBack =
                                         [&](CEdit& edit) {
                                             for (const ItemRef& item : added)
                                                 if (item->isPresent) edit.remove(*item);
                                         }});
}

// As above; gives the first of them.
KzResult giveAdded(CWorkspace& workspace, CFunctionRef<std::vector<Item*>(CEdit&)> add, IKzUnknown** out) {
    std::vector<ItemRef> added;
    if (const KzResult code = addItems(workspace, add, added); kzFailed(code)) return code;
    const CReading reading(workspace);
    return kzGiveItem(added.front().get(), out);
}

}  // namespace

KzResult kzAddItem(CWorkspace& workspace, CFunctionRef<Item&(CEdit&)> add, IKzUnknown** out) {
    return giveAdded(
        workspace, [&](CEdit& edit) { return std::vector{&add(edit)}; }, out);
}

std::vector<CHostRef<CItem>> kzWithCompanions(const CWorkspace& workspace, std::vector<CHostRef<CItem>> items,
                                              std::uint32_t purpose) {
    const CItemPackages* packages = kzItemPackages(workspace);
    if (packages == nullptr || items.empty()) return items;
    const auto all = CHostRef<CItemCollection>::make(items.front()->workspace().shared_from_this());
    for (const auto& item : items) all->itemcollection_Add(item.raw());
    std::set<const Package*> asked;
    // What one package adds may be of another package.
    for (bool isGrowing = true; isGrowing;) {
        isGrowing = false;
        for (const PackageRef& package : packagesOf(*packages, items)) {
            if (!asked.insert(package.get()).second) continue;
            const KzResult code = package->object.CollectItems(all.raw(), purpose);
            if (kzRefuses(code))
                kzBecause(code, "Package", [&] {
                    return fmt::format("CollectItems of the package \"{}\" ended with {}", package->name,
                                       kzCodeName(code));
                });
            isGrowing = true;
        }
        const CReading reading(workspace);
        for (Item* item : all->items())
            if (auto object = kzObjectOf(*item);
                std::ranges::none_of(items, [&](const auto& each) { return each.object() == object.object(); }))
                items.push_back(std::move(object));
    }
    return items;
}

KzResult CItem::item_Duplicate(std::int32_t deep, IKzUnknown** item) {
    if (m_type.number == KZiITYPE_ROOT) return KZe_INVALIDARG;
    const auto sources = kzWithCompanions(*m_workspace, {self()}, KZiCOLLECT_DUPLICATE);
    if (const CItemPackages* packages = kzItemPackages(*m_workspace))
        for (const auto& each : sources) packages->collectData(*each);
    return giveAdded(
        *m_workspace,
        [&](CEdit& edit) -> std::vector<Item*> {
            Item& source = *read();
            if (sources.size() == 1) return {&kzDuplicate(source, deep != 0, edit)};
            std::vector<Item*> all;  // in one go, so that links among them go with them
            all.reserve(sources.size());
            for (const auto& each : sources) all.push_back(&*each->readIn(source.document));
            const std::uint32_t below = deep != 0 ? KZfITEMCOPY_CHILDREN : 0;
            std::vector<Item*> copies =
                kzDuplicateAll(all, source.document, KZfITEMCOPY_LINKS | KZfITEMCOPY_ANIMATION | below, edit);
            edit.place(*copies.front(), source.parent, source.document.siblingsOf(source).positionOf(source) + 1);
            return copies;
        },
        item);
}

KzResult CItemCollection::itemcollection_Duplicate(IKzUnknown* target, std::uint32_t flags, IKzUnknown** copies) {
    const auto scene = kzOwn<CScene>(target);
    std::vector<CHostRef<CItem>> sources;
    {
        const CReading reading(*m_workspace);
        if (!scene->document().isOpen()) return KZe_NOTAVAILABLE;
        for (Item* item : items()) sources.push_back(kzObjectOf(*item));
    }
    sources = kzWithCompanions(*m_workspace, std::move(sources), KZiCOLLECT_DUPLICATE);
    if (const CItemPackages* packages = kzItemPackages(*m_workspace))
        for (const auto& each : sources) packages->collectData(*each);
    std::vector<ItemRef> added;
    const KzResult code = addItems(
        *m_workspace,
        [&](CEdit& edit) {
            std::vector<Item*> present;
            for (const auto& each : sources)
                if (each->item_IsValid()) present.push_back(&*each->read());
            return kzDuplicateAll(present, scene->document(), flags, edit);
        },
        added);
    if (kzFailed(code)) return code;
    auto made = CHostRef<CItemCollection>::make(m_workspace);
    const CReading reading(*m_workspace);
    for (const ItemRef& item : added)
        if (item->isPresent) made->add(*item);
    return made.give(copies);
}

KzResult CItem::item_Object(const char* type, IKzUnknown** object) {
    const CItemPackages* packages = kzItemPackages(*m_workspace);
    return packages != nullptr ? packages->instance(*this, kzTextOf(type), object) : KZe_NOTFOUND;
}

KzResult CItem::item_PackageAdd(const char* package) {
    const std::string name = kzString(package);
    const auto channels = channelsFor(*this, name);
    const auto item = [this] { return read()->shared_from_this(); }();
    return kzChangeItems(*m_workspace, {.make =
                                            [&](CEdit& edit) {
                                                item->modules.refusal = KZe_OK;
                                                edit.addPackage(*item, name, channels);
                                            },
                                        .refusal = [&] { return std::exchange(item->modules.refusal, KZe_OK); },
                                        .takeBack =
                                            [&](CEdit& edit) {
                                                if (has(*item, name)) edit.removePackage(*item, name);
                                            }});
}

KzResult CItem::item_PackageRemove(const char* package) {
    const std::string name = kzString(package);
    if (!has(*read(), name))
        return kzBecause(KZe_NOTFOUND, "Item.PackageRemove", [&] {
            const auto item = read();
            return kzThereIsNo("package", name, item->packages);
        });
    CEdit edit(*m_workspace);
    const auto item = read();
    if (has(*item, name)) edit.removePackage(*item, name);
    edit.commit();
    return KZe_OK;
}

namespace {

// Those of the item's type, that of the channels which users add, and those that it has been given.
std::vector<std::string> packageNames(const CItem& object) {
    std::vector<std::string> names;
    if (const CItemPackages* packages = kzItemPackages(object.workspace()))
        for (const PackageRef& each : packages->types().of(object.type())) names.push_back(each->name);
    const auto item = object.read();
    const auto isUsers = [](const auto& channel) { return channel->package.empty(); };
    if (std::ranges::any_of(item->userChannels, isUsers)) names.emplace_back(KZs_CHANPKG_USER);
    names.insert(names.end(), item->packages.begin(), item->packages.end());
    return names;
}

}  // namespace

bool CItem::item_PackageTest(const char* package) {
    const auto names = packageNames(*this);
    return std::ranges::find(names, kzTextOf(package)) != names.end();
}

std::uint32_t CItem::item_PackageCount() { return static_cast<std::uint32_t>(packageNames(*this).size()); }

KzResult CItem::item_PackageByIndex(std::uint32_t index, const char** package) {
    auto names = packageNames(*this);
    if (index >= names.size()) return KZe_OUTOFBOUNDS;
    *package = kzLend(std::move(names[index]));
    return KZe_OK;
}

}  // namespace kzhost
