// A document: the items of one scene, found by identifier, name and type. Reading goes on under a CReading, and changes
// are made through a CEdit.
#pragma once

#include "host/document/item.h"
#include "host/document/name_index.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kzhost {

class CWorkspace;
struct DocumentEvent;
using DocumentEvents = std::vector<DocumentEvent>;

class CDocument {
public:
    explicit CDocument(CWorkspace& workspace, std::string name);
    CDocument(const CDocument&) = delete;
    CDocument& operator=(const CDocument&) = delete;
    ~CDocument();

    CWorkspace& workspace() const noexcept { return m_workspace; }
    const std::string& name() const noexcept { return m_name; }
    const std::string& filename() const noexcept { return m_filename; }
    bool isOpen() const noexcept { return m_root != nullptr; }
    bool isModified() const noexcept { return m_revision != m_savedRevision; }
    // Tells states of the document apart; undoing comes back to the same one.
    std::uint64_t revision() const noexcept { return m_revision; }
    // Counts up whenever anything changes, also by undoing.
    std::uint64_t stamp() const noexcept { return m_stamp; }
    // The stamps of the latest change that added or removed items, links, channels or packages, and of the latest one of an
    // action's item.
    std::uint64_t structureStamp() const noexcept { return m_structureStamp; }
    std::uint64_t actionStamp() const noexcept { return m_actionStamp; }
    // What evaluates the channels.

    // The item of the scene itself; null once the document is closed.
    Item* root() const noexcept { return m_root.get(); }
    // The items without a parent, the root item excepted.
    const COrderedItems<&Item::siblingKey>& roots() const noexcept { return m_roots; }
    const COrderedItems<&Item::siblingKey>& siblingsOf(const Item& item) const {
        return item.parent != nullptr ? item.parent->children : m_roots;
    }
    // Null if there is none.
    Item* byIdent(std::string_view ident) const;
    Item* byName(std::string_view uniqueName) const { return m_names.find(uniqueName); }
    // The items of a type and of those based on it, in order of creation.
    std::size_t count(std::int32_t type) const;
    Item* at(std::int32_t type, std::size_t index) const;
    template <class Visit> void each(std::int32_t type, const Visit& visit) const {
        if (const auto entry = m_byType.find(type); entry != m_byType.end()) entry->second.each(visit);
    }

    std::unique_ptr<ItemAttachment> object;          // what stands for the document
    std::unique_ptr<DocumentAttachment> evaluation;  // made when something is first evaluated

private:
    friend class CEdit;
    friend class CWorkspace;
    struct Presence;

    std::string newIdent(const ItemType& type);
    // A change has told these events, from the first one on.
    void changed(const DocumentEvents& events, std::size_t first);
    void enter(Item& item, Item* parent, std::size_t position);
    void leave(Item& item);
    COrderedItems<&Item::siblingKey>& siblings(Item* parent) { return parent != nullptr ? parent->children : m_roots; }
    void close();

    CWorkspace& m_workspace;
    std::string m_name, m_filename;
    ItemRef m_root;
    COrderedItems<&Item::siblingKey> m_roots;
    std::unordered_map<std::string_view, ItemRef> m_items;  // by identifier
    std::unordered_map<std::int32_t, COrderedItems<&Item::serial>> m_byType;
    CNameIndex m_names;
    std::int64_t m_lastSerial = 0;
    std::uint64_t m_revision = 0, m_savedRevision = 0, m_stamp = 0, m_structureStamp = 0, m_actionStamp = 0;
};

}  // namespace kzhost
