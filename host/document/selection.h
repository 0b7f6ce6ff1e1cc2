// What is selected in a workspace: for each type of selection a list of packets, in the order of selection.
//
// A packet stands for one thing that can be selected. Callers know it by an address, which is given out once and never
// dereferenced: an address that is none is simply not found. Packets refer to items weakly, and those of an item that is
// removed leave the selection, as a part of that edit. The lock of the workspace must be held for all of this.
#pragma once

#include "host/document/change.h"
#include "host/document/item.h"
#include "host/document/ordered_set.h"
#include "host/document/selection_history.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

enum class PacketKind : std::uint8_t {
    none,
    item,
    scene,
    channel,  // text: its name
    link,     // item and other: its ends; text: the graph and, in lines of their own, the names of linked channels
    vertex,   // numbers: the point, and the polygon or 0
    edge,     // numbers: its two points in order, and the polygon or 0
    polygon,  // numbers: the polygon
    center,
    pivot,
    vertexMap,  // text: the name; numbers: the type
    action,     // document; text: the action; of an added one its item, and 1 as the first number
    preset,     // text: the path
    served      // numbers: the type, and the address that stands for the element
};

// What a packet stands for. Two packets never stand for the same.
struct PacketSubject {
    PacketKind kind = PacketKind::none;
    ItemRef item = {}, other = {};
    CDocument* document = nullptr;  // of a scene, and of an action
    std::array<std::uintptr_t, 3> numbers{};
    std::string text = {};
};

struct SelectionPacket {
    PacketKind kind;
    std::weak_ptr<Item> item, other;
    CDocument* document;  // null once the scene is closed
    std::array<std::uintptr_t, 3> numbers;
    std::string text;
    std::uint32_t subtype = 0;
    bool isReversed = false;  // of an edge: picked from its second point on
    void* address = nullptr;
    std::unique_ptr<std::byte[]> bytes = {};  // the element of a served type that the host keeps

    bool isElement() const {
        return kind == PacketKind::vertex || kind == PacketKind::edge || kind == PacketKind::polygon;
    }
    // Whether what it stands for is still there.
    bool isAlive() const;
};
using PacketRef = std::shared_ptr<SelectionPacket>;
using PacketList = COrderedSet<PacketRef>;

// A type of selection: one of the host's, or one that a module serves.
struct SelectionKind {
    std::int32_t type;
    std::string name;
    std::array<std::string, 2> titles;  // of one, and of several
    std::uint32_t flags;                // fSELTYP
    PacketKind packets;
};

// The text of the packet of a link between channels.
std::string kzLinkText(const ChannelLink& link);

class CSelection {
public:
    CSelection();

    // In the order of their registration; a type that is in the list stays there.
    const std::vector<std::unique_ptr<const SelectionKind>>& types() const noexcept { return m_types; }
    // Null for an unknown type.
    const SelectionKind* find(std::int32_t type) const;
    const SelectionKind* find(std::string_view name) const;
    const SelectionKind& addServed(std::string name, std::array<std::string, 2> titles, std::uint32_t flags);

    // The packet of that subject, made if there is none.
    PacketRef packet(const PacketSubject& subject);
    // The packet at that address; null if there is none.
    PacketRef at(const void* address) const;

    const PacketList& list(std::int32_t type) const;
    // What was selected last, whether or not it still is; null if nothing was or it has gone.
    PacketRef recent(std::int32_t type) const;
    // The one of these types that came first; 0 for an empty list.
    std::int32_t currentType(const std::vector<std::int32_t>& among) const;
    // The selected packets of that item, of all types.
    using Typed = std::vector<std::pair<std::int32_t, PacketRef>>;
    Typed of(const Item& item) const;
    // Marks the selected elements of the item, whose geometry has been replaced.
    void markElements(const Item& item) const;

    // These are recorded in the edit if the type says so. Each ignores what is the case already.
    void add(std::int32_t type, const PacketRef& packet, CChanges& edit);
    void remove(std::int32_t type, const PacketRef& packet, CChanges& edit);
    void replace(std::int32_t type, PacketList packets, CChanges& edit);
    void setCurrentType(std::int32_t type, CChanges& edit);
    // To what was selected before, and back again. False if there is no other selection in that direction.
    bool goBack(std::int32_t type, CChanges& edit) { return step(type, true, edit); }
    bool goForward(std::int32_t type, CChanges& edit) { return step(type, false, edit); }
    // Everything that stands for the item, its link or its channel leaves.
    void drop(const Item& item, CChanges& edit);
    void dropChannel(const Item& item, const std::string& channel, CChanges& edit);
    void dropLink(const Item& source, const Item& target, const std::string& text, CChanges& edit);
    // As drop, for an item that goes without an edit that knows of the selection.
    void purge(const Item& item, DocumentEvents& events);
    // Takes elements out that the item's geometry has lost. Appends changes that have been made.
    void dropLostElements(const Item& item, ChangeList& changes, DocumentEvents& events);
    // Another scene is the current one, or this one is closed.
    void sceneChanged(CChanges& edit);
    void forget(const CDocument& document, DocumentEvents& events);

    // Between these, what happens is kept for listeners until the last batch ends.
    void beginBatch() { ++m_batches; }
    void endBatch(CChanges& edit);  // throws NOTREADY without a batch

private:
    friend struct PacketPresence;
    friend struct ListExchange;
    struct Chosen {
        PacketList list;
        std::weak_ptr<SelectionPacket> recent;
    };
    template <class Exchange> void run(std::int32_t type, Exchange exchange, CChanges& edit);
    bool step(std::int32_t type, bool isBack, CChanges& edit);
    void tell(DocumentEvents& events, DocumentEvent event);
    template <class Test> void dropIf(const Item& item, const Test& test, CChanges& edit);
    bool enter(std::int32_t type, const PacketRef& packet, PacketList::Key key, DocumentEvents& events);
    std::optional<PacketList::Key> leave(std::int32_t type, const PacketRef& packet, DocumentEvents& events);
    void exchange(std::int32_t type, PacketList& packets, DocumentEvents& events);
    void noteEntered(std::int32_t type, const PacketRef& packet);
    void noteLeft(std::int32_t type, const PacketRef& packet);
    void sweep();

    std::vector<std::unique_ptr<const SelectionKind>> m_types;
    std::unordered_map<const void*, PacketRef> m_packets;        // by address
    std::unordered_multimap<std::size_t, PacketRef> m_subjects;  // by the hash of what they stand for
    std::size_t m_nextSweep = 4096;
    std::uintptr_t m_lastAddress = 0x1000;
    std::map<std::int32_t, Chosen> m_chosen;
    CSelectionHistory m_history;
    std::unordered_map<const Item*, std::map<std::pair<std::int32_t, const void*>, PacketRef>> m_byItem;
    std::vector<std::int32_t> m_current;  // the latest first
    int m_batches = 0;
    DocumentEvents m_waiting;
};

}  // namespace kzhost
