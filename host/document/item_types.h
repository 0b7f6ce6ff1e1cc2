// The types of items, and their channels.
#pragma once

#include "host/document/channel_info.h"

#include "kz/item.h"
#include "kz/scene.h"
#include "kz/transform.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kzhost {

// What a new type of items is made of.
struct ItemTypeDeclaration {
    std::string name;
    std::string base;  // a name, too
    std::vector<ChannelInfo> channels;
    std::map<std::string, std::string, std::less<>> tags;  // by s_ITEMTAG names
};

// A type of items. It never changes, so any thread may read it.
class ItemType {
public:
    ItemType(std::int32_t ownNumber, const ItemType* baseType, ItemTypeDeclaration declaration);
    ItemType(const ItemType&) = delete;
    ItemType& operator=(const ItemType&) = delete;

private:
    const ItemTypeDeclaration m_declaration;
    std::unordered_map<std::string_view, std::int32_t> m_indices;

public:
    const std::int32_t number;
    const char* const name;
    const std::int32_t base;  // KZiITYPE_NONE for the type that all are based on
    const ItemType* const super;
    // Starting with those of the base type. A type may describe a channel of its base anew, which keeps its place.
    std::vector<std::reference_wrapper<const ChannelInfo>> channels;

    // By name; a vector is found by the name that its components share, too, and is then its first component. -1 or null
    // if there is none.
    std::int32_t index(std::string_view channel) const;
    const ChannelInfo* channel(std::string_view channel) const;
    // True if the type is `other` or based on it.
    bool isA(std::int32_t other) const;
    // The text of a server tag, such as s_ITEMTAG_PREFIX; null if the type has none of that name.
    const char* tag(std::string_view tag) const;
    const ItemTypeDeclaration& declaration() const noexcept { return m_declaration; }
};

// All types of items. A type that is in the table stays, at its address.
class CItemTypeTable {
public:
    // With the host's own types.
    CItemTypeTable();
    // Throws ALREADYEXISTS for a name that is taken, also by two of the type's channels, and NOTFOUND for an unknown base.
    const ItemType& add(ItemTypeDeclaration declaration);

    // Null for an unknown type.
    const ItemType* find(std::int32_t number) const;
    const ItemType* find(std::string_view name) const;
    std::size_t size() const;
    // Whether it is one of the host's own types, which every host has.
    bool isOwn(const ItemType& type) const;
    // Those that are there now, in the order of their numbers, which count from 1.
    std::vector<std::reference_wrapper<const ItemType>> all() const;

private:
    mutable std::shared_mutex m_mutex;
    std::vector<std::unique_ptr<const ItemType>> m_types;
    std::unordered_map<std::string_view, const ItemType*> m_byName;
    std::size_t m_ownCount = 0;
};

// The table that all scenes of the process share, and its parts.
CItemTypeTable& kzItemTypeTable();
inline auto kzItemTypes() { return kzItemTypeTable().all(); }
const ItemType* kzFindItemType(std::int32_t number);
const ItemType* kzFindItemType(std::string_view name);
// True if the type is `base` or is derived from it.
bool kzIsItemType(std::int32_t type, std::int32_t base);

// The channels of a package that the host itself puts on items; null for an unknown one.
const std::vector<ChannelInfo>* kzFindChannelPackage(std::string_view name);

}  // namespace kzhost
