// Items of a scene: names, place in the tree, channels and tags.
#pragma once

#include "host/objects/mesh.h"
#include "host/objects/scene.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

class CItem final : public CHosted<"item", CItem, CKzIfc_Item>, public CHostSelf<CItem> {
public:
    CItem(CScene& scene, const ItemType& type, std::string ident);

    KzResult item_Name(const char** name) override;
    KzResult item_SetName(const char* name) override;
    KzResult item_UniqueName(const char** name) override;
    KzResult item_Ident(const char** ident) override;
    std::int32_t item_Type() override { return m_type.number; }
    KzResult item_TypeName(const char** type) override;
    bool item_TestType(std::int32_t type) override { return kzIsItemType(m_type.number, type); }
    bool item_TestTypes(std::uint32_t count, std::int32_t* types) override;
    bool item_IsValid() override { return m_scene != nullptr; }
    KzResult item_Scene(IKzUnknown** scene) override;
    KzResult item_HomeScene(IKzUnknown** scene) override { return item_Scene(scene); }
    KzResult item_Parent(IKzUnknown** parent) override;
    KzResult item_SetParent(IKzUnknown* parent, std::int32_t position) override;
    KzResult item_RootParent(IKzUnknown** root) override;
    bool item_IsAncestor(IKzUnknown* other) override;
    std::uint32_t item_SubCount() override { return static_cast<std::uint32_t>(m_children.size()); }
    KzResult item_SubByIndex(std::uint32_t index, IKzUnknown** item) override;
    std::int32_t item_RootPosition() override;
    std::uint32_t item_ChannelCount() override { return static_cast<std::uint32_t>(m_channels.size()); }
    KzResult item_ChannelLookup(const char* name, std::int32_t* channel) override;
    KzResult item_ChannelByIndex(std::int32_t channel, IKzUnknown** itemChannel) override;
    KzResult item_ChannelName(std::int32_t channel, const char** name) override;
    KzResult item_ChannelPackage(std::int32_t channel, const char** package) override;
    KzResult item_ChannelAdd(const char* name, const char* type, IKzUnknown** description) override;
    KzResult item_ChannelRemove(const char* name) override;
    std::uint32_t item_TagCount() override { return static_cast<std::uint32_t>(m_tags.size()); }
    KzResult item_TagByIndex(std::uint32_t index, std::uint32_t* code, const char** text) override;
    KzResult item_Tag(std::uint32_t code, const char** text) override;
    KzResult item_SetTag(std::uint32_t code, const char* text) override;
    std::uint32_t item_Flags() override { return m_flags; }
    KzResult item_SetFlags(std::uint32_t mask, std::uint32_t flags) override;

    // A channel and its value, if one was set.
    struct Channel {
        ChannelInfo info;
        std::optional<KzCell> value;
        const KzCell& cell() const { return value ? *value : info.initial; }
    };
    Channel& channel(std::int32_t index);                    // throws OUTOFBOUNDS
    std::int32_t channelIndex(std::string_view name) const;  // throws NOTFOUND
    bool hasChannel(std::string_view name) const { return findChannel(name) >= 0; }
    void addChannel(ChannelInfo info);  // throws ALREADYEXISTS
    void removeChannel(const std::string& name);
    double number(const char* channelName);
    // Sets a channel; throws the reason why it cannot be set.
    void write(std::int32_t index, KzCell cell);

    CScene& scene() const;  // throws NOTAVAILABLE once the item is removed
    bool isIn(const CScene& scene) const { return m_scene == &scene; }
    CItem* parent() const { return m_parent; }
    std::vector<CItem*>& children() { return m_children; }
    std::string ident() const { return m_ident; }
    std::string baseName() const;
    void leave();

    // The mesh of a mesh item; throws INVALIDARG for others.
    CHostRef<CMesh>& mesh();

private:
    std::int32_t findChannel(std::string_view name) const;  // -1 when there is none
    std::vector<CItem*>& siblings() const;
    bool isAbove(const CItem& other) const;

    CScene* m_scene;
    const ItemType& m_type;
    std::string m_ident, m_name, m_uniqueName;
    CItem* m_parent = nullptr;
    std::vector<CItem*> m_children;
    std::vector<Channel> m_channels;
    std::map<std::uint32_t, std::string> m_tags;
    std::uint32_t m_flags = KZfITEM_VISIBLE | KZfITEM_SELECTABLE | KZfITEM_RENDERABLE;
    CHostRef<CMesh> m_mesh;
};

}  // namespace kzhost
