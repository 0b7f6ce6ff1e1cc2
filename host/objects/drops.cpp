// Dropping things: who takes them.
#include "host/objects/drops.h"

#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/document/step_block.h"
#include "host/state/text.h"

#include "kz/color.h"
#include "kz/destination.h"
#include "kz/group.h"
#include "kz/profile.h"
#include "kz/shader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <sstream>
#include <utility>

namespace kzhost {

namespace {

constexpr DropKind kinds[] = {
    {KZs_DROPDEST_LOCATOR, &KZu_LOCATORDEST, KZa_LOCATORDEST, &KZu_DROPDEST_VIEW3D},
    {KZs_DROPDEST_MESH, &KZu_MESHDEST, KZa_MESHDEST, &KZu_DROPDEST_VIEW3D},
    {KZs_DROPDEST_CLIP, &KZu_CLIPDEST, KZa_CLIPDEST, &KZu_DROPDEST_TREE},
    {KZs_DROPDEST_SHADER, &KZu_SHADERDEST, KZa_SHADERDEST, &KZu_DROPDEST_TREE},
    {KZs_DROPDEST_CHANNEL, &KZu_CHANNELDEST, KZa_CHANNELDEST, &KZu_DROPDEST_TREE},
    {KZs_DROPDEST_GROUP, &KZu_GROUPDEST, KZa_GROUPDEST, &KZu_DROPDEST_TREE},
    {KZs_DROPDEST_ITEMTYPE, &KZu_ITEMTYPEDEST, KZa_ITEMTYPEDEST, &KZu_DROPDEST_TREE},
    {"dest.groupItem", &KZu_GROUPMEMBERITEMDEST, KZa_GROUPMEMBERITEMDEST, &KZu_DROPDEST_TREE},
    {"dest.groupChannel", &KZu_GROUPMEMBERCHANDEST, KZa_GROUPMEMBERCHANDEST, &KZu_DROPDEST_TREE},
    {"dest.meshOperation", &KZu_MESHOPDEST, KZa_MESHOPDEST, &KZu_DROPDEST_TREE},
    {"dest.item", &KZu_SCENEITEMPREDEST, KZa_SCENEITEMPREDEST, &KZu_DROPDEST_TREE},
    {"dest.color", &KZu_COLORPREDEST, KZa_COLORPREDEST, &KZu_DROPDEST_FORM},
    {"dest.layers", &KZu_SHADERPREDEST, KZa_SHADERPREDEST, &KZu_DROPDEST_TREE},
    {"dest.meshLayer", &KZu_MESHLAYERPREDEST, KZa_MESHLAYERPREDEST, &KZu_DROPDEST_VIEW3D},
    {"dest.profile1D", &KZu_PROFILE1DPREDEST, KZa_PROFILE1DPREDEST, &KZu_DROPDEST_FORM},
    {"dest.profile2D", &KZu_PROFILE2DPREDEST, KZa_PROFILE2DPREDEST, &KZu_DROPDEST_FORM},
};

struct ActionName {
    const char* name;
    std::int32_t action;
};
constexpr ActionName actionNames[] = {{"move", KZi_DROPACTION_MOVE},   {"copy", KZi_DROPACTION_COPY},
                                      {"link", KZi_DROPACTION_LINK},   {"replace", KZi_DROPACTION_REPLACE},
                                      {"apply", KZi_DROPACTION_APPLY}, {"load", KZi_DROPACTION_LOAD}};

// Collects the actions of one server, until it has listed them.
class CDropActions final : public CHosted<"drop actions", CDropActions, CKzIfc_AddDropAction> {
public:
    KzResult adddropaction_AddAction(std::int32_t action, const char* message) override {
        if (!m_isOpen) return KZe_NOTAVAILABLE;
        if (find(action) != nullptr)
            return kzBecause(KZe_ALREADYEXISTS, "AddDropAction.AddAction",
                             [&] { return "there is an action " + kzDropActionName(action) + " already"; });
        if (action == KZi_DROPACTION_DEFAULT) return KZe_INVALIDARG;
        m_actions.push_back({action, kzString(message), {}, false});
        return KZe_OK;
    }
    KzResult adddropaction_SetIcon(std::int32_t action, const char* icon) override {
        DropAction* known = find(action);
        if (known == nullptr) return notAdded(action);
        known->icon = kzString(icon);
        return KZe_OK;
    }
    KzResult adddropaction_SetDefault(std::int32_t action, std::uint32_t modifiers) override {
        DropAction* known = find(action);
        if (known == nullptr) return notAdded(action);
        known->isDefault = modifiers == 0;
        return KZe_OK;
    }
    std::uint32_t adddropaction_Count() override { return static_cast<std::uint32_t>(m_actions.size()); }

    std::vector<DropAction> finish() {
        m_isOpen = false;
        return std::move(m_actions);
    }

private:
    DropAction* find(std::int32_t action) {
        const auto found = std::ranges::find(m_actions, action, &DropAction::action);
        return found != m_actions.end() ? &*found : nullptr;
    }
    static KzResult notAdded(std::int32_t action) {
        return kzBecause(KZe_NOTFOUND, "AddDropAction",
                         [&] { return "the action " + kzDropActionName(action) + " was not added"; });
    }

    bool m_isOpen = true;
    std::vector<DropAction> m_actions;
};

// The host's own server for one type of sources.
class COwnDrop final : public CHosted<"host drop", COwnDrop, CKzIfc_Drop> {
public:
    explicit COwnDrop(OwnDrops own) : m_own(std::move(own)) {}

    KzResult drop_Recognize(IKzUnknown* source, bool* recognized) override {
        *recognized = source != nullptr;
        return KZe_OK;
    }
    KzResult drop_ActionList(IKzUnknown* source, IKzUnknown* destination, IKzUnknown* actions) override {
        const CKzUser_AddDropAction list(actions);
        if (!list) return KZe_INVALIDARG;
        for (const DropWay& way : m_own.ways(source, destination)) list.AddAction(way.action, way.message);
        return KZe_OK;
    }
    KzResult drop_Drop(IKzUnknown* source, IKzUnknown* destination, std::int32_t action) override {
        for (const DropWay& way : m_own.ways(source, destination))
            if (way.action == action) return way.perform(), KZe_OK;
        return kzBecause(KZe_NOTSUPPORTED, "Drop", [&] {
            return fmt::format("{} cannot be dropped there by the action {}", m_own.source, kzDropActionName(action));
        });
    }

private:
    const OwnDrops m_own;
};

bool hasWord(const std::string& words, std::string_view word) {
    std::istringstream in(words);
    for (std::string each; in >> each;)
        if (each == word) return true;
    return false;
}

std::string tagOf(const KzTags& tags, std::string_view name) {
    const auto tag = std::ranges::find(tags, name, &std::pair<std::string, std::string>::first);
    return tag != tags.end() ? tag->second : std::string();
}

int priorityOf(const KzTags& tags) {
    const std::string text = tagOf(tags, KZsTAG_DROP_PRIORITY);
    int priority = 0;
    std::from_chars(text.data(), text.data() + text.size(), priority);
    return priority;
}

void explain(KzResult code, const CDrops::Taker& taker, const char* operation) {
    kzBecause(code, "Drop", [&] {
        return fmt::format("{} of the drop server \"{}\" ended with {}", operation, taker.name, kzCodeName(code));
    });
}

}  // namespace

std::span<const DropKind> kzDropKinds() noexcept { return kinds; }

const DropKind* kzDropKindOf(IKzUnknown* destination) {
    if (destination == nullptr) return nullptr;
    for (const DropKind& kind : kinds) {
        CKzLoc_Unknown found;
        if (kzSucceeded(destination->QueryInterface(kind.iid, reinterpret_cast<void**>(found.out())))) return &kind;
    }
    return nullptr;
}

std::int32_t kzDropAction(std::string_view name) {
    for (const ActionName& each : actionNames)
        if (name == each.name) return each.action;
    std::int32_t number = KZi_DROPACTION_DEFAULT;
    const auto end = std::from_chars(name.data(), name.data() + name.size(), number);
    return end.ptr == name.data() + name.size() ? number : KZi_DROPACTION_DEFAULT;
}

std::string kzDropActionName(std::int32_t action) {
    for (const ActionName& each : actionNames)
        if (action == each.action) return each.name;
    return std::to_string(action);
}

CDrops::DragRef CDrops::begin(const std::string& type, IKzUnknown* source, std::uint32_t flags) const {
    auto drag = std::make_shared<Drag>();
    drag->type = type;
    drag->source.set(source);
    drag->flags = flags;
    std::vector<std::pair<int, std::shared_ptr<Taker>>> asked;
    for (const KzServer& each : m_modules->servers(KZa_DROP)) {
        const KzTags tags = CModuleTable::tagsOf(each);
        const std::string sources = tagOf(tags, KZsTAG_DROP_SOURCE);
        if (!type.empty() && !sources.empty() && !hasWord(sources, type)) continue;
        auto taker = std::make_shared<Taker>();
        taker->name = each.name;
        taker->destinations = tagOf(tags, KZsTAG_DROP_DESTINATION);
        CKzLoc_Unknown object;
        try {
            if (!taker->server.set(CModuleTable::spawn(each, object).raw())) throw KZe_NOINTERFACE;
        } catch (KzResult code) {
            explain(code, *taker, "making");
            continue;
        }
        asked.emplace_back(priorityOf(tags), std::move(taker));
    }
    std::ranges::stable_sort(asked, std::greater<>(), [](const auto& each) { return each.first; });
    for (const OwnDrops& own : m_own) {
        if (!type.empty() && type != own.source) continue;
        auto taker = std::make_shared<Taker>();
        taker->name = own.source;
        taker->server.hold(kzMakeObject<COwnDrop>(own));
        asked.emplace_back(0, std::move(taker));
    }
    for (auto& [priority, taker] : asked) {
        bool isRecognized = false;
        const KzResult code = taker->server.Recognize(source, &isRecognized);
        if (kzFailed(code)) explain(code, *taker, "Recognize");
        else if (isRecognized) drag->takers.push_back(std::move(taker));
    }
    return drag;
}

CDrops::DragRef CDrops::active() const {
    const std::lock_guard lock(m_lock);
    return m_active;
}

bool CDrops::activate(DragRef drag) {
    const std::lock_guard lock(m_lock);
    if (m_active != nullptr) return false;
    m_active = std::move(drag);
    return true;
}

CDrops::DragRef CDrops::end() {
    const std::lock_guard lock(m_lock);
    return std::exchange(m_active, nullptr);
}

std::vector<CDrops::Offer> CDrops::offers(const Drag& drag, IKzUnknown* destination) const {
    std::vector<Offer> offers;
    const DropKind* kind = kzDropKindOf(destination);
    for (const auto& taker : drag.takers) {
        if (!taker->destinations.empty() && (kind == nullptr || !hasWord(taker->destinations, kind->name))) continue;
        const auto list = CHostRef<CDropActions>::make();
        const KzResult code = taker->server.ActionList(drag.source.raw(), destination, list.raw());
        auto actions = list->finish();
        if (kzRefuses(code)) {
            explain(code, *taker, "ActionList");
            continue;
        }
        std::erase_if(actions, [&](const DropAction& each) {
            return (each.action == KZi_DROPACTION_COPY && (drag.flags & KZf_DROP_COPY) == 0) ||
                   (each.action == KZi_DROPACTION_LINK && (drag.flags & KZf_DROP_LINK) == 0);
        });
        if (!actions.empty()) offers.push_back({taker, std::move(actions)});
    }
    return offers;
}

void CDrops::drop(const Drag& drag, IKzUnknown* destination, std::int32_t action) const {
    const auto all = offers(drag, destination);
    for (const Offer& offer : all) {
        auto chosen = std::ranges::find(offer.actions, action, &DropAction::action);
        if (action == KZi_DROPACTION_DEFAULT) {
            chosen = std::ranges::find(offer.actions, true, &DropAction::isDefault);
            if (chosen == offer.actions.end()) chosen = offer.actions.begin();
        }
        if (chosen == offer.actions.end()) continue;
        const CStepBlock step(*m_scenes->workspace, "drop");
        const KzResult code = offer.taker->server.Drop(drag.source.raw(), destination, chosen->action);
        if (kzSucceeded(code)) return;
        explain(code, *offer.taker, "Drop");
        throw code;
    }
    throw kzBecause(KZe_NOTSUPPORTED, "Drop", [&] {
        const DropKind* kind = kzDropKindOf(destination);
        std::string text = fmt::format("nobody takes {} at {}", drag.type.empty() ? "that" : drag.type,
                                       kind != nullptr ? kind->name : "such a destination");
        if (action != KZi_DROPACTION_DEFAULT) text += fmt::format(" by the action {}", kzDropActionName(action));
        std::string others;
        for (const Offer& offer : all)
            for (const DropAction& each : offer.actions)
                others += (others.empty() ? "; there are " : ", ") + kzDropActionName(each.action);
        return text + others;
    });
}

}  // namespace kzhost
