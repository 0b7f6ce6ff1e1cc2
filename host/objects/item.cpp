// The objects of items: names, place in the tree, and tags.
#include "host/objects/item.h"

#include "host/core/reasons.h"
#include "host/document/referenced.h"
#include "host/objects/mesh_marks.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/action.h"
#include "kz/group.h"
#include "kz/mesh.h"
#include "kz/scene_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace kzhost {

namespace {

// Keeps the object of an item, and tells it when the item goes.
struct ItemObject final : AttachedObject {
    explicit ItemObject(CHostRef<CItem> item) : item(std::move(item)) {}
    ~ItemObject() override { item->forget(); }
    KzResult give(IKzUnknown** object) const override { return item.give(object); }
    CHostRef<CItem> item;
};

// The mesh of an item, and what the history has of it: the data as they were when a change was last recorded.
struct MeshGeometry final : RecordedGeometry, std::enable_shared_from_this<MeshGeometry> {
    CHostRef<CMesh> mesh = CHostRef<CMesh>::make();
    std::shared_ptr<const CMeshData> recorded = std::make_shared<const CMeshData>();

    std::shared_ptr<ItemAttachment> copy() const override {
        auto copy = std::make_shared<MeshGeometry>();
        copy->mesh->data.assign(mesh->data);
        copy->recorded = std::make_shared<const CMeshData>(mesh->data);
        return copy;
    }
    std::unique_ptr<CChange> takeChange(const ItemRef& item) override;
    bool hasElement(const SelectionPacket& packet) override { return kzMarksOf(mesh->data, packet) != nullptr; }
    void markElement(const SelectionPacket& packet, bool isSelected) override;
    // Reports the first change of each step. The item owns the mesh, so it is named weakly.
    void watch(const ItemRef& item) {
        mesh->data.watch().set([item = std::weak_ptr(item)] {
            if (const ItemRef changed = item.lock()) changed->document.workspace().noteGeometry(changed);
        });
    }
};

struct GeometryExchange {
    ItemRef item;
    std::shared_ptr<MeshGeometry> geometry;
    std::shared_ptr<const CMeshData> state;

    // The marks are those of now: they are no part of the history.
    void operator()(Direction /*direction*/, DocumentEvents& events) {
        const auto now = std::make_shared<CMeshData>(geometry->mesh->data);
        geometry->mesh->data.assign(*state);
        kzKeepMarks(*now, geometry->mesh->data);
        item->document.workspace().selection().markElements(*item);
        geometry->mesh->data.watch().take();
        std::swap(geometry->recorded, state);
        events.push_back({.kind = DocumentEvent::Kind::geometry, .document = &item->document, .item = item});
    }
    std::size_t memory() const {
        return sizeof *state + std::size_t{128} * (state->points.size() + state->polygons.size());
    }
};

void MeshGeometry::markElement(const SelectionPacket& packet, bool isSelected) {
    std::int32_t* marks = kzMarksOf(mesh->data, packet);
    if (marks == nullptr) return;
    *marks = isSelected ? *marks | KZfMARK_SELECT : *marks & ~KZfMARK_SELECT;
    mesh->data.changed(KZfMESHEDIT_MARKS);
}

std::unique_ptr<CChange> MeshGeometry::takeChange(const ItemRef& item) {
    if (!mesh->data.watch().take()) return nullptr;
    auto before = std::exchange(recorded, std::make_shared<const CMeshData>(mesh->data));
    return std::make_unique<CExchange<GeometryExchange>>(&item->document,
                                                         GeometryExchange{item, shared_from_this(), std::move(before)});
}

}  // namespace

CHostRef<CItem> kzObjectOf(Item& item) {
    if (item.object == nullptr) item.object = std::make_unique<ItemObject>(CHostRef<CItem>::make(item));
    return static_cast<ItemObject&>(*item.object).item;
}

KzResult kzGiveItem(Item* item, IKzUnknown** out) {
    return item != nullptr ? kzObjectOf(*item).give(out) : KZe_NOTFOUND;
}

CMeshData* kzMeshOf(const Item& item) {
    const Item* owner = &item;
    while (owner->source != nullptr) owner = owner->source;
    auto* geometry = dynamic_cast<MeshGeometry*>(owner->geometry.get());
    return geometry != nullptr ? &geometry->mesh->data : nullptr;
}

void kzGiveMesh(Item& item, const CMeshData& mesh) {
    auto geometry = std::make_shared<MeshGeometry>();
    geometry->mesh->data.assign(mesh);
    geometry->recorded = std::make_shared<const CMeshData>(mesh);
    item.geometry = std::move(geometry);
}

CItem::CItem(Item& item)
    : m_workspace(item.document.workspace().shared_from_this()), m_type(item.type), m_item(&item) {}

void CItem::forget() {
    const CReading reading(*m_workspace);
    m_item = nullptr;
}

CItemReading CItem::readKept() const {
    const CReading reading(*m_workspace);
    if (m_item == nullptr) throw KZe_NOTAVAILABLE;
    return {*m_workspace, *m_item};
}

CItemReading CItem::read() const {
    const CReading reading(*m_workspace);
    if (m_item == nullptr || !m_item->isPresent) throw KZe_NOTAVAILABLE;
    return {*m_workspace, *m_item};
}

CItemReading CItem::readIn(const CDocument& document) const {
    const CReading reading(*m_workspace);
    if (m_item == nullptr || !m_item->isPresent || &m_item->document != &document) throw KZe_INVALIDARG;
    return {*m_workspace, *m_item};
}

CHostRef<CMesh> CItem::mesh() {
    const auto self = read();
    Item* item = &self->shapeOwner();
    if (std::string_view(m_type.name) != KZsITYPE_MESH)
        throw kzBecause(KZe_INVALIDARG, "Item", [&] {
            return fmt::format("\"{}\" is a {} and has no mesh; items of the type mesh have one", item->uniqueName,
                               m_type.name);
        });
    if (item->geometry == nullptr) item->geometry = std::make_shared<MeshGeometry>();
    auto& geometry = static_cast<MeshGeometry&>(*item->geometry);
    geometry.watch(item->shared_from_this());
    geometry.mesh->owner = item->weak_from_this();
    if (kzIsForeign(*item)) geometry.mesh->data.identity.isFrozen = true;
    return geometry.mesh;
}

IKzUnknown* CItem::subObject(const KzGuid& iid) {
    if (iid == KZu_POSEITEM && std::string_view(m_type.name) == KZsITYPE_ACTIONPOSE) return kzMakePose(self());
    if (iid == KZu_GROUPITEM && kzIsItemType(m_type.number, kzFindItemType(KZsITYPE_GROUP)->number))
        return kzMakeGroupItem(self());
    return nullptr;
}

KzResult CItem::item_Name(const char** name) {
    const auto item = readKept();
    *name = item->name.empty() ? nullptr : kzLend(item->name);
    return KZe_OK;
}

KzResult CItem::item_SetName(const char* name) {
    CEdit edit(*m_workspace);
    edit.rename(*read(), kzString(name));
    edit.commit();
    return KZe_OK;
}

KzResult CItem::item_UniqueName(const char** name) {
    *name = kzLend(read()->uniqueName);
    return KZe_OK;
}

KzResult CItem::item_Ident(const char** ident) {
    *ident = kzLend(readKept()->ident);
    return KZe_OK;
}

KzResult CItem::item_SetIdent(const char* /*ident*/) {
    return kzBecause(KZe_NOTAVAILABLE, "Item.SetIdent",
                     [] { return "identifiers are set only while a scene is loaded"; });
}

KzResult CItem::item_TypeName(const char** type) {
    *type = m_type.name;
    return KZe_OK;
}

bool CItem::item_TestTypes(std::uint32_t count, std::int32_t* types) {
    return types != nullptr &&
           std::any_of(types, types + count, [this](std::int32_t type) { return item_TestType(type); });
}

bool CItem::item_IsValid() {
    const CReading reading(*m_workspace);
    return m_item != nullptr && m_item->isPresent;
}

bool CItem::item_IsReferenced() { return (read()->flags & KZfITEM_REFERENCE) != 0; }

bool CItem::item_IsInstance() { return read()->source != nullptr; }

KzResult CItem::item_Scene(IKzUnknown** scene) {
    return static_cast<AttachedObject&>(*read()->document.object).give(scene);
}

KzResult CItem::item_Parent(IKzUnknown** parent) { return kzGiveItem(read()->parent, parent); }

KzResult CItem::item_SetParent(IKzUnknown* parent, std::int32_t position) {
    const auto newParent = parent != nullptr ? kzOwn<CItem>(parent) : CHostRef<CItem>();
    CEdit edit(*m_workspace);
    const auto item = read();
    Item* above = newParent ? &*newParent->read() : nullptr;
    if (m_type.number == KZiITYPE_ROOT || (above != nullptr && &above->document != &item->document))
        return KZe_INVALIDARG;
    if (above != nullptr && above->type.number == KZiITYPE_ROOT) above = nullptr;
    if (above != nullptr && (above == &*item || item->isAbove(*above)))
        return kzBecause(KZeGRAPH_CYCLIC, "Item.SetParent",
                         [&] { return fmt::format("\"{}\" is below \"{}\"", above->uniqueName, item->uniqueName); });
    edit.place(*item, above, position < 0 ? CEdit::last : static_cast<std::size_t>(position));
    edit.commit();
    return KZe_OK;
}

KzResult CItem::item_RootParent(IKzUnknown** root) {
    const auto item = read();
    Item* top = &*item;
    while (top->parent != nullptr) top = top->parent;
    return kzGiveItem(top, root);
}

bool CItem::item_IsAncestor(IKzUnknown* other) {
    const auto below = kzOwn<CItem>(other);
    const auto item = read();
    return item->isAbove(*below->read());
}

std::uint32_t CItem::item_SubCount() { return static_cast<std::uint32_t>(read()->children.size()); }

KzResult CItem::item_SubByIndex(std::uint32_t index, IKzUnknown** item) {
    const auto self = read();
    return index < self->children.size() ? kzGiveItem(self->children.at(index), item) : KZe_OUTOFBOUNDS;
}

std::int32_t CItem::item_RootPosition() {
    const auto item = read();
    if (item->parent != nullptr || m_type.number == KZiITYPE_ROOT) return -1;
    return static_cast<std::int32_t>(item->document.roots().positionOf(*item));
}

KzResult CItem::item_Source(IKzUnknown** source) { return kzGiveItem(read()->source, source); }

std::uint32_t CItem::item_InstanceCount() { return static_cast<std::uint32_t>(read()->instances.size()); }

KzResult CItem::item_InstanceByIndex(std::uint32_t index, IKzUnknown** instance) {
    const auto item = read();
    return index < item->instances.size() ? kzGiveItem(item->instances[index], instance) : KZe_OUTOFBOUNDS;
}

std::uint32_t CItem::item_TagCount() { return static_cast<std::uint32_t>(readKept()->tags.size()); }

KzResult CItem::item_TagByIndex(std::uint32_t index, std::uint32_t* code, const char** text) {
    const auto item = readKept();
    if (index >= item->tags.size()) return KZe_OUTOFBOUNDS;
    const auto entry = std::next(item->tags.begin(), index);
    *code = entry->first;
    *text = kzLend(entry->second);
    return KZe_OK;
}

KzResult CItem::item_Tag(std::uint32_t code, const char** text) {
    const auto item = readKept();
    const auto entry = item->tags.find(code);
    if (entry == item->tags.end()) return KZe_NOTFOUND;
    *text = kzLend(entry->second);
    return KZe_OK;
}

KzResult CItem::item_SetTag(std::uint32_t code, const char* text) {
    CEdit edit(*m_workspace);
    const auto item = read();
    if (text == nullptr && !item->tags.contains(code)) return KZe_OK;
    edit.setTag(*item, code, text != nullptr ? std::optional<std::string>(text) : std::nullopt);
    edit.commit();
    return KZe_OK;
}

std::uint32_t CItem::item_Flags() {
    const auto item = read();
    const bool isAnimated = std::any_of(item->values.begin(), item->values.end(), [](const auto& entry) {
        const auto& actions = entry.second.actions;
        return std::any_of(actions.begin(), actions.end(), [](const auto& each) { return each.curve != nullptr; });
    });
    return item->flags | (isAnimated ? KZfITEM_ANIMATED : 0U);
}

KzResult CItem::item_SetFlags(std::uint32_t mask, std::uint32_t flags) {
    if ((mask & ~KZmITEM_USER) != 0)
        return kzBecause(KZe_NOACCESS, "Item.SetFlags",
                         [&] { return fmt::format("only the flags {:#x} are the user's to change", KZmITEM_USER); });
    CEdit edit(*m_workspace);
    const auto item = read();
    edit.setFlags(*item, (item->flags & ~mask) | (flags & mask));
    edit.commit();
    return KZe_OK;
}

}  // namespace kzhost
