// Items of a scene: names, place in the tree, channels and tags.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/scene_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

std::string rangeOf(const ChannelInfo& info) {
    if (!info.minimum) return fmt::format("only values up to {}", *info.maximum);
    if (!info.maximum) return fmt::format("only values from {}", *info.minimum);
    return fmt::format("only values from {} to {}", *info.minimum, *info.maximum);
}

}  // namespace

CItem::CItem(CScene& scene, const ItemType& type, std::string ident)
    : m_scene(&scene), m_type(type), m_ident(std::move(ident)) {
    for (const ChannelInfo& info : type.channels) m_channels.push_back({info, {}});
    if (std::string_view(type.name) == KZsITYPE_MESH) m_mesh = CHostRef<CMesh>::make();
}

CScene& CItem::scene() const {
    if (m_scene == nullptr) throw KZe_NOTAVAILABLE;
    return *m_scene;
}

void CItem::leave() {
    m_scene = nullptr;
    m_parent = nullptr;
    m_children.clear();
}

CHostRef<CMesh>& CItem::mesh() {
    if (!m_mesh)
        throw kzBecause(KZe_INVALIDARG, "Item", [&] {
            return fmt::format("\"{}\" is a {} and has no mesh; items of the type mesh have one", baseName(),
                               m_type.name);
        });
    return m_mesh;
}

// Without a name, the type serves as one.
std::string CItem::baseName() const {
    if (!m_name.empty()) return m_name;
    std::string name = m_type.name;
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return name;
}

KzResult CItem::item_Name(const char** name) {
    *name = m_name.empty() ? nullptr : m_name.c_str();
    return KZe_OK;
}

KzResult CItem::item_SetName(const char* name) {
    scene().touch();
    m_name = kzTextOf(name);
    return KZe_OK;
}

KzResult CItem::item_UniqueName(const char** name) {
    m_uniqueName = scene().uniqueName(*this);
    *name = m_uniqueName.c_str();
    return KZe_OK;
}

KzResult CItem::item_Ident(const char** ident) {
    *ident = m_ident.c_str();
    return KZe_OK;
}

KzResult CItem::item_TypeName(const char** type) {
    *type = m_type.name;
    return KZe_OK;
}

bool CItem::item_TestTypes(std::uint32_t count, std::int32_t* types) {
    return types != nullptr &&
           std::any_of(types, types + count, [this](std::int32_t type) { return item_TestType(type); });
}

KzResult CItem::item_Scene(IKzUnknown** scene) { return this->scene().self().give(scene); }

KzResult CItem::item_Parent(IKzUnknown** parent) {
    return m_parent != nullptr ? m_parent->self().give(parent) : KZe_NOTFOUND;
}

std::vector<CItem*>& CItem::siblings() const { return m_parent != nullptr ? m_parent->m_children : scene().roots(); }

bool CItem::isAbove(const CItem& other) const {
    for (const CItem* item = other.m_parent; item != nullptr; item = item->m_parent)
        if (item == this) return true;
    return false;
}

KzResult CItem::item_SetParent(IKzUnknown* parent, std::int32_t position) {
    CItem* newParent = parent != nullptr ? kzOwn<CItem>(parent).object() : nullptr;
    if (m_type.number == KZiITYPE_ROOT || (newParent != nullptr && !newParent->isIn(scene()))) return KZe_INVALIDARG;
    if (newParent != nullptr && (newParent == this || isAbove(*newParent))) return KZeGRAPH_CYCLIC;
    std::vector<CItem*>& oldSiblings = siblings();
    std::vector<CItem*>& newSiblings = newParent != nullptr ? newParent->m_children : scene().roots();
    newSiblings.reserve(newSiblings.size() + 1);  // from here on nothing can fail
    std::erase(oldSiblings, this);
    const bool appends = position < 0 || static_cast<std::size_t>(position) > newSiblings.size();
    newSiblings.insert(appends ? newSiblings.end() : newSiblings.begin() + position, this);
    m_parent = newParent;
    scene().touch();
    return KZe_OK;
}

KzResult CItem::item_RootParent(IKzUnknown** root) {
    const CItem* top = this;
    while (top->m_parent != nullptr) top = top->m_parent;
    return top->self().give(root);
}

bool CItem::item_IsAncestor(IKzUnknown* other) {
    const auto item = CHostRef<CItem>::of(other);
    return item && isAbove(*item);
}

KzResult CItem::item_SubByIndex(std::uint32_t index, IKzUnknown** item) {
    return index < m_children.size() ? m_children[index]->self().give(item) : KZe_OUTOFBOUNDS;
}

std::int32_t CItem::item_RootPosition() {
    if (m_parent != nullptr) return -1;
    const auto& roots = scene().roots();
    const auto place = std::find(roots.begin(), roots.end(), this);
    return place != roots.end() ? static_cast<std::int32_t>(place - roots.begin()) : -1;
}

CItem::Channel& CItem::channel(std::int32_t index) {
    if (index < 0 || static_cast<std::size_t>(index) >= m_channels.size())
        throw kzBecause(KZe_OUTOFBOUNDS, "Item.Channel", [&] {
            return fmt::format("there is no channel {}; \"{}\" has {}", index, baseName(), m_channels.size());
        });
    return m_channels[static_cast<std::size_t>(index)];
}

std::int32_t CItem::findChannel(std::string_view name) const {
    for (std::size_t i = 0; i < m_channels.size(); ++i)
        if (m_channels[i].info.name == name) return static_cast<std::int32_t>(i);
    return -1;
}

std::int32_t CItem::channelIndex(std::string_view name) const {
    const std::int32_t index = findChannel(name);
    if (index < 0)
        throw kzBecause(KZe_NOTFOUND, "Item.ChannelLookup", [&] {
            return kzThereIsNo("channel", name, m_channels, [](const Channel& each) { return each.info.name; });
        });
    return index;
}

void CItem::addChannel(ChannelInfo info) {
    if (hasChannel(info.name)) throw KZe_ALREADYEXISTS;
    info.flags |= KZfCHAN_USER;
    m_channels.push_back({std::move(info), {}});
    scene().touch();
}

void CItem::removeChannel(const std::string& name) {
    const std::int32_t index = channelIndex(name);
    if ((channel(index).info.flags & KZfCHAN_USER) == 0) throw KZe_NOACCESS;
    m_channels.erase(m_channels.begin() + index);
    scene().touch();
}

double CItem::number(const char* channelName) {
    return kzNumberOf(channel(channelIndex(channelName)).cell()).value_or(0);
}

void CItem::write(std::int32_t index, KzCell cell) {
    Channel& target = channel(index);
    const ChannelInfo& info = target.info;
    const auto refuse = [&](KzResult code, const std::string& why) {
        return kzBecause(code, "ChannelWrite", [&] { return fmt::format("the channel \"{}\" {}", info.name, why); });
    };
    if ((info.flags & (KZfCHAN_READONLY | KZfCHAN_LOCKED)) != 0) throw refuse(KZe_NOACCESS, "cannot be written");
    if (const auto number = kzNumberOf(cell)) {
        if (!std::isfinite(*number)) throw refuse(KZe_INVALIDARG, fmt::format("takes no {}", *number));
        if (*number < info.minimum.value_or(*number) || *number > info.maximum.value_or(*number))
            throw refuse(KZe_OUTOFBOUNDS, fmt::format("takes no {}, {}", *number, rangeOf(info)));
    }
    scene().touch();
    target.value = std::move(cell);
}

KzResult CItem::item_ChannelLookup(const char* name, std::int32_t* channel) {
    *channel = channelIndex(kzTextOf(name));
    return KZe_OK;
}

KzResult CItem::item_ChannelByIndex(std::int32_t channel, IKzUnknown** itemChannel) {
    this->channel(channel);
    *itemChannel = kzMakeItemChannel(self(), channel);
    return KZe_OK;
}

KzResult CItem::item_ChannelName(std::int32_t channel, const char** name) {
    *name = this->channel(channel).info.name.c_str();
    return KZe_OK;
}

KzResult CItem::item_ChannelPackage(std::int32_t channel, const char** package) {
    *package = (this->channel(channel).info.flags & KZfCHAN_USER) != 0 ? KZs_CHANPKG_USER : nullptr;
    return KZe_OK;
}

KzResult CItem::item_ChannelAdd(const char* name, const char* type, IKzUnknown** description) {
    ChannelInfo info;
    info.name = kzTextOf(name);
    info.type = kzFindType(kzTextOf(type));
    if (info.name.empty()) return KZe_INVALIDARG;
    if (info.type == nullptr)
        return kzBecause(KZe_INVALIDARG, "Item.ChannelAdd", [&] {
            return kzThereIsNo("value type", kzTextOf(type), kzValueTypes(),
                               [](const auto& each) { return each.name; });
        });
    info.initial = kzEmptyCell(*info.type);
    addChannel(std::move(info));
    *description = kzMakeAddChannel(self(), name);
    return KZe_OK;
}

KzResult CItem::item_ChannelRemove(const char* name) {
    removeChannel(kzString(name));
    return KZe_OK;
}

KzResult CItem::item_TagByIndex(std::uint32_t index, std::uint32_t* code, const char** text) {
    if (index >= m_tags.size()) return KZe_OUTOFBOUNDS;
    const auto entry = std::next(m_tags.begin(), index);
    *code = entry->first;
    *text = entry->second.c_str();
    return KZe_OK;
}

KzResult CItem::item_Tag(std::uint32_t code, const char** text) {
    const auto entry = m_tags.find(code);
    if (entry == m_tags.end()) return KZe_NOTFOUND;
    *text = entry->second.c_str();
    return KZe_OK;
}

KzResult CItem::item_SetTag(std::uint32_t code, const char* text) {
    if (text == nullptr) m_tags.erase(code);
    else m_tags[code] = text;
    return KZe_OK;
}

KzResult CItem::item_SetFlags(std::uint32_t mask, std::uint32_t flags) {
    if ((mask & ~KZmITEM_USER) != 0) return KZe_NOACCESS;
    m_flags = (m_flags & ~mask) | (flags & mask);
    return KZe_OK;
}

}  // namespace kzhost
