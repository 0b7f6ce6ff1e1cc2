// The mesh service: makes meshes, and lists the types of polygons and maps.
#include "host/services/mesh_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/mesh_tools.h"
#include "host/objects/raycast.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include <array>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// The marks by name: the fixed ones, and those that were handed out. Meshes know no host, so all hosts share them.
class CMarkTable {
public:
    std::int32_t find(std::string_view name) const {
        const std::lock_guard lock(m_lock);
        for (const auto& [mark, text] : m_marks)
            if (!text.empty() && text == name) return mark;
        return 0;
    }
    std::vector<std::string> names() const {
        const std::lock_guard lock(m_lock);
        std::vector<std::string> names;
        for (const auto& [mark, text] : m_marks)
            if (!text.empty()) names.push_back(text);
        return names;
    }
    // 0 if all are taken.
    std::int32_t allocate(std::string_view name) {
        const std::lock_guard lock(m_lock);
        for (auto& [mark, text] : m_marks)
            if (text.empty()) return text = name, mark;
        return 0;
    }
    // False unless it is a user mark that was handed out.
    bool release(std::int32_t mark) {
        const std::lock_guard lock(m_lock);
        for (auto& [each, text] : m_marks)
            if (each == mark && (mark & KZmMARK_USER) != 0 && !text.empty()) return text.clear(), true;
        return false;
    }

private:
    mutable std::mutex m_lock;
    std::array<std::pair<std::int32_t, std::string>, 10> m_marks{{{KZfMARK_SELECT, "select"},
                                                                  {KZfMARK_HIDE, "hide"},
                                                                  {KZfMARK_LOCK, "lock"},
                                                                  {KZfMARK_DRAG, "drag"},
                                                                  {KZfMARK_AUTO, "auto"},
                                                                  {KZfMARK_VALID, "valid"},
                                                                  {KZfMARK_USER1, ""},
                                                                  {KZfMARK_USER2, ""},
                                                                  {KZfMARK_USER3, ""},
                                                                  {KZfMARK_USER4, ""}}};
};

CMarkTable& marks() {
    static auto* table = new CMarkTable();
    return *table;
}

class CMeshService final : public CHosted<"mesh service", CMeshService, CKzIfc_MeshService>, CServiceBase {
public:
    using CServiceBase::CServiceBase;

    KzResult meshservice_Create(IKzUnknown** mesh) override {
        enter("Mesh.Create");
        return CHostRef<CMesh>::make().give(mesh);
    }
    // Meshes are neither deformed nor animated here: an item has one mesh.
    KzResult meshservice_FromItem(IKzUnknown* item, double /*time*/, std::int32_t /*evaluated*/,
                                  IKzUnknown** mesh) override {
        enter("Mesh.FromItem");
        return kzOwn<CItem>(item)->mesh().give(mesh);
    }
    KzResult meshservice_EditItem(IKzUnknown* item, const char* /*action*/, IKzUnknown** mesh) override {
        enter("Mesh.EditItem");
        return kzOwn<CItem>(item)->mesh().give(mesh);
    }
    KzResult meshservice_CreateBag(IKzUnknown** bag) override {
        enter("Mesh.CreateBag");
        *bag = kzMakeBagGenerator();
        return KZe_OK;
    }
    KzResult meshservice_CreateFromSurface(IKzUnknown* surface, double edgeLength, IKzUnknown** mesh) override {
        enter("Mesh.CreateFromSurface");
        return kzMeshFromSurface(surface, edgeLength).give(mesh);
    }
    // What an evaluation has of the item's mesh, which nobody changes any more.
    KzResult meshservice_FromChannel(IKzUnknown* channels, IKzUnknown* item, std::int32_t channel,
                                     IKzUnknown** mesh) override {
        enter("Mesh.FromChannel");
        const auto own = kzOwn<CItem>(item);
        if (!CKzUser_ChannelRead(channels)) return KZe_INVALIDARG;
        if (channel >= 0) {
            const auto reading = own->read();
            const ChannelInfo& info = kzChannelAt(*reading, channel);
            if (info.kind != ChannelKind::object || kzTextOf(info.objectType) != KZsTYPE_MESH)
                return kzBecause(KZe_INVALIDARG, "Mesh.FromChannel",
                                 [&] { return "the channel \"" + info.name + "\" holds no mesh"; });
        }
        return own->mesh()->mesh_Snapshot(mesh);
    }
    KzResult meshservice_Slice(IKzUnknown* mesh, IKzUnknown** slice) override {
        enter("Mesh.Slice");
        *slice = kzMakePolygonSlice(kzOwn<CMesh>(mesh));
        return KZe_OK;
    }
    KzResult meshservice_Editor(IKzUnknown* mesh, IKzUnknown** editor) override {
        enter("Mesh.Editor");
        *editor = kzMakePolygonEdit(kzOwn<CMesh>(mesh));
        return KZe_OK;
    }
    KzResult meshservice_Drill(IKzUnknown* mesh, IKzUnknown** drill) override {
        enter("Mesh.Drill");
        *drill = kzMakeSolidDrill(kzOwn<CMesh>(mesh));
        return KZe_OK;
    }
    KzResult meshservice_Blend(IKzUnknown* from, IKzUnknown* to, IKzUnknown** blend) override {
        enter("Mesh.Blend");
        *blend = kzMakeMeshBlend(kzOwn<CMesh>(from), kzOwn<CMesh>(to));
        return KZe_OK;
    }
    KzResult meshservice_Raycast(IKzUnknown* mesh, std::uint32_t flags, IKzUnknown** raycast) override {
        enter("Mesh.Raycast");
        auto made = CHostRef<CRaycast>::make(flags);
        made->add(kzOwn<CMesh>(mesh), kzIdentity());
        made->build();
        return made.give(raycast);
    }
    KzResult meshservice_MarkLookup(const char* name, std::int32_t* mark) override {
        enter("Mesh.MarkLookup");
        *mark = marks().find(kzTextOf(name));
        if (*mark != 0) return KZe_OK;
        return kzBecause(KZe_NOTFOUND, "Mesh.MarkLookup",
                         [&] { return kzThereIsNo("mark", kzTextOf(name), marks().names()); });
    }
    KzResult meshservice_AllocateMark(const char* name, std::int32_t* mark) override {
        enter("Mesh.AllocateMark");
        if (kzTextOf(name).empty()) return KZe_INVALIDARG;
        if (marks().find(name) != 0) return KZe_ALREADYEXISTS;
        *mark = marks().allocate(name);
        if (*mark != 0) return KZe_OK;
        return kzBecause(KZe_NOTAVAILABLE, "Mesh.AllocateMark",
                         [] { return std::string("all four user marks are taken"); });
    }
    void meshservice_ReleaseMark(std::int32_t mark) override {
        enter("Mesh.ReleaseMark");
        if (marks().release(mark)) CMesh::clearMark(mark);
    }
    std::uint32_t meshservice_MapTypeCount() override {
        enter("Mesh.MapTypeCount");
        return static_cast<std::uint32_t>(kzMapTypes().size());
    }
    KzResult meshservice_MapTypeByIndex(std::uint32_t index, std::int32_t* type) override {
        enter("Mesh.MapTypeByIndex");
        if (index >= kzMapTypes().size()) return KZe_OUTOFBOUNDS;
        *type = kzMapTypes()[index].type;
        return KZe_OK;
    }
    KzResult meshservice_MapTypeName(std::int32_t type, const char** name) override {
        enter("Mesh.MapTypeName");
        const MeshMapType* row = kzFindMapType(type);
        if (row == nullptr) return KZe_NOTFOUND;
        *name = row->name;
        return KZe_OK;
    }
    std::uint32_t meshservice_MapTypeDimension(std::int32_t type) override {
        enter("Mesh.MapTypeDimension");
        const MeshMapType* row = kzFindMapType(type);
        return row != nullptr ? row->dimension : 0;
    }
    std::uint32_t meshservice_PolygonTypeCount() override {
        enter("Mesh.PolygonTypeCount");
        return static_cast<std::uint32_t>(kzPolygonTypes().size());
    }
    KzResult meshservice_PolygonTypeByIndex(std::uint32_t index, std::int32_t* type, const char** name) override {
        enter("Mesh.PolygonTypeByIndex");
        if (index >= kzPolygonTypes().size()) return KZe_OUTOFBOUNDS;
        *type = kzPolygonTypes()[index].type;
        *name = kzPolygonTypes()[index].name;
        return KZe_OK;
    }
    KzResult meshservice_PolygonTypeLookup(const char* name, std::int32_t* type) override {
        enter("Mesh.PolygonTypeLookup");
        for (const MeshPolygonType& row : kzPolygonTypes()) {
            if (kzTextOf(name) != row.name) continue;
            *type = row.type;
            return KZe_OK;
        }
        return kzBecause(KZe_NOTFOUND, "Mesh.PolygonTypeLookup", [&] {
            return kzThereIsNo("polygon type", kzTextOf(name), kzPolygonTypes(),
                               [](const auto& each) { return each.name; });
        });
    }
};

}  // namespace

decltype(kzMakeMeshService) kzMakeMeshService = kzMakeService<CMeshService>;

}  // namespace kzhost
