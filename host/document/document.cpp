// A document: the items of one scene, found by identifier, name and type.
#include "host/document/document.h"

#include "host/document/document_event.h"

#include <algorithm>
#include <utility>

namespace kzhost {

CDocument::CDocument(CWorkspace& workspace, std::string name) : m_workspace(workspace), m_name(std::move(name)) {
    const ItemType& type = *kzFindItemType(KZiITYPE_ROOT);
    m_root = std::make_shared<Item>(*this, type, newIdent(type), ++m_lastSerial);
    enter(*m_root, nullptr, 0);
}

CDocument::~CDocument() { close(); }

Item* CDocument::byIdent(std::string_view ident) const {
    const auto entry = m_items.find(ident);
    return entry != m_items.end() ? entry->second.get() : nullptr;
}

std::size_t CDocument::count(std::int32_t type) const {
    const auto entry = m_byType.find(type);
    return entry != m_byType.end() ? entry->second.size() : 0;
}

Item* CDocument::at(std::int32_t type, std::size_t index) const {
    return index < count(type) ? m_byType.at(type).at(index) : nullptr;
}

std::string CDocument::newIdent(const ItemType& type) {
    for (std::int64_t number = m_lastSerial + 1;; ++number)
        if (std::string ident = type.name + std::to_string(number); byIdent(ident) == nullptr) return ident;
}

// The root item has no place among the roots.
void CDocument::enter(Item& item, Item* parent, std::size_t position) {
    m_items.emplace(item.ident, item.shared_from_this());
    for (const ItemType* type = &item.type; type != nullptr; type = type->super)
        m_byType[type->number].insertByKey(item);
    item.parent = parent;
    if (&item != m_root.get()) siblings(parent).insert(std::min(position, siblings(parent).size()), item);
    m_names.enter(item, item.number);
    item.isPresent = true;
}

void CDocument::leave(Item& item) {
    item.isPresent = false;
    m_names.leave(item);
    siblings(item.parent).erase(item);
    item.parent = nullptr;
    for (const ItemType* type = &item.type; type != nullptr; type = type->super) m_byType[type->number].erase(item);
    m_items.erase(item.ident);
}

namespace {

// An instance shows what its source has.
void stampAll(Item& item, std::uint64_t stamp) {
    item.stamp = stamp;
    std::vector<Item*> open = item.instances;
    while (!open.empty()) {
        Item* instance = open.back();
        open.pop_back();
        instance->stamp = stamp;
        open.insert(open.end(), instance->instances.begin(), instance->instances.end());
    }
}

}  // namespace

void CDocument::changed(const DocumentEvents& events, std::size_t first) {
    using Kind = DocumentEvent::Kind;
    ++m_stamp;
    for (; first < events.size(); ++first) {
        const DocumentEvent& event = events[first];
        for (Item* item : {event.item.get(), event.other.get()}) {
            if (item == nullptr) continue;
            stampAll(*item, m_stamp);
            if (kzIsActionItem(*item)) m_actionStamp = m_stamp;
        }
        switch (event.kind) {
        case Kind::channelValue:
        case Kind::keyAdded:
        case Kind::keyRemoved:
        case Kind::keyMoved:
        case Kind::envelope:
        case Kind::action:
        case Kind::renamed:
        case Kind::modified:
        case Kind::currentTime:
        case Kind::playRange:
        case Kind::tag:
        case Kind::flags: break;
        default: m_structureStamp = m_stamp;
        }
    }
}

void CDocument::close() {
    if (evaluation != nullptr) evaluation->clear();
    for (auto& [ident, item] : m_items) {
        item->isPresent = false;
        item->parent = nullptr;
        item->children.clear();
        item->inputs.clear();
        item->outputs.clear();
        item->links.clear();
        item->channelMembers.clear();
        item->channelGroups.clear();
        item->instances.clear();
        item->source = nullptr;
    }
    m_roots.clear();
    m_byType.clear();
    m_names.clear();
    // The identifiers are the items' own. Nothing is allocated here, since a document also closes when memory has run out.
    decltype(m_items) items;
    items.swap(m_items);
    m_root.reset();
}

}  // namespace kzhost
