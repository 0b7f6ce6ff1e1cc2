// Changes of documents. Each is written once, as an exchange: called again, it reverses itself.
#include "host/document/edit.h"

#include "host/document/envelope.h"
#include "host/document/presence.h"
#include "host/document/referenced.h"

#include "kz/action.h"
#include "kz/scene_graph.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;

void insertAt(std::vector<Item*>& list, std::size_t index, Item* item) {
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(std::min(index, list.size())), item);
}

std::size_t indexIn(const std::vector<Item*>& list, const Item* item) {
    return static_cast<std::size_t>(std::find(list.begin(), list.end(), item) - list.begin());
}

}  // namespace

CEdit::CEdit(CWorkspace& workspace)
    : m_hold(workspace), m_workspace(workspace), m_firstEvent(workspace.m_events.size()) {
    workspace.refuseWhileMoving();
    workspace.keepGeometry();
}

CEdit::~CEdit() {
    if (m_changes.empty()) return;
    DocumentEvents none;
    try {
        for (; !m_changes.empty(); m_changes.pop_back()) CWorkspace::apply(*m_changes.back(), Direction::reverse, none);
    } catch (const std::bad_alloc&) {
        // What is left of the edit stays, and the steps before it do not fit what there is now.
        for (const auto& change : m_changes)
            if (change->document() != nullptr) m_workspace.m_history.forget(*change->document());
    }
    m_workspace.m_events.resize(std::min(m_firstEvent, m_workspace.m_events.size()));
}

void CEdit::run(std::unique_ptr<CChange> change) {
    // Room beforehand, so that nothing can fail once the change is made; twice as much, as an edit may be long.
    if (change->document() != nullptr) kzDemandOwn(*change->document());
    if (m_changes.size() == m_changes.capacity()) m_changes.reserve(2 * m_changes.size() + 8);
    CWorkspace::apply(*change, Direction::forward, m_workspace.m_events);
    m_changes.push_back(std::move(change));
}

// Each document that changed gets a new revision, which goes with the change: undoing all the way back to what was saved,
// there is nothing to be saved.
void CEdit::commit() {
    std::vector<CDocument*> documents;
    for (const auto& change : m_changes) {
        CDocument* document = change->document();
        if (document != nullptr && std::find(documents.begin(), documents.end(), document) == documents.end())
            documents.push_back(document);
    }
    for (CDocument* document : documents)
        make(document, [document, revision = ++m_workspace.m_lastRevision](Direction, DocumentEvents& events) mutable {
            const bool wasModified = document->isModified();
            std::swap(document->m_revision, revision);
            if (wasModified != document->isModified())
                events.push_back({.kind = Kind::modified, .document = document, .first = document->isModified()});
        });
    m_workspace.keep(std::exchange(m_changes, {}));
}

void CEdit::commitLoaded(CDocument& document) {
    m_changes.clear();
    m_workspace.m_events.resize(std::min(m_firstEvent, m_workspace.m_events.size()));
    document.m_savedRevision = document.m_revision;
}

Item& CEdit::add(CDocument& document, const ItemType& type, std::string ident) {
    if (ident.empty()) ident = document.newIdent(type);
    const auto item = std::make_shared<Item>(document, type, std::move(ident), ++document.m_lastSerial);
    make(&document, CDocument::Presence{item, nullptr, last, true});
    return *item;
}

namespace {

// An item and everything below it, the highest first.
std::vector<Item*> subtreeOf(Item& item) {
    std::vector<Item*> subtree{&item};
    for (std::size_t i = 0; i < subtree.size(); ++i)
        subtree[i]->children.each([&](Item& child) { subtree.push_back(&child); });
    return subtree;
}

}  // namespace

DocumentEvents kzRemoving(Item& item) {
    DocumentEvents events;
    for (Item* each : subtreeOf(item))
        events.push_back({.kind = Kind::itemRemoving, .document = &item.document, .item = each->shared_from_this()});
    return events;
}

void CEdit::remove(Item& item) {
    kzDemandOwn(item, "removed");
    const CReferencedEdits goesWithIt;
    const std::vector<Item*> subtree = subtreeOf(item);
    for (std::size_t i = subtree.size(); i-- > 0;) removeOne(*subtree[i]);
}

// An instance keeps what it showed when its source goes.
void CEdit::detach(Item& instance) {
    Item& source = *instance.source;
    for (const auto& [channel, state] : source.values) {
        const ChannelInfo* own = instance.channel(channel->name);
        if (own != nullptr && own->type == channel->type && !instance.values.contains(own))
            setChannel(instance, *own, state);
    }
    if (source.geometry != nullptr)
        make(&instance.document, [instance = instance.shared_from_this(),
                                  geometry = source.geometry->copy()](Direction, DocumentEvents& events) mutable {
            std::swap(instance->geometry, geometry);
            events.push_back({.kind = Kind::geometry, .document = &instance->document, .item = instance});
        });
    setSource(instance, source.source);
}

void CEdit::removeOne(Item& item) {
    m_workspace.m_selection.drop(item, *this);
    std::vector<std::string> graphs;
    for (const auto& [graph, links] : item.links) graphs.push_back(graph);
    for (const std::string& graph : graphs) unlinkAll(graph, item);
    while (!item.inputs.empty()) unlinkChannels(*item.inputs.back());
    while (!item.outputs.empty()) unlinkChannels(*item.outputs.back());
    while (!item.channelMembers.empty())
        removeMember(item, *item.channelMembers.back().item, *item.channelMembers.back().channel);
    while (!item.channelGroups.empty())
        removeMember(*item.channelGroups.back().item, item, *item.channelGroups.back().channel);
    while (!item.instances.empty()) detach(*item.instances.back());
    if (item.source != nullptr) setSource(item, nullptr);
    CDocument& document = item.document;
    make(&document,
         CDocument::Presence{item.shared_from_this(), item.parent, document.siblingsOf(item).positionOf(item), false});
}

void CEdit::place(Item& item, Item* parent, std::size_t position) {
    kzDemandOwn(item, "moved");
    if (parent != nullptr) kzDemandOwn(*parent, "made a parent");
    make(&item.document, [item = item.shared_from_this(), parent, position](Direction, DocumentEvents& events) mutable {
        CDocument& document = item->document;
        Item* oldParent = item->parent;
        auto& siblings = document.siblings(oldParent);
        const std::size_t oldPosition = siblings.positionOf(*item);
        siblings.erase(*item);
        item->parent = parent;
        auto& newSiblings = document.siblings(parent);
        newSiblings.insert(std::min(position, newSiblings.size()), *item);
        const auto newPosition = static_cast<std::int64_t>(newSiblings.positionOf(*item));
        if (oldParent != parent)
            events.push_back({.kind = Kind::parented,
                              .document = &document,
                              .item = item,
                              .other = oldParent != nullptr ? oldParent->shared_from_this() : nullptr});
        else events.push_back({.kind = Kind::moved, .document = &document, .item = item, .first = newPosition});
        parent = oldParent;
        position = oldPosition;
    });
}

void CEdit::rename(Item& item, std::string name, std::uint32_t number) {
    kzDemandOwn(item, "renamed");
    make(&item.document,
         [item = item.shared_from_this(), name = std::move(name), number](Direction, DocumentEvents& events) mutable {
             CNameIndex& names = item->document.m_names;
             names.leave(*item);
             std::swap(item->name, name);
             names.enter(*item, std::exchange(number, item->number));
             events.push_back({.kind = Kind::renamed, .document = &item->document, .item = item, .text = name});
         });
}

void CEdit::setTag(Item& item, std::uint32_t code, std::optional<std::string> text) {
    kzDemandOwn(item, "tagged");
    make(&item.document,
         [item = item.shared_from_this(), code, text = std::move(text)](Direction, DocumentEvents& events) mutable {
             std::optional<std::string> before;
             if (const auto tag = item->tags.find(code); tag != item->tags.end()) before = std::move(tag->second);
             if (text) item->tags[code] = std::move(*text);
             else item->tags.erase(code);
             text = std::move(before);
             events.push_back({.kind = Kind::tag, .document = &item->document, .item = item, .first = code});
         });
}

void CEdit::setFlags(Item& item, std::uint32_t flags) {
    kzDemandOwn(item, "given other flags");
    make(&item.document, [item = item.shared_from_this(), flags](Direction, DocumentEvents& events) mutable {
        std::swap(item->flags, flags);
        events.push_back(
            {.kind = Kind::flags, .document = &item->document, .item = item, .first = item->flags ^ flags});
    });
}

void CEdit::setSource(Item& item, Item* source) {
    kzDemandOwn(item, "given another source");
    if (source != nullptr) kzDemandOwn(*source, "instanced");
    make(&item.document,
         [item = item.shared_from_this(), source, index = last](Direction, DocumentEvents& events) mutable {
             Item* before = item->source;
             std::size_t oldIndex = last;
             if (before != nullptr) {
                 oldIndex = indexIn(before->instances, item.get());
                 std::erase(before->instances, item.get());
             }
             if (source != nullptr) insertAt(source->instances, index, item.get());
             item->source = source;
             events.push_back({.kind = Kind::source,
                               .document = &item->document,
                               .item = item,
                               .other = source != nullptr ? source->shared_from_this() : nullptr});
             source = before;
             index = oldIndex;
         });
}

namespace {

// The time of a scene is in channels of its root item.
void tellTime(const Item& root, const ChannelInfo& channel, DocumentEvents& events) {
    const auto number = [&](const char* name) {
        return kzNumberOf(root.valueOf(*root.type.channel(name))).value_or(0);
    };
    if (channel.name == KZsICHAN_SCENETIME_CURRENT)
        events.push_back(
            {.kind = Kind::currentTime, .document = &root.document, .time = number(KZsICHAN_SCENETIME_CURRENT)});
    if (channel.name == KZsICHAN_SCENETIME_CURRENTSTART || channel.name == KZsICHAN_SCENETIME_CURRENTEND)
        events.push_back({.kind = Kind::playRange,
                          .document = &root.document,
                          .time = number(KZsICHAN_SCENETIME_CURRENTEND),
                          .oldTime = number(KZsICHAN_SCENETIME_CURRENTSTART)});
}

}  // namespace

namespace {

// The times of the first and the last key.
std::optional<std::pair<double, double>> reachOf(const ActionValue* value) {
    if (value == nullptr || value->curve == nullptr || value->curve->keys().empty()) return {};
    return std::pair{value->curve->keys().front().time, value->curve->keys().back().time};
}

const ActionValue* valueIn(const ChannelState& state, const std::string& action) {
    const auto value = std::ranges::find(state.actions, action, &ActionValue::action);
    return value != state.actions.end() ? &*value : nullptr;
}

// Whether the channel has joined or left actions, and where its keys now begin or end elsewhere.
void tellActions(const ItemRef& item, const ChannelState& before, const ChannelState& after, DocumentEvents& events) {
    const auto tell = [&](const std::string& action) {
        const ActionValue *former = valueIn(before, action), *now = valueIn(after, action);
        std::uint32_t changes = 0;
        if ((former == nullptr) != (now == nullptr)) changes |= KZfACTIONCHANGE_CHANNELS;
        if (reachOf(former) != reachOf(now)) changes |= KZfACTIONCHANGE_RANGE;
        if (changes == 0) return;
        events.push_back(
            {.kind = Kind::action, .document = &item->document, .item = item, .text = action, .first = changes});
    };
    for (const ActionValue& each : before.actions) tell(each.action);
    for (const ActionValue& each : after.actions)
        if (valueIn(before, each.action) == nullptr) tell(each.action);
}

}  // namespace

void CEdit::setChannel(Item& item, const ChannelInfo& channel, ChannelState state) {
    make(&item.document, [item = item.shared_from_this(), channel = &channel,
                          state = std::move(state)](Direction, DocumentEvents& events) mutable {
        static const ChannelState none;
        const ChannelState* after = &none;
        const auto entry = item->values.find(channel);
        ChannelState before;
        if (entry != item->values.end()) before = std::move(entry->second);
        if (state.empty()) item->values.erase(channel);
        else if (entry != item->values.end()) after = &(entry->second = std::move(state));
        else after = &item->values.emplace(channel, std::move(state)).first->second;
        state = std::move(before);
        events.push_back(
            {.kind = Kind::channelValue, .document = &item->document, .item = item, .text = channel->name});
        if (!state.actions.empty() || !after->actions.empty()) tellActions(item, state, *after, events);
        if (item->type.number == KZiITYPE_ROOT) tellTime(*item, *channel, events);
    });
}

void CEdit::setValue(Item& item, const ChannelInfo& channel, std::optional<KzCell> value) {
    ChannelState state;
    if (const auto entry = item.values.find(&channel); entry != item.values.end())
        state.actions = entry->second.actions;
    state.value = std::move(value);
    setChannel(item, channel, std::move(state));
}

namespace {

// Puts a user channel at its place or takes it away. Its value is gone before, and comes back after.
struct ChannelPresence {
    ItemRef item;
    std::shared_ptr<ChannelInfo> channel;
    std::size_t index;
    bool adds;

    void operator()(Direction direction, DocumentEvents& events) {
        auto& channels = item->userChannels;
        const bool isAdded = adds == (direction == Direction::forward);
        const auto place = channels.begin() + static_cast<std::ptrdiff_t>(index);
        if (isAdded) channels.insert(place, channel);
        else channels.erase(place);
        events.push_back({.kind = isAdded ? Kind::channelAdded : Kind::channelRemoved,
                          .document = &item->document,
                          .item = item,
                          .text = channel->name});
    }
};

}  // namespace

const ChannelInfo& CEdit::addChannel(Item& item, ChannelInfo channel) {
    kzDemandOwn(item, "given a channel");
    auto owned = std::make_shared<ChannelInfo>(std::move(channel));
    make(&item.document, ChannelPresence{item.shared_from_this(), owned, item.userChannels.size(), true});
    return *owned;
}

void CEdit::removeChannel(Item& item, const ChannelInfo& channel) {
    kzDemandOwn(item, "deprived of a channel");
    const auto isOf = [&](const auto& link) {
        return link->sourceChannel == &channel || link->targetChannel == &channel;
    };
    for (auto* links : {&item.inputs, &item.outputs})
        for (auto link = links->begin(); (link = std::find_if(links->begin(), links->end(), isOf)) != links->end();)
            unlinkChannels(**link);
    m_workspace.m_selection.dropChannel(item, channel.name, *this);
    const std::vector<ChannelMember> groups = item.channelGroups;
    for (const ChannelMember& group : groups)
        if (group.channel == &channel) removeMember(*group.item, item, channel);
    if (item.values.contains(&channel)) setChannel(item, channel, {});
    const auto index = static_cast<std::size_t>(item.indexOf(channel)) - item.type.channels.size();
    make(&item.document, ChannelPresence{item.shared_from_this(), item.userChannels[index], index, false});
}

namespace {

// A package comes to the item or leaves it, with the data that it has there.
struct PackagePresence {
    ItemRef item;
    std::string name;
    std::size_t index;
    bool adds;
    std::shared_ptr<ModuleState::Data> data = std::make_shared<ModuleState::Data>();

    void operator()(Direction direction, DocumentEvents& events) {
        const bool isAdded = adds == (direction == Direction::forward);
        const auto place = item->packages.begin() + static_cast<std::ptrdiff_t>(index);
        if (isAdded) item->packages.insert(place, name);
        else item->packages.erase(place);
        auto& all = item->modules.data;
        if (isAdded) all[name] = data;
        else if (auto entry = all.extract(name)) data = std::move(entry.mapped());
        events.push_back({.kind = isAdded ? Kind::packageAdded : Kind::packageRemoved,
                          .document = &item->document,
                          .item = item,
                          .text = name});
    }
};

}  // namespace

void CEdit::addPackage(Item& item, const std::string& name, const std::vector<ChannelInfo>& channels) {
    kzDemandOwn(item, "given a package");
    for (ChannelInfo channel : channels) {
        channel.package = name;
        addChannel(item, std::move(channel));
    }
    make(&item.document, PackagePresence{item.shared_from_this(), name, item.packages.size(), true});
}

void CEdit::removePackage(Item& item, const std::string& name) {
    kzDemandOwn(item, "deprived of a package");
    const auto place = std::ranges::find(item.packages, name);
    const auto index = static_cast<std::size_t>(place - item.packages.begin());
    make(&item.document, PackagePresence{item.shared_from_this(), name, index, false});
    const auto channels = item.userChannels;
    for (const auto& channel : channels)
        if (channel->package == name) removeChannel(item, *channel);
}

void CEdit::describeChannel(Item& item, const ChannelInfo& channel, ChannelInfo description) {
    kzDemandOwn(item, "given other channels");
    const auto index = static_cast<std::size_t>(item.indexOf(channel)) - item.type.channels.size();
    make(&item.document, [item = item.shared_from_this(), channel = item.userChannels[index],
                          description = std::move(description)](Direction, DocumentEvents& events) mutable {
        std::swap(*channel, description);
        events.push_back(
            {.kind = Kind::channelValue, .document = &item->document, .item = item, .text = channel->name});
    });
}

void CEdit::setFilename(CDocument& document, std::string path) {
    make(&document, [document = &document, path = std::move(path)](Direction, DocumentEvents& events) mutable {
        std::swap(document->m_filename, path);
        events.push_back({.kind = Kind::filename, .document = document, .text = document->m_filename});
    });
}

}  // namespace kzhost
