// A document: the items of one scene, found by identifier, name and type.
#include "host/document/document.h"

#include "host/document/presence.h"
#include "host/document/workspace.h"

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
    for (const ItemType* type = &item.type; type != nullptr; type = type->super)
        m_byType[type->number].erase(item);
    m_items.erase(item.ident);
}

void CDocument::close() {
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
    m_names = {};
    // The identifiers are the items' own.
    std::vector<ItemRef> items;
    for (auto& [ident, item] : m_items) items.push_back(item);
    m_items.clear();
    m_root.reset();
}

void CDocument::Presence::operator()(Direction direction, DocumentEvents& events) {
    CDocument& document = item->document;
    if (isAdded(direction)) {
        document.enter(*item, parent, position);
        events.push_back({.kind = DocumentEvent::Kind::itemAdded, .document = &document, .item = item});
    } else {
        parent = item->parent;
        position = document.siblings(parent).positionOf(*item);
        document.m_workspace.selection().purge(*item, events);
        document.leave(*item);
        events.push_back({.kind = DocumentEvent::Kind::itemRemoved, .document = &document, .text = item->ident});
    }
}

void CDocument::Presence::announce(Direction direction, DocumentEvents& events) const {
    if (!isAdded(direction))
        events.push_back({.kind = DocumentEvent::Kind::itemRemoving, .document = &item->document, .item = item});
}

}  // namespace kzhost
