// Scenes: their items by type, name and identifier, the items' channels, and the matrices of locators. One header,
// because scenes, items and channels refer to each other.
#pragma once

#include "host/document/item_types.h"
#include "host/objects/arguments.h"
#include "host/objects/mesh.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CItem;

class CScene final : public CHosted<"scene", CScene, CKzIfc_Scene>, public CHostSelf<CScene> {
public:
    // A new scene with its root item.
    static CHostRef<CScene> open(std::string name);
    explicit CScene(std::string name) : m_name(std::move(name)) {}
    ~CScene() override;

    KzResult scene_Filename(const char** path) override;
    KzResult scene_SetFilename(const char* path) override;
    KzResult scene_Name(const char** name) override;
    KzResult scene_Root(IKzUnknown** item) override;
    bool scene_IsModified() override { return m_isModified; }
    KzResult scene_SetModified(std::int32_t modified) override;
    KzResult scene_ItemAdd(std::int32_t type, IKzUnknown** item) override;
    KzResult scene_ItemRemove(IKzUnknown* item) override;
    std::uint32_t scene_ItemCount(std::int32_t type) override;
    KzResult scene_ItemByIndex(std::int32_t type, std::uint32_t index, IKzUnknown** item) override;
    KzResult scene_ItemLookup(const char* name, IKzUnknown** item) override;
    KzResult scene_ItemByIdent(const char* ident, IKzUnknown** item) override;
    KzResult scene_Channels(const char* action, double time, IKzUnknown** read) override;
    KzResult scene_WriteChannels(const char* action, double time, IKzUnknown** write) override;

    const std::string& filename() const { return m_filename; }
    void touch() { m_isModified = true; }
    // The item's name, with a number appended if earlier items have the same name.
    std::string uniqueName(const CItem& item) const;
    // The items without a parent.
    std::vector<CItem*>& roots() { return m_roots; }
    // Removes all items. Items that are still referenced become invalid.
    void close();

private:
    CHostRef<CItem> add(const ItemType& type);

    std::string m_name, m_filename;
    bool m_isModified = false;
    std::uint32_t m_nextIdent = 1;
    std::vector<CHostRef<CItem>> m_items;  // the root item first
    std::vector<CItem*> m_roots;
};

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
    // Sets a channel; throws a code if it cannot be set.
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

// Readers and writers of the channels of a scene's items.
IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time);
IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time);

// One channel of an item: its description, and the definition of a new one.
IKzUnknown* kzMakeItemChannel(CHostRef<CItem> item, std::int32_t channel);
IKzUnknown* kzMakeAddChannel(CHostRef<CItem> item, std::string channel);

// The matrices of locators, from their channels and their parents.
// Scales first, then rotates, then moves. The identity for an item that is no locator.
KzMatrix4 kzLocalMatrix(CItem& item);
KzMatrix4 kzWorldMatrix(CItem& item);

}  // namespace kzhost
