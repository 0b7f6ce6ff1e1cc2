// The types of items.
#include "host/document/item_types.h"

#include "host/document/types/type_tables.h"

#include "kz/result.h"

#include <mutex>
#include <utility>

namespace kzhost {

ItemType::ItemType(std::int32_t ownNumber, const ItemType* baseType, ItemTypeDeclaration declaration)
    : m_declaration(std::move(declaration)), number(ownNumber), name(m_declaration.name.c_str()),
      base(baseType != nullptr ? baseType->number : KZiITYPE_NONE), super(baseType) {
    if (super != nullptr) {
        channels = super->channels;
        m_indices = super->m_indices;
    }
    const std::size_t inherited = channels.size();
    for (const ChannelInfo& channel : m_declaration.channels) {
        const auto next = static_cast<std::int32_t>(channels.size());
        const auto [entry, isNew] = m_indices.emplace(channel.name, next);
        const auto place = static_cast<std::size_t>(entry->second);
        if (isNew) channels.emplace_back(channel);
        else if (place < inherited && channels[place].get().name == channel.name) channels[place] = channel;
        else throw KZe_ALREADYEXISTS;
        m_indices.emplace(channel.vectorName(), next);
    }
}

std::int32_t ItemType::index(std::string_view channel) const {
    const auto entry = m_indices.find(channel);
    return entry != m_indices.end() ? entry->second : -1;
}

const ChannelInfo* ItemType::channel(std::string_view channel) const {
    const std::int32_t place = index(channel);
    return place >= 0 ? &channels[static_cast<std::size_t>(place)].get() : nullptr;
}

bool ItemType::isA(std::int32_t other) const {
    for (const ItemType* type = this; type != nullptr; type = type->super)
        if (type->number == other) return true;
    return false;
}

const char* ItemType::tag(std::string_view tag) const {
    const auto entry = m_declaration.tags.find(tag);
    return entry != m_declaration.tags.end() ? entry->second.c_str() : nullptr;
}

CItemTypeTable::CItemTypeTable() {
    rows::eachType([this](rows::TypeDescription type) {
        add({std::move(type.name), std::move(type.base), std::move(type.channels), std::move(type.tags)});
    });
    m_ownCount = m_types.size();
}

bool CItemTypeTable::isOwn(const ItemType& type) const {
    return type.number >= 1 && static_cast<std::size_t>(type.number) <= m_ownCount;
}

const ItemType& CItemTypeTable::add(ItemTypeDeclaration declaration) {
    const std::lock_guard lock(m_mutex);
    const auto super = m_byName.find(declaration.base);
    if (super == m_byName.end() && !m_types.empty()) throw KZe_NOTFOUND;
    if (m_byName.contains(declaration.name)) throw KZe_ALREADYEXISTS;
    const ItemType* base = super != m_byName.end() ? super->second : nullptr;
    auto type =
        std::make_unique<const ItemType>(static_cast<std::int32_t>(m_types.size()) + 1, base, std::move(declaration));
    m_types.reserve(m_types.size() + 1);  // so that nothing can fail once the name is known
    m_byName.emplace(type->name, type.get());
    m_types.push_back(std::move(type));
    return *m_types.back();
}

const ItemType* CItemTypeTable::find(std::int32_t number) const {
    const std::shared_lock lock(m_mutex);
    const bool isKnown = number >= 1 && static_cast<std::size_t>(number) <= m_types.size();
    return isKnown ? m_types[static_cast<std::size_t>(number) - 1].get() : nullptr;
}

const ItemType* CItemTypeTable::find(std::string_view name) const {
    const std::shared_lock lock(m_mutex);
    const auto entry = m_byName.find(name);
    return entry != m_byName.end() ? entry->second : nullptr;
}

std::size_t CItemTypeTable::size() const {
    const std::shared_lock lock(m_mutex);
    return m_types.size();
}

std::vector<std::reference_wrapper<const ItemType>> CItemTypeTable::all() const {
    const std::shared_lock lock(m_mutex);
    std::vector<std::reference_wrapper<const ItemType>> types;
    types.reserve(m_types.size());
    for (const auto& type : m_types) types.emplace_back(*type);
    return types;
}

CItemTypeTable& kzItemTypeTable() {
    static CItemTypeTable theTable;
    return theTable;
}

const ItemType* kzFindItemType(std::int32_t number) { return kzItemTypeTable().find(number); }

const ItemType* kzFindItemType(std::string_view name) { return kzItemTypeTable().find(name); }

bool kzIsItemType(std::int32_t type, std::int32_t base) {
    const ItemType* row = kzFindItemType(type);
    return row != nullptr && row->isA(base);
}

const std::vector<ChannelInfo>* kzFindChannelPackage(std::string_view name) {
    static const auto thePackages = rows::channelPackages();
    const auto entry = thePackages.find(name);
    return entry != thePackages.end() ? &entry->second : nullptr;
}

}  // namespace kzhost
