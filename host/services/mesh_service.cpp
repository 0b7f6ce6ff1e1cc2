// The mesh service: makes meshes, and lists the types of polygons and maps.
#include "host/services/mesh_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include <utility>

namespace kzhost {

namespace {

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
