// What is selected, and the changes of that. Each change is an exchange, as those of documents are.
#include "host/document/selection.h"

#include "host/document/graphs.h"

#include "kz/result.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;

constexpr std::uint32_t undo = KZfSELTYP_UNDO, element = KZfSELTYP_UNDO | KZfSELTYP_ELEMENT;
struct TypeRow {
    std::int32_t type;
    const char *name, *one, *several;
    std::uint32_t flags;
    PacketKind packets;
};
constexpr TypeRow rows[] = {
    {KZi_SELTYP_ITEM, KZsSELTYP_ITEM, "Item", "Items", undo, PacketKind::item},
    {KZi_SELTYP_SCENE, KZsSELTYP_SCENE, "Scene", "Scenes", 0, PacketKind::scene},
    {KZi_SELTYP_CHANNEL, KZsSELTYP_CHANNEL, "Channel", "Channels", undo, PacketKind::channel},
    {KZi_SELTYP_LINK, KZsSELTYP_LINK, "Link", "Links", undo, PacketKind::link},
    {KZi_SELTYP_NODE, KZsSELTYP_NODE, "Node", "Nodes", undo, PacketKind::none},
    {KZi_SELTYP_TIME, KZsSELTYP_TIME, "Time", "Times", undo | KZfSELTYP_SINGLE, PacketKind::none},
    {KZi_SELTYP_KEY, KZsSELTYP_KEY, "Key", "Keys", undo, PacketKind::none},
    {KZi_SELTYP_ACTION, KZsSELTYP_ACTIONLAYER, "Action", "Actions", undo, PacketKind::action},
    {KZi_SELTYP_GROUP, KZsSELTYP_GROUP, "Group", "Groups", undo, PacketKind::item},
    {KZi_SELTYP_POINT, KZsSELTYP_POINT, "Vertex", "Vertices", element, PacketKind::vertex},
    {KZi_SELTYP_EDGE, KZsSELTYP_EDGE, "Edge", "Edges", element, PacketKind::edge},
    {KZi_SELTYP_POLYGON, KZsSELTYP_POLYGON, "Polygon", "Polygons", element, PacketKind::polygon},
    {KZi_SELTYP_PIVOT, KZsSELTYP_PIVOT, "Pivot", "Pivots", undo, PacketKind::pivot},
    {KZi_SELTYP_CENTER, KZsSELTYP_CENTER, "Center", "Centers", undo, PacketKind::center},
    {0x564D4150, KZsSELTYP_VERTEXMAP, "Vertex Map", "Vertex Maps", undo, PacketKind::vertexMap},  // 'VMAP'
    {0x50525354, KZsSELTYP_PRESET, "Preset", "Presets", 0, PacketKind::preset},                   // 'PRST'
};

bool isPresent(const std::weak_ptr<Item>& reference) {
    const ItemRef item = reference.lock();
    return item != nullptr && item->isPresent;
}

RecordedGeometry* geometryOf(Item& item) { return dynamic_cast<RecordedGeometry*>(item.shapeOwner().geometry.get()); }

// Shows an element of a mesh as selected.
void mark(const SelectionPacket& packet, bool isSelected) {
    const ItemRef item = packet.item.lock();
    if (RecordedGeometry* geometry = item != nullptr ? geometryOf(*item) : nullptr)
        geometry->markElement(packet, isSelected);
}

bool isLinked(const Item& source, const Item& target, const std::string& text) {
    if (text == KZsGRAPH_PARENT) return target.parent == &source;
    if (text.find('\n') == std::string::npos) {
        const auto& links = kzLinksOf(target, text).reverse;
        return std::find(links.begin(), links.end(), &source) != links.end();
    }
    return std::any_of(target.inputs.begin(), target.inputs.end(),
                       [&](const auto& link) { return link->source == &source && kzLinkText(*link) == text; });
}

std::size_t hashOf(const PacketSubject& subject) {
    std::size_t hash = std::hash<std::string>()(subject.text) ^ static_cast<std::size_t>(subject.kind);
    const auto mix = [&](std::uintptr_t value) { hash = hash * 0x9E3779B97F4A7C15U + value + (hash >> 29); };
    mix(reinterpret_cast<std::uintptr_t>(subject.item.get()));
    mix(reinterpret_cast<std::uintptr_t>(subject.other.get()));
    mix(reinterpret_cast<std::uintptr_t>(subject.document));
    for (const std::uintptr_t number : subject.numbers) mix(number);
    return hash;
}

bool standsFor(const SelectionPacket& packet, const PacketSubject& subject) {
    return packet.kind == subject.kind && packet.document == subject.document && packet.numbers == subject.numbers &&
           packet.text == subject.text && packet.item.lock() == subject.item && packet.other.lock() == subject.other;
}

}  // namespace

std::string kzLinkText(const ChannelLink& link) {
    return std::string(KZsGRAPH_CHANLINKS) + '\n' + link.sourceChannel->name + '\n' + link.targetChannel->name;
}

bool SelectionPacket::isAlive() const {
    const ItemRef owner = item.lock();
    switch (kind) {
    case PacketKind::item:
    case PacketKind::center:
    case PacketKind::pivot: return isPresent(item);
    case PacketKind::scene: return document != nullptr;
    case PacketKind::action: return document != nullptr && (numbers[0] == 0 || isPresent(item));
    case PacketKind::channel: return isPresent(item) && owner->findChannel(text) >= 0;
    case PacketKind::link: return isPresent(item) && isPresent(other) && isLinked(*owner, *other.lock(), text);
    case PacketKind::vertex:
    case PacketKind::edge:
    case PacketKind::polygon: {
        if (!isPresent(item)) return false;
        RecordedGeometry* geometry = geometryOf(*owner);
        return geometry != nullptr && geometry->hasElement(*this);
    }
    default: return true;
    }
}

CSelection::CSelection() {
    for (const TypeRow& row : rows) {
        m_types.push_back(std::make_unique<const SelectionKind>(
            SelectionKind{row.type, row.name, {row.one, row.several}, row.flags, row.packets}));
        m_current.push_back(row.type);
    }
}

const SelectionKind* CSelection::find(std::int32_t type) const {
    const auto match =
        std::find_if(m_types.begin(), m_types.end(), [&](const auto& each) { return each->type == type; });
    return match != m_types.end() ? match->get() : nullptr;
}

const SelectionKind* CSelection::find(std::string_view name) const {
    const auto match =
        std::find_if(m_types.begin(), m_types.end(), [&](const auto& each) { return each->name == name; });
    return match != m_types.end() ? match->get() : nullptr;
}

// Its number is small, so it is no code of four characters.
const SelectionKind& CSelection::addServed(std::string name, std::array<std::string, 2> titles, std::uint32_t flags) {
    const auto type = static_cast<std::int32_t>(m_types.size());
    m_current.push_back(type);
    m_types.push_back(std::make_unique<const SelectionKind>(
        SelectionKind{type, std::move(name), std::move(titles), flags, PacketKind::served}));
    return *m_types.back();
}

PacketRef CSelection::packet(const PacketSubject& subject) {
    const std::size_t hash = hashOf(subject);
    for (auto [entry, end] = m_subjects.equal_range(hash); entry != end; ++entry)
        if (standsFor(*entry->second, subject)) return entry->second;
    if (m_packets.size() >= m_nextSweep) sweep();
    auto packet = std::make_shared<SelectionPacket>(
        SelectionPacket{subject.kind, subject.item, subject.other, subject.document, subject.numbers, subject.text});
    packet->address = subject.kind == PacketKind::served ? reinterpret_cast<void*>(subject.numbers[1])
                                                         : reinterpret_cast<void*>(m_lastAddress += 16);
    if (subject.kind != PacketKind::served) m_packets.emplace(packet->address, packet);
    m_subjects.emplace(hash, packet);
    return packet;
}

// Forgets the packets that nobody has selected, and that no step of the history would select again.
void CSelection::sweep() {
    constexpr long ours = 2;
    std::erase_if(m_subjects, [&](const auto& entry) {
        const bool isServed = entry.second->kind == PacketKind::served;
        if (entry.second.use_count() > (isServed ? ours - 1 : ours)) return false;
        if (!isServed) m_packets.erase(entry.second->address);
        return true;
    });
    m_nextSweep = std::max<std::size_t>(4096, 2 * m_packets.size());
}

PacketRef CSelection::at(const void* address) const {
    const auto entry = m_packets.find(address);
    return entry != m_packets.end() ? entry->second : nullptr;
}

const PacketList& CSelection::list(std::int32_t type) const {
    static const PacketList none;
    const auto entry = m_chosen.find(type);
    return entry != m_chosen.end() ? entry->second.list : none;
}

PacketRef CSelection::recent(std::int32_t type) const {
    const auto entry = m_chosen.find(type);
    PacketRef packet = entry != m_chosen.end() ? entry->second.recent.lock() : nullptr;
    return packet != nullptr && packet->isAlive() ? packet : nullptr;
}

std::int32_t CSelection::currentType(const std::vector<std::int32_t>& among) const {
    const auto first = std::find_first_of(m_current.begin(), m_current.end(), among.begin(), among.end());
    return first != m_current.end() ? *first : 0;
}

CSelection::Typed CSelection::of(const Item& item) const {
    Typed packets;
    if (const auto entry = m_byItem.find(&item); entry != m_byItem.end())
        for (const auto& [key, packet] : entry->second) packets.emplace_back(key.first, packet);
    return packets;
}

void CSelection::markElements(const Item& item) const {
    for (const auto& [type, packet] : of(item))
        if (packet->isElement()) mark(*packet, true);
}

// A packet comes into the list of its type, or leaves it.
struct PacketPresence {
    CSelection* selection;
    std::int32_t type;
    PacketRef packet;
    PacketList::Key key;
    bool adds;

    void operator()(Direction direction, DocumentEvents& events) {
        if (adds == (direction == Direction::forward)) selection->enter(type, packet, key, events);
        else key = selection->leave(type, packet, events).value_or(key);
    }
};

struct ListExchange {
    CSelection* selection;
    std::int32_t type;
    PacketList packets;

    void operator()(Direction /*direction*/, DocumentEvents& events) { selection->exchange(type, packets, events); }
};

template <class Exchange> void CSelection::run(std::int32_t type, Exchange exchange, CChanges& edit) {
    if ((find(type)->flags & KZfSELTYP_UNDO) != 0) edit.make(nullptr, std::move(exchange));
    else edit.apply(std::move(exchange));
}

void CSelection::tell(DocumentEvents& events, DocumentEvent event) {
    (m_batches > 0 ? m_waiting : events).push_back(std::move(event));
}

void CSelection::noteEntered(std::int32_t type, const PacketRef& packet) {
    for (const ItemRef& item : {packet->item.lock(), packet->other.lock()})
        if (item != nullptr) m_byItem[item.get()].emplace(std::pair(type, packet->address), packet);
    if (packet->isElement()) mark(*packet, true);
}

void CSelection::noteLeft(std::int32_t type, const PacketRef& packet) {
    for (const ItemRef& item : {packet->item.lock(), packet->other.lock()}) {
        const auto entry = item != nullptr ? m_byItem.find(item.get()) : m_byItem.end();
        if (entry == m_byItem.end()) continue;
        entry->second.erase(std::pair(type, packet->address));
        if (entry->second.empty()) m_byItem.erase(entry);
    }
    if (packet->isElement()) mark(*packet, false);
}

bool CSelection::enter(std::int32_t type, const PacketRef& packet, PacketList::Key key, DocumentEvents& events) {
    Chosen& chosen = m_chosen[type];
    if (!packet->isAlive() || !chosen.list.add(packet, key)) return false;
    chosen.recent = packet;
    noteEntered(type, packet);
    tell(events, {.kind = Kind::selectionAdded, .first = type, .second = packet->subtype});
    return true;
}

std::optional<PacketList::Key> CSelection::leave(std::int32_t type, const PacketRef& packet, DocumentEvents& events) {
    const auto key = m_chosen[type].list.remove(*packet);
    if (!key) return key;
    noteLeft(type, packet);
    tell(events, {.kind = Kind::selectionRemoved, .first = type, .second = packet->subtype});
    return key;
}

void CSelection::exchange(std::int32_t type, PacketList& packets, DocumentEvents& events) {
    packets.removeIf([](const PacketRef& packet) { return !packet->isAlive(); });
    Chosen& chosen = m_chosen[type];
    chosen.list.swap(packets);
    packets.each([&](const PacketRef& packet) { noteLeft(type, packet); });
    if (!packets.empty()) tell(events, {.kind = Kind::selectionCleared, .first = type});
    chosen.list.each([&](const PacketRef& packet) {
        noteEntered(type, packet);
        tell(events, {.kind = Kind::selectionAdded, .first = type, .second = packet->subtype});
    });
    if (!chosen.list.empty()) chosen.recent = chosen.list.last();
}

void CSelection::add(std::int32_t type, const PacketRef& packet, CChanges& edit) {
    const PacketList& selected = list(type);
    if (selected.has(*packet)) return;
    if (!selected.empty() && (find(type)->flags & KZfSELTYP_SINGLE) != 0) {
        PacketList single;
        single.add(packet);
        return replace(type, std::move(single), edit);
    }
    run(type, PacketPresence{this, type, packet, selected.nextKey(), true}, edit);
    m_history.note(type, {packet, true});
}

void CSelection::remove(std::int32_t type, const PacketRef& packet, CChanges& edit) {
    if (!list(type).has(*packet)) return;
    run(type, PacketPresence{this, type, packet, 0, false}, edit);
    m_history.note(type, {packet, false});
}

void CSelection::replace(std::int32_t type, PacketList packets, CChanges& edit) {
    const PacketList& selected = list(type);
    if (packets.isSameAs(selected)) return;
    SelectionStep former;
    if (!m_history.isMoving()) former.list = selected;
    run(type, ListExchange{this, type, std::move(packets)}, edit);
    m_history.note(type, std::move(former));
}

bool CSelection::step(std::int32_t type, bool isBack, CChanges& edit) {
    return m_history.move(type, isBack, [&](SelectionStep& step, bool back) {
        if (step.packet == nullptr) {
            PacketList before = list(type), wanted = std::move(step.list);
            wanted.removeIf([](const PacketRef& packet) { return !packet->isAlive(); });
            const bool differs = !wanted.isSameAs(before);
            if (differs) replace(type, std::move(wanted), edit);
            step.list = std::move(before);
            return differs;
        }
        const bool had = list(type).has(*step.packet);
        if (step.adds != back && step.packet->isAlive()) add(type, step.packet, edit);
        else if (step.adds == back) remove(type, step.packet, edit);
        return list(type).has(*step.packet) != had;
    });
}

void CSelection::setCurrentType(std::int32_t type, CChanges& edit) {
    if (m_current.front() == type) return;
    const auto place = std::find(m_current.begin(), m_current.end(), type);
    std::rotate(m_current.begin(), place, place + 1);
    edit.apply(
        [&](Direction, DocumentEvents& events) { tell(events, {.kind = Kind::selectionCurrent, .first = type}); });
}

template <class Test> void CSelection::dropIf(const Item& item, const Test& test, CChanges& edit) {
    const CSelectionHistory::Moving nobodysChoice(m_history);
    for (const auto& [type, packet] : of(item))
        if (test(*packet)) remove(type, packet, edit);
}

void CSelection::drop(const Item& item, CChanges& edit) {
    dropIf(
        item, [](const SelectionPacket&) { return true; }, edit);
}

void CSelection::dropChannel(const Item& item, const std::string& channel, CChanges& edit) {
    dropIf(
        item, [&](const SelectionPacket& each) { return each.kind == PacketKind::channel && each.text == channel; },
        edit);
}

void CSelection::dropLink(const Item& source, const Item& target, const std::string& text, CChanges& edit) {
    const auto isOf = [&](const SelectionPacket& each) {
        return each.kind == PacketKind::link && each.text == text && each.item.lock().get() == &source &&
               each.other.lock().get() == &target;
    };
    dropIf(source, isOf, edit);
}

void CSelection::purge(const Item& item, DocumentEvents& events) {
    for (const auto& [type, packet] : of(item)) leave(type, packet, events);
}

void CSelection::dropLostElements(const Item& item, ChangeList& changes, DocumentEvents& events) {
    for (const auto& [type, packet] : of(item)) {
        if (!packet->isElement() || packet->isAlive()) continue;
        changes.push_back(
            std::make_unique<CExchange<PacketPresence>>(nullptr, PacketPresence{this, type, packet, 0, false}));
        changes.back()->apply(Direction::forward, events);
    }
}

void CSelection::sceneChanged(CChanges& edit) {
    for (const auto& each : m_types)
        if ((each->flags & KZfSELTYP_SCENE) != 0) replace(each->type, {}, edit);
}

void CSelection::forget(const CDocument& document, DocumentEvents& events) {
    std::vector<const Item*> items;
    for (const auto& [item, packets] : m_byItem)
        if (&item->document == &document) items.push_back(item);
    for (const Item* item : items) purge(*item, events);
    for (const auto& [hash, packet] : m_subjects) {
        if (packet->document != &document) continue;
        packet->document = nullptr;
        for (const auto& [type, chosen] : m_chosen)
            if (chosen.list.has(*packet)) leave(type, packet, events);
    }
}

void CSelection::endBatch(CChanges& edit) {
    if (m_batches == 0) throw KZe_NOTREADY;
    if (--m_batches > 0) return;
    edit.apply([&](Direction, DocumentEvents& events) {
        std::move(m_waiting.begin(), m_waiting.end(), std::back_inserter(events));
        m_waiting.clear();
    });
}

}  // namespace kzhost
