// The object that stands for an item of a document.
#pragma once

#include "host/document/edit.h"
#include "host/objects/arguments.h"
#include "host/objects/attached_object.h"
#include "host/objects/mesh.h"

#include <memory>
#include <string>
#include <string_view>

namespace kzhost {

// An item under the lock: readable while this lives.
class CItemReading {
public:
    CItemReading(const CWorkspace& workspace, Item& item) : m_reading(workspace), m_item(item) {}
    Item* operator->() const noexcept { return &m_item; }
    Item& operator*() const noexcept { return m_item; }

private:
    CReading m_reading;
    Item& m_item;
};

class CItem final : public CHosted<"item", CItem, CKzIfc_Item>, public CHostSelf<CItem> {
public:
    explicit CItem(Item& item);
    // The item is going, and this object is about to be all that is left of it.
    void forget();

    KzResult item_Name(const char** name) override;
    KzResult item_SetName(const char* name) override;
    KzResult item_UniqueName(const char** name) override;
    KzResult item_Ident(const char** ident) override;
    KzResult item_SetIdent(const char* ident) override;
    std::int32_t item_Type() override { return m_type.number; }
    KzResult item_TypeName(const char** type) override;
    bool item_TestType(std::int32_t type) override { return kzIsItemType(m_type.number, type); }
    bool item_TestTypes(std::uint32_t count, std::int32_t* types) override;
    bool item_IsValid() override;
    bool item_IsReferenced() override;
    bool item_IsInstance() override;
    KzResult item_Scene(IKzUnknown** scene) override;
    KzResult item_HomeScene(IKzUnknown** scene) override;
    KzResult item_Parent(IKzUnknown** parent) override;
    KzResult item_SetParent(IKzUnknown* parent, std::int32_t position) override;
    KzResult item_RootParent(IKzUnknown** root) override;
    bool item_IsAncestor(IKzUnknown* other) override;
    std::uint32_t item_SubCount() override;
    KzResult item_SubByIndex(std::uint32_t index, IKzUnknown** item) override;
    std::int32_t item_RootPosition() override;
    KzResult item_Source(IKzUnknown** source) override;
    std::uint32_t item_InstanceCount() override;
    KzResult item_InstanceByIndex(std::uint32_t index, IKzUnknown** instance) override;
    std::uint32_t item_ChannelCount() override;
    KzResult item_ChannelLookup(const char* name, std::int32_t* channel) override;
    KzResult item_ChannelByIndex(std::int32_t channel, IKzUnknown** itemChannel) override;
    KzResult item_ChannelName(std::int32_t channel, const char** name) override;
    KzResult item_ChannelPackage(std::int32_t channel, const char** package) override;
    KzResult item_ChannelAdd(const char* name, const char* type, IKzUnknown** description) override;
    KzResult item_ChannelRemove(const char* name) override;
    KzResult item_PackageAdd(const char* package) override;
    KzResult item_PackageRemove(const char* package) override;
    bool item_PackageTest(const char* package) override;
    std::uint32_t item_PackageCount() override;
    KzResult item_PackageByIndex(std::uint32_t index, const char** package) override;
    std::uint32_t item_TagCount() override;
    KzResult item_TagByIndex(std::uint32_t index, std::uint32_t* code, const char** text) override;
    KzResult item_Tag(std::uint32_t code, const char** text) override;
    KzResult item_SetTag(std::uint32_t code, const char* text) override;
    std::uint32_t item_Flags() override;
    KzResult item_SetFlags(std::uint32_t mask, std::uint32_t flags) override;
    KzResult item_Object(const char* type, IKzUnknown** object) override;
    KzResult item_Duplicate(std::int32_t deep, IKzUnknown** item) override;

    const ItemType& type() const noexcept { return m_type; }
    CWorkspace& workspace() const noexcept { return *m_workspace; }
    // The item; throws NOTAVAILABLE once it has left its scene.
    CItemReading read() const;
    // As above; throws INVALIDARG for an item that is not in that document.
    CItemReading readIn(const CDocument& document) const;
    // As `read`, also for an item that was removed and could come back by undoing.
    CItemReading readKept() const;
    // The mesh of a mesh item; throws INVALIDARG for others.
    CHostRef<CMesh> mesh();

    // What items of some types are besides: poses, groups with their members.
    IKzUnknown* subObject(const KzGuid& iid);

private:
    const std::shared_ptr<CWorkspace> m_workspace;
    const ItemType& m_type;
    Item* m_item;  // null once it is gone for good
};

// The object of an item: always the same one. Null stands for none: NOTFOUND. The lock must be held.
CHostRef<CItem> kzObjectOf(Item& item);
KzResult kzGiveItem(Item* item, IKzUnknown** out);

// The mesh of an item; null if it has none. The lock must be held.
CMeshData* kzMeshOf(const Item& item);
// Gives a mesh to an item that is new in its document. It is no step of the history.
void kzGiveMesh(Item& item, const CMeshData& mesh);

// The channel at that index or of that name; throws OUTOFBOUNDS or NOTFOUND. The lock must be held.
const ChannelInfo& kzChannelAt(const Item& item, std::int32_t index);
std::int32_t kzChannelIndex(const Item& item, std::string_view name);

// The members of an item of a group type.
IKzUnknown* kzMakeGroupItem(const CHostRef<CItem>& group);
// The pose that an item of that type is.
IKzUnknown* kzMakePose(const CHostRef<CItem>& item);

// One channel of an item: its description.
IKzUnknown* kzMakeItemChannel(CHostRef<CItem> item, std::int32_t channel);
// Describes a new channel of the item further.
IKzUnknown* kzMakeAddChannel(CHostRef<CItem> item, std::string channel);
// The channel of that name and type; throws INVALIDARG for an unknown type.
ChannelInfo kzNewChannel(std::string name, std::string_view type);
// Throws ALREADYEXISTS if the item has a channel of that name.
void kzAddChannel(Item& item, ChannelInfo channel, CEdit& edit);

}  // namespace kzhost
