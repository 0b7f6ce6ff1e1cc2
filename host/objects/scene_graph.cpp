// The graphs of a scene as objects: links among its items, and among its channels.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/document/graphs.h"
#include "host/objects/item_collection.h"
#include "host/state/text.h"

#include "kz/object.h"
#include "kz/scene_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// What graphs of both kinds have.
template <class Class> class CGraph {
public:
    CGraph(CHostRef<CScene> scene, const GraphInfo& graph) : m_scene(std::move(scene)), m_graph(graph) {}

protected:
    const GraphInfo& graph() const noexcept { return m_graph; }
    CDocument& document() const { return m_scene->document(); }
    CWorkspace& workspace() const { return document().workspace(); }
    CItemReading own(IKzUnknown* item) const { return kzOwn<CItem>(item)->readIn(document()); }
    void requireWritable() const {
        if (m_graph.isReadOnly)
            throw kzBecause(KZe_NOACCESS, "ItemGraph",
                            [&] { return fmt::format("the links of the graph \"{}\" are the host's", m_graph.name); });
    }
    KzResult cyclic(const Item& source, const Item& target) const {
        return kzBecause(KZeGRAPH_CYCLIC, "SceneGraph", [&] {
            return fmt::format("\"{}\" leads to \"{}\" in the graph \"{}\" already", target.uniqueName,
                               source.uniqueName, m_graph.name);
        });
    }

    KzResult giveName(const char** name) const {
        *name = m_graph.name;
        return KZe_OK;
    }
    // The items that something leads from and nothing leads to; in the tree, all without a parent. Listed anew after a
    // change of the document.
    const std::vector<Item*>& roots() {
        if (m_stamp != document().stamp()) {
            m_roots.clear();
            document().each(KZiITYPE_ANY, [&](Item& item) {
                const bool takesPart =
                    m_graph.isReadOnly ? &item != document().root() : !kzNextIn(item, m_graph, true).empty();
                if (takesPart && kzNextIn(item, m_graph, false).empty()) m_roots.push_back(&item);
            });
            m_stamp = document().stamp();
        }
        return m_roots;
    }
    // The visitor may change the graph: the items are listed at the start, and those that have gone are left out.
    KzResult visit(IKzUnknown* visitor, IKzUnknown* start, bool forward) {
        const CKzUser_Visitor asVisitor(visitor);
        if (!asVisitor) return KZe_INVALIDARG;
        std::vector<CHostRef<CItem>> items;
        {
            const auto first = own(start);
            for (Item* item : kzReach(*first, m_graph, forward)) items.push_back(kzObjectOf(*item));
        }
        const auto keeper = static_cast<Class*>(this)->self();
        const auto before = std::exchange(m_current, {});
        KzResult code = KZe_OK;
        for (const auto& item : items) {
            if (!item->item_IsValid()) continue;
            m_current = item;
            if (code = asVisitor->Evaluate(); kzFailed(code)) break;
        }
        m_current = before;
        return code == KZe_ABORT || kzSucceeded(code) ? KZe_OK : code;
    }
    KzResult giveCurrent(IKzUnknown** item) const { return m_current ? m_current.give(item) : KZe_NOTAVAILABLE; }

private:
    const CHostRef<CScene> m_scene;
    const GraphInfo& m_graph;
    CHostRef<CItem> m_current;
    std::optional<std::uint64_t> m_stamp;
    std::vector<Item*> m_roots;
};

// The operations that both kinds of graphs share. They differ in the interfaces that they have besides.
template <class Class, KzHostName name, template <class> class Links>
class CSceneGraph : public CHosted<name, Class, CKzIfc_SceneGraph, Links>,
                    public CHostSelf<Class>,
                    public CGraph<Class> {
public:
    using CGraph<Class>::CGraph;

    KzResult scenegraph_Name(const char** graphName) override { return this->giveName(graphName); }
    std::uint32_t scenegraph_Type() override { return this->graph().type; }
    bool scenegraph_IsReadOnly() override { return this->graph().isReadOnly; }
    std::uint32_t scenegraph_RootCount() override {
        const CReading reading(this->workspace());
        return static_cast<std::uint32_t>(this->roots().size());
    }
    KzResult scenegraph_RootByIndex(std::uint32_t index, IKzUnknown** item) override {
        const CReading reading(this->workspace());
        return index < this->roots().size() ? kzGiveItem(this->roots()[index], item) : KZe_OUTOFBOUNDS;
    }
    KzResult scenegraph_Disconnect(IKzUnknown* item) override {
        CEdit edit(this->workspace());
        const auto own = this->own(item);
        this->requireWritable();
        if (this->graph().type == static_cast<std::uint32_t>(KZiGRAPHTYPE_ITEM))
            edit.unlinkAll(this->graph().name, *own);
        while (this->graph().type != static_cast<std::uint32_t>(KZiGRAPHTYPE_ITEM) && !own->inputs.empty())
            edit.unlinkChannels(*own->inputs.back());
        while (this->graph().type != static_cast<std::uint32_t>(KZiGRAPHTYPE_ITEM) && !own->outputs.empty())
            edit.unlinkChannels(*own->outputs.back());
        edit.commit();
        return KZe_OK;
    }
    bool scenegraph_TestCycle(IKzUnknown* source, IKzUnknown* target) override {
        const auto from = this->own(source);
        return kzWouldClose(*from, *this->own(target), this->graph());
    }
    KzResult scenegraph_Enumerate(IKzUnknown* visitor, IKzUnknown* start, std::int32_t forward) override {
        return this->visit(visitor, start, forward != 0);
    }
    KzResult scenegraph_Current(IKzUnknown** item) override { return this->giveCurrent(item); }
};

class CItemGraph final : public CSceneGraph<CItemGraph, "item graph", CKzIfc_ItemGraph> {
public:
    using CSceneGraph::CSceneGraph;

    KzResult itemgraph_AddLink(IKzUnknown* source, IKzUnknown* target) override {
        return itemgraph_SetLink(source, -1, target, -1);
    }
    KzResult itemgraph_SetLink(IKzUnknown* source, std::int32_t sourceIndex, IKzUnknown* target,
                               std::int32_t targetIndex) override {
        CEdit edit(workspace());
        const auto from = own(source);
        const auto to = own(target);
        requireWritable();
        if ((graph().flags & KZfGRAPH_ALLOWCYCLES) == 0 && kzWouldClose(*from, *to, graph())) return cyclic(*from, *to);
        const auto place = [](std::int32_t index) { return index < 0 ? CEdit::last : static_cast<std::size_t>(index); };
        if (isLinked(*from, *to)) edit.moveLink(graph().name, *from, place(sourceIndex), *to, place(targetIndex));
        else edit.link(graph().name, *from, place(sourceIndex), *to, place(targetIndex));
        edit.commit();
        return KZe_OK;
    }
    KzResult itemgraph_DeleteLink(IKzUnknown* source, IKzUnknown* target) override {
        CEdit edit(workspace());
        const auto from = own(source);
        const auto to = own(target);
        requireWritable();
        if (!isLinked(*from, *to)) return KZe_NOTFOUND;
        edit.unlink(graph().name, *from, *to);
        edit.commit();
        return KZe_OK;
    }
    bool itemgraph_TestLink(IKzUnknown* source, IKzUnknown* target) override {
        const auto from = own(source);
        const std::vector<Item*> next = kzNextIn(*from, graph(), true);
        return std::find(next.begin(), next.end(), &*own(target)) != next.end();
    }
    std::uint32_t itemgraph_FwdCount(IKzUnknown* item) override { return count(item, true); }
    KzResult itemgraph_FwdByIndex(IKzUnknown* item, std::uint32_t index, IKzUnknown** other) override {
        return at(item, index, true, other);
    }
    std::uint32_t itemgraph_RevCount(IKzUnknown* item) override { return count(item, false); }
    KzResult itemgraph_RevByIndex(IKzUnknown* item, std::uint32_t index, IKzUnknown** other) override {
        return at(item, index, false, other);
    }
    KzResult itemgraph_Reach(IKzUnknown* item, std::int32_t forward, IKzUnknown** items) override {
        const auto collection = CHostRef<CItemCollection>::make(workspace().shared_from_this());
        if (const KzResult code = collection->itemcollection_AddGraph(item, graph().name, forward); kzFailed(code))
            return code;
        return collection.give(items);
    }

private:
    bool isLinked(const Item& from, const Item& to) const {
        const auto& links = kzLinksOf(from, graph().name).forward;
        return std::find(links.begin(), links.end(), &to) != links.end();
    }
    const std::vector<Item*>& links(const Item& item, bool forward) const {
        const ItemLinks& both = kzLinksOf(item, graph().name);
        return forward ? both.forward : both.reverse;
    }
    std::uint32_t count(IKzUnknown* item, bool forward) const {
        const auto own = this->own(item);
        if (!graph().isReadOnly) return static_cast<std::uint32_t>(links(*own, forward).size());
        return static_cast<std::uint32_t>(forward ? own->children.size() : own->parent != nullptr ? 1 : 0);
    }
    KzResult at(IKzUnknown* item, std::uint32_t index, bool forward, IKzUnknown** other) const {
        const auto own = this->own(item);
        if (index >= count(item, forward)) return KZe_OUTOFBOUNDS;
        if (!graph().isReadOnly) return kzGiveItem(links(*own, forward)[index], other);
        return kzGiveItem(forward ? own->children.at(index) : own->parent, other);
    }
};

// One end of a link as an object has it: an item and the index of a channel.
struct End {
    IKzUnknown* item;
    std::int32_t channel;
};

class CChannelGraph final : public CSceneGraph<CChannelGraph, "channel graph", CKzIfc_ChannelGraph> {
public:
    using CSceneGraph::CSceneGraph;

    KzResult channelgraph_AddLink(IKzUnknown* source, std::int32_t sourceChannel, IKzUnknown* target,
                                  std::int32_t targetChannel) override {
        CEdit edit(workspace());
        const auto from = own(source);
        const auto to = own(target);
        const ChannelInfo& output = kzChannelAt(*from, sourceChannel);
        const ChannelInfo& input = kzChannelAt(*to, targetChannel);
        if (find({source, sourceChannel}, {target, targetChannel}) != nullptr) return KZe_OK;
        if (kzChannelsWouldClose(*from, output, *to, input)) return cyclic(*from, *to);
        edit.linkChannels(*from, output, *to, input);
        edit.commit();
        return KZe_OK;
    }
    KzResult channelgraph_DeleteLink(IKzUnknown* source, std::int32_t sourceChannel, IKzUnknown* target,
                                     std::int32_t targetChannel) override {
        CEdit edit(workspace());
        edit.unlinkChannels(link({source, sourceChannel}, {target, targetChannel}));
        edit.commit();
        return KZe_OK;
    }
    bool channelgraph_TestLink(IKzUnknown* source, std::int32_t sourceChannel, IKzUnknown* target,
                               std::int32_t targetChannel) override {
        const CReading reading(workspace());
        return find({source, sourceChannel}, {target, targetChannel}) != nullptr;
    }
    std::uint32_t channelgraph_FwdCount(IKzUnknown* item, std::int32_t channel) override {
        const CReading reading(workspace());
        return static_cast<std::uint32_t>(links({item, channel}, true).size());
    }
    KzResult channelgraph_FwdByIndex(IKzUnknown* item, std::int32_t channel, std::uint32_t index, IKzUnknown** other,
                                     std::int32_t* otherChannel) override {
        return at({item, channel}, index, true, other, otherChannel);
    }
    std::uint32_t channelgraph_RevCount(IKzUnknown* item, std::int32_t channel) override {
        const CReading reading(workspace());
        return static_cast<std::uint32_t>(links({item, channel}, false).size());
    }
    KzResult channelgraph_RevByIndex(IKzUnknown* item, std::int32_t channel, std::uint32_t index, IKzUnknown** other,
                                     std::int32_t* otherChannel) override {
        return at({item, channel}, index, false, other, otherChannel);
    }
    KzResult channelgraph_SetAttribute(IKzUnknown* source, std::int32_t sourceChannel, IKzUnknown* target,
                                       std::int32_t targetChannel, const char* attribute, const char* value) override {
        if (kzTextOf(attribute).empty()) return KZe_INVALIDARG;
        CEdit edit(workspace());
        edit.setAttribute(link({source, sourceChannel}, {target, targetChannel}), attribute,
                          value != nullptr ? std::optional<std::string>(value) : std::nullopt);
        edit.commit();
        return KZe_OK;
    }
    KzResult channelgraph_Attribute(IKzUnknown* source, std::int32_t sourceChannel, IKzUnknown* target,
                                    std::int32_t targetChannel, const char* attribute, const char** value) override {
        const CReading reading(workspace());
        const auto& attributes = link({source, sourceChannel}, {target, targetChannel}).attributes;
        const auto entry = attributes.find(kzString(attribute));
        if (entry == attributes.end()) return KZe_NOTFOUND;
        *value = kzLend(entry->second);
        return KZe_OK;
    }

private:
    // Null if there is no such link. The lock must be held.
    ChannelLink* find(const End& source, const End& target) const {
        const auto from = own(source.item);
        const auto to = own(target.item);
        const ChannelLink wanted{
            &*from, &kzChannelAt(*from, source.channel), &*to, &kzChannelAt(*to, target.channel), {}};
        const auto match = std::find_if(from->outputs.begin(), from->outputs.end(),
                                        [&](const auto& each) { return each->joins(wanted); });
        return match != from->outputs.end() ? match->get() : nullptr;
    }
    ChannelLink& link(const End& source, const End& target) const {
        ChannelLink* found = find(source, target);
        if (found == nullptr) throw KZe_NOTFOUND;
        return *found;
    }
    // The links of a channel, or of all channels of the item for -1.
    std::vector<ChannelLink*> links(const End& end, bool forward) const {
        const auto item = own(end.item);
        const ChannelInfo* channel = end.channel != -1 ? &kzChannelAt(*item, end.channel) : nullptr;
        std::vector<ChannelLink*> links;
        for (const auto& each : forward ? item->outputs : item->inputs)
            if (channel == nullptr || channel == (forward ? each->sourceChannel : each->targetChannel))
                links.push_back(each.get());
        return links;
    }
    KzResult at(const End& end, std::uint32_t index, bool forward, IKzUnknown** other,
                std::int32_t* otherChannel) const {
        const CReading reading(workspace());
        const auto all = links(end, forward);
        if (index >= all.size()) return KZe_OUTOFBOUNDS;
        Item& item = *(forward ? all[index]->target : all[index]->source);
        *otherChannel = item.indexOf(*(forward ? all[index]->targetChannel : all[index]->sourceChannel));
        return kzGiveItem(&item, other);
    }
};

}  // namespace

IKzUnknown* kzMakeSceneGraph(CHostRef<CScene> scene, const GraphInfo& graph) {
    if (graph.type == static_cast<std::uint32_t>(KZiGRAPHTYPE_CHANNEL))
        return kzMakeObject<CChannelGraph>(std::move(scene), graph);
    return kzMakeObject<CItemGraph>(std::move(scene), graph);
}

}  // namespace kzhost
