// Reads documents from text: the tree, and the links between items and channels.
#include "host/objects/scene_reader.h"

#include "host/document/graphs.h"

#include "kz/group.h"
#include "kz/scene_graph.h"

#include <algorithm>

namespace kzhost {

// A parent has its place already, so that nothing can come to stand below itself.
void CSceneReader::place() {
    Item* item = itemNamed();
    Item* parent = m_in.hasMore() ? itemNamed() : nullptr;
    if (item == nullptr || item == m_document.root()) m_in.fail("the scene item has no place in the tree");
    if (parent == m_document.root()) m_in.fail("nothing is below the scene item");
    if (parent != nullptr && !m_placed.contains(parent)) m_in.fail("the parent has no place yet");
    if (!m_placed.insert(item).second) m_in.fail("the item has a place already");
    if (parent != nullptr || !isInPlace(*item)) m_edit.place(*item, parent, CEdit::last);
}

// Every item was added as the last root, and files that were saved here tell of the roots in that order. The first one that
// stands elsewhere goes to the end, and so do all after it.
bool CSceneReader::isInPlace(const Item& root) {
    const auto& roots = m_document.siblingsOf(root);
    if (!m_isOrdered || root.parent != nullptr || m_rootCount >= roots.size() || roots.at(m_rootCount) != &root)
        m_isOrdered = false;
    else ++m_rootCount;
    return m_isOrdered;
}

void CSceneReader::instance() {
    Item* item = itemNamed();
    Item* source = itemNamed();
    if (item == nullptr || source == nullptr || item == m_document.root() || source == m_document.root())
        m_in.fail("the scene item has no instances and is none");
    if (&item->type != &source->type) m_in.fail("an instance has the type of its source");
    if (item->geometry != nullptr) m_in.fail("an instance has the mesh of its source");
    if (!m_instances.emplace(item).second) m_in.fail("the item is an instance already");
    m_circles["instances"].add({source, nullptr}, {item, nullptr}, m_in.lineNumber());
    m_sources.emplace_back(item, source);
}

// Only once it is known that nothing is an instance of itself.
void CSceneReader::setSources() {
    for (const auto& [item, source] : m_sources) m_edit.setSource(*item, source);
}

void CSceneReader::member() {
    Item* group = itemNamed();
    Item* item = itemNamed();
    const ChannelInfo* channel = item != nullptr ? &channelOf(*item) : (m_in.text(), nullptr);
    if (group == nullptr || !group->type.isA(kzFindItemType(KZsITYPE_GROUP)->number))
        m_in.fail("only groups have members");
    if (channel == nullptr) return;  // of the scene item of an import
    if (!m_members.emplace(group, item, channel).second) m_in.fail("the channel is in the group already");
    m_edit.addMember(*group, *item, *channel);
}

// What stands at the end of a link says at which place it is there; without a place, it is behind all others. Answers the
// place among those that are there already.
std::size_t CSceneReader::placeAt(const std::pair<std::string, const Item*>& target) {
    auto& order = m_order[target];
    const std::size_t place = m_in.hasMore() ? static_cast<std::size_t>(m_in.integer(0, kzMostItems)) : order.size();
    const auto position = std::upper_bound(order.begin(), order.end(), place);
    const auto index = static_cast<std::size_t>(position - order.begin());
    order.insert(position, place);
    return index;
}

void CSceneReader::link() {
    const std::string graph = m_in.text();
    const GraphInfo* info = kzFindGraph(graph);
    if (info == nullptr || info->isReadOnly || info->type != static_cast<std::uint32_t>(KZiGRAPHTYPE_ITEM))
        m_in.fail("there is no graph \"" + graph + "\" of items");
    Item* source = itemNamed();
    Item* target = itemNamed();
    const std::size_t index = placeAt({graph, target});
    if (source == nullptr || target == nullptr) return;  // the scene item of an import
    if (!m_links.emplace(graph, source, target).second) m_in.fail("the items are linked already");
    if ((info->flags & KZfGRAPH_ALLOWCYCLES) == 0)
        m_circles[graph].add({source, nullptr}, {target, nullptr}, m_in.lineNumber());
    m_edit.link(graph, *source, CEdit::last, *target, m_isImport ? CEdit::last : index);
}

void CSceneReader::wire() {
    m_wire = nullptr;
    Item* source = itemNamed();
    const ChannelInfo* from = source != nullptr ? &channelOf(*source) : (m_in.text(), nullptr);
    Item* target = itemNamed();
    const ChannelInfo* to = target != nullptr ? &channelOf(*target) : (m_in.text(), nullptr);
    const std::size_t index = placeAt({std::string(), target});
    if (from == nullptr || to == nullptr) return;
    if (!m_wires.emplace(from, to, source, target).second) m_in.fail("the channels are linked already");
    m_circles["channels"].add({source, from}, {target, to}, m_in.lineNumber());
    m_wire = &m_edit.linkChannels(*source, *from, *target, *to, m_isImport ? CEdit::last : index);
}

void CSceneReader::attribute() {
    const std::string name = m_in.text();
    std::string value = m_in.text();
    if (m_wire == nullptr && !m_isImport) m_in.fail("a wire comes first");
    if (m_wire != nullptr) m_edit.setAttribute(*m_wire, name, std::move(value));
}

void CSceneReader::refuseCircles() {
    for (auto& [graph, links] : m_circles)
        if (const std::size_t line = links.find(); line != 0)
            CSceneWords::failAt(line, 1, "this link of \"" + graph + "\" closes a circle, or hangs on one");
}

}  // namespace kzhost
