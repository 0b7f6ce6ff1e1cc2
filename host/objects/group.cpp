// Groups: their members, and a walk through them. Items are members by a link of the graph of groups; channels are listed
// with the group.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/document/graphs.h"

#include "kz/group.h"
#include "kz/object.h"
#include "kz/scene_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr const char* graph = KZsGRAPH_GROUPS;

// The object of the item keeps this one, which therefore keeps nothing of it.
class CGroupItem final : public CHosted<"group", CGroupItem, CKzIfc_GroupItem> {
public:
    explicit CGroupItem(Item& group)
        : m_workspace(group.document.workspace().shared_from_this()), m_group(group.weak_from_this()) {}

    KzResult groupitem_AddItem(IKzUnknown* item) override {
        CEdit edit(*m_workspace);
        const auto group = read();
        const auto member = inScene(item);
        if (has(*group, *member)) return exists(*group, *member);
        if (kzWouldClose(*group, *member, *kzFindGraph(graph)))
            return kzBecause(KZeGRAPH_CYCLIC, "GroupItem.AddItem", [&] {
                return fmt::format("the group \"{}\" is inside \"{}\"", group->uniqueName, member->uniqueName);
            });
        edit.link(graph, *group, CEdit::last, *member, CEdit::last);
        edit.commit();
        return KZe_OK;
    }
    KzResult groupitem_RemoveItem(IKzUnknown* item) override {
        CEdit edit(*m_workspace);
        const auto group = read();
        const auto member = inScene(item);
        if (!has(*group, *member)) return KZe_NOTFOUND;
        edit.unlink(graph, *group, *member);
        edit.commit();
        return KZe_OK;
    }
    bool groupitem_TestItem(IKzUnknown* item) override {
        const auto group = read();
        return has(*group, *inScene(item));
    }
    std::uint32_t groupitem_ItemCount() override {
        return static_cast<std::uint32_t>(kzLinksOf(*read(), graph).forward.size());
    }
    KzResult groupitem_ItemByIndex(std::uint32_t index, IKzUnknown** item) override {
        const auto group = read();
        const auto& members = kzLinksOf(*group, graph).forward;
        return index < members.size() ? kzGiveItem(members[index], item) : KZe_OUTOFBOUNDS;
    }
    KzResult groupitem_AddChannel(IKzUnknown* item, std::int32_t channel) override {
        CEdit edit(*m_workspace);
        const auto group = read();
        const auto owner = inScene(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (has(*group, *owner, info)) return exists(*group, *owner);
        edit.addMember(*group, *owner, info);
        edit.commit();
        return KZe_OK;
    }
    KzResult groupitem_RemoveChannel(IKzUnknown* item, std::int32_t channel) override {
        CEdit edit(*m_workspace);
        const auto group = read();
        const auto owner = inScene(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (!has(*group, *owner, info)) return KZe_NOTFOUND;
        edit.removeMember(*group, *owner, info);
        edit.commit();
        return KZe_OK;
    }
    bool groupitem_TestChannel(IKzUnknown* item, std::int32_t channel) override {
        const auto group = read();
        const auto owner = inScene(item);
        return has(*group, *owner, kzChannelAt(*owner, channel));
    }
    std::uint32_t groupitem_ChannelCount() override {
        return static_cast<std::uint32_t>(read()->channelMembers.size());
    }
    KzResult groupitem_ChannelByIndex(std::uint32_t index, IKzUnknown** item, std::int32_t* channel) override {
        const auto group = read();
        if (index >= group->channelMembers.size()) return KZe_OUTOFBOUNDS;
        const ChannelMember& member = group->channelMembers[index];
        *channel = member.item->indexOf(*member.channel);
        return kzGiveItem(member.item, item);
    }
    KzResult groupitem_Clear() override {
        CEdit edit(*m_workspace);
        const auto group = read();
        while (!kzLinksOf(*group, graph).forward.empty())
            edit.unlink(graph, *group, *kzLinksOf(*group, graph).forward.back());
        while (!group->channelMembers.empty())
            edit.removeMember(*group, *group->channelMembers.back().item, *group->channelMembers.back().channel);
        edit.commit();
        return KZe_OK;
    }

private:
    CItemReading read() const {
        const CReading reading(*m_workspace);
        const ItemRef group = m_group.lock();
        if (group == nullptr || !group->isPresent) throw KZe_NOTAVAILABLE;
        return {*m_workspace, *group};
    }
    CItemReading inScene(IKzUnknown* item) const { return kzOwn<CItem>(item)->readIn(read()->document); }
    // An item is in few groups, and a group may have many members: so the member is asked.
    static bool has(const Item& group, const Item& member) {
        const auto& groups = kzLinksOf(member, graph).reverse;
        return std::find(groups.begin(), groups.end(), &group) != groups.end();
    }
    static bool has(Item& group, const Item& owner, const ChannelInfo& channel) {
        const auto& groups = owner.channelGroups;
        return std::find(groups.begin(), groups.end(), ChannelMember{&group, &channel}) != groups.end();
    }
    static KzResult exists(const Item& group, const Item& member) {
        return kzBecause(KZe_ALREADYEXISTS, "GroupItem", [&] {
            return fmt::format("\"{}\" has \"{}\" as a member already", group.uniqueName, member.uniqueName);
        });
    }

    const std::shared_ptr<CWorkspace> m_workspace;
    const std::weak_ptr<Item> m_group;
};

class CGroupEnumerator final : public CHosted<"group enumerator", CGroupEnumerator, CKzIfc_GroupEnumerator>,
                               public CHostSelf<CGroupEnumerator> {
public:
    KzResult groupenumerator_Start(IKzUnknown* group, std::uint32_t flags) override {
        const auto own = kzOwn<CItem>(group);
        const auto item = own->read();
        if (!item->type.isA(kzFindItemType(KZsITYPE_GROUP)->number)) return KZe_INVALIDARG;
        m_members.clear();
        std::unordered_set<const Item*> known;
        collect(*item, 0, flags != 0 ? flags : KZm_GROUPENUM_ALL, known);
        return KZe_OK;
    }
    // The visitor may change the groups: the members are those of the start, and what has gone is left out.
    KzResult groupenumerator_Enumerate(IKzUnknown* visitor) override {
        const CKzUser_Visitor asVisitor(visitor);
        if (!asVisitor) return KZe_INVALIDARG;
        const auto keeper = self();
        const auto members = m_members;
        const auto before = std::exchange(m_current, {});
        KzResult code = KZe_OK;
        for (const Member& member : members) {
            if (!member.item->item_IsValid() || !member.group->item_IsValid()) continue;
            m_current = member;
            if (code = asVisitor->Evaluate(); kzFailed(code)) break;
        }
        m_current = before;
        return code == KZe_ABORT || kzSucceeded(code) ? KZe_OK : code;
    }
    KzResult groupenumerator_Item(IKzUnknown** item) override {
        return m_current.item ? m_current.item.give(item) : KZe_NOTAVAILABLE;
    }
    std::int32_t groupenumerator_Channel() override { return m_current.channel; }
    KzResult groupenumerator_Group(IKzUnknown** group) override {
        return m_current.group ? m_current.group.give(group) : KZe_NOTAVAILABLE;
    }
    std::uint32_t groupenumerator_Depth() override { return m_current.depth; }

private:
    struct Member {
        CHostRef<CItem> item, group;
        std::int32_t channel = -1;
        std::uint32_t depth = 0;
    };

    // A group that is in several others is walked once.
    void collect(Item& group, std::uint32_t depth, std::uint32_t flags, std::unordered_set<const Item*>& known) {
        if (!known.insert(&group).second) return;
        const auto wants = [&](std::int32_t flag) { return (flags & static_cast<std::uint32_t>(flag)) != 0; };
        const auto isShown = [&](const Item& item) {
            return wants(KZf_GROUPENUM_HIDDEN) || (item.flags & KZfITEM_HIDDEN) == 0;
        };
        for (Item* item : kzLinksOf(group, graph).forward) {
            if (!isShown(*item)) continue;
            if (wants(KZf_GROUPENUM_ITEMS)) m_members.push_back({kzObjectOf(*item), kzObjectOf(group), -1, depth});
            if (wants(KZf_GROUPENUM_NESTED)) collect(*item, depth + 1, flags, known);
        }
        if (!wants(KZf_GROUPENUM_CHANNELS)) return;
        for (const ChannelMember& member : group.channelMembers)
            if (isShown(*member.item))
                m_members.push_back(
                    {kzObjectOf(*member.item), kzObjectOf(group), member.item->indexOf(*member.channel), depth});
    }

    std::vector<Member> m_members;
    Member m_current;
};

}  // namespace

IKzUnknown* kzMakeGroupItem(const CHostRef<CItem>& group) try {
    return kzMakeObject<CGroupItem>(*group->readKept());
} catch (KzResult) {
    return nullptr;  // it has gone
}

IKzUnknown* kzMakeGroupEnumerator() { return kzMakeObject<CGroupEnumerator>(); }

}  // namespace kzhost
