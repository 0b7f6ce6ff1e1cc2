// Which modifiers of modules a document has: declared by their servers for the items that these compute.
#include "host/objects/served_modifiers.h"

#include "host/core/reasons.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include "kz/channel_mod.h"
#include "kz/eval.h"
#include "kz/result.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kzhost {

namespace {

constexpr const char* classes[] = {KZa_CHANNELMODITEM, KZa_CHANNELMODMANAGER, KZa_EVALMODIFIER};

std::string tagOf(const KzTags& tags, const char* name) {
    const auto tag = std::ranges::find(tags, name, &std::pair<std::string, std::string>::first);
    return tag != tags.end() ? tag->second : std::string();
}

// The items of the type that the server's tag names, or that is called as the server is.
std::vector<CHostRef<CItem>> itemsOf(const KzServer& server, const std::string& tag, const CDocument& document) {
    const ItemType* type = kzFindItemType(tag.empty() ? server.name : tag);
    std::vector<CHostRef<CItem>> items;
    const CReading reading(document.workspace());
    if (type != nullptr) document.each(type->number, [&](Item& item) { items.push_back(kzObjectOf(item)); });
    return items;
}

}  // namespace

std::shared_ptr<CServedModifier> kzRenewed(const KzServer& server, const CItem& item, std::uint32_t number,
                                           const ModifiersByItem& known) {
    const auto entry = known.find(&*item.readKept());
    if (entry == known.end()) return nullptr;
    for (const auto& each : entry->second)
        if (each->server == server.name && each->number == number)
            return each->stamp >= each->item->stamp || each->renew() ? each : nullptr;
    return nullptr;
}

bool CServedModifier::ownsItsChannels() const {
    const auto isOwn = [](const auto& each) {
        return each.channel.item->isPresent && each.channel.item->owns(*each.channel.channel);
    };
    return item->isPresent && std::ranges::all_of(inputs, isOwn) && std::ranges::all_of(outputs, isOwn);
}

ServedModifiers CServedModifiers::declare(CDocument& document, const ModifiersByItem& known) {
    ServedModifiers declared;
    const std::uint64_t changes = m_modules->changes();
    auto servers = m_modules->servers();
    std::erase_if(servers,
                  [](const KzServer& each) { return std::ranges::find(classes, each.className) == std::end(classes); });
    if (servers.empty()) m_noServersAt = changes;
    for (const KzServer& server : servers) {
        const KzTags tags = CModuleTable::tagsOf(server);
        const auto items = itemsOf(server, tagOf(tags, KZs_EVALTAG_TYPE), document);
        const std::size_t first = declared.size();
        const auto attempt = [&](const auto& call) {
            KzResult code = KZe_OK;
            try {
                call();
            } catch (KzResult thrown) {
                code = thrown;
            }
            if (kzFailed(code))
                kzBecause(code, "Evaluation", [&] {
                    return "the " + server.className + " \"" + server.name +
                           "\" declares no modifier: " + kzCodeName(code);
                });
        };
        if (server.className == KZa_EVALMODIFIER)
            attempt([&] {
                std::ranges::move(kzDeclareEvalModifiers(server, document, items, known), std::back_inserter(declared));
            });
        else
            for (const auto& item : items)
                attempt([&] {
                    auto modifier = kzRenewed(server, *item, 0, known);
                    if (modifier == nullptr && server.className == KZa_CHANNELMODITEM)
                        modifier = kzDeclareChannelModItem(server, item);
                    else if (modifier == nullptr) modifier = kzDeclareChannelModManager(server, item);
                    declared.push_back(std::move(modifier));
                });
        for (std::size_t i = first; i < declared.size(); ++i) {
            if (declared[i] == nullptr) continue;
            declared[i]->server = server.name;
            declared[i]->order = static_cast<int>(std::strtol(tagOf(tags, KZs_EVALTAG_ORDER).c_str(), nullptr, 10));
        }
    }
    std::erase(declared, nullptr);
    std::ranges::stable_sort(declared, {}, &CServedModifier::order);
    return declared;
}

// A server that reads channels while it declares a modifier finds the modifiers that were there before.
std::shared_ptr<const ModifierSet> CServedModifiers::modifiers(CDocument& document) {
    thread_local bool isDeclaring = false;
    const std::uint64_t servers = m_modules->changes();
    if (m_noServersAt == servers) return nullptr;
    Known known;
    std::uint64_t stamp = 0;
    {
        const CReading reading(document.workspace());
        stamp = document.stamp();
        const std::lock_guard guard(m_lock);
        Known& entry = m_known[&document];
        if (entry.root.get() != document.root()) {
            entry = {};
            if (document.root() != nullptr) entry.root = document.root()->shared_from_this();
        }
        if ((entry.servers == servers && entry.structure == document.structureStamp()) || isDeclaring ||
            !document.isOpen())
            return entry.set;
        known = entry;
        known.servers = servers;
        known.structure = document.structureStamp();
    }
    isDeclaring = true;
    try {
        ModifiersByItem byItem;
        for (const auto& each : known.modifiers) byItem[each->item.get()].push_back(each);
        known.modifiers = declare(document, byItem);
    } catch (...) {
        isDeclaring = false;
        throw;
    }
    isDeclaring = false;
    for (const auto& each : known.modifiers) each->stamp = stamp;
    auto set = std::make_shared<ModifierSet>();
    set->all.assign(known.modifiers.begin(), known.modifiers.end());
    set->index();
    if (set->all.empty()) known.set = nullptr;
    else if (known.set == nullptr || known.set->all != set->all) known.set = std::move(set);
    std::vector<Known> closed;  // which go without the lock
    const std::lock_guard guard(m_lock);
    std::erase_if(m_known, [&](auto& each) {
        if (each.second.root == nullptr || each.second.root->isPresent) return false;
        closed.push_back(std::move(each.second));
        return true;
    });
    std::swap(m_known[&document], known);
    return m_known[&document].set;
}

void CServedModifiers::clear() {
    std::map<CDocument*, Known> known;
    {
        const std::lock_guard guard(m_lock);
        known.swap(m_known);
    }
    for (const auto& [document, each] : known)
        if (each.root->isPresent) kzEvaluationOf(*document).releaseModifiers();
}

}  // namespace kzhost
