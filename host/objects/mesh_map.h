// Maps of a mesh.
#pragma once

#include "host/objects/mesh_cursor.h"

namespace kzhost {

class CMeshMap final : public CHosted<"mesh map", CMeshMap, CKzIfc_MeshMap>, public CMeshCursor<CMeshMap, MeshMapData> {
public:
    static CElementTable<MeshMapData>& table(CMeshData& data) { return data.maps; }
    using CMeshCursor::CMeshCursor;
    using CMeshCursor::table;

    KzResult meshmap_MoveTo(KzElementId map) override { return moveTo(map); }
    KzResult meshmap_MoveToIndex(std::uint32_t index) override { return moveToIndex(index); }
    KzResult meshmap_MoveToName(std::int32_t type, const char* name) override;
    KzResult meshmap_Enumerate(std::int32_t type, IKzUnknown* visitor) override;
    bool meshmap_IsAt() override { return isAt(); }
    KzElementId meshmap_Id() override { return id(); }
    std::int32_t meshmap_Type() override { return isAt() ? here().type : 0; }
    KzResult meshmap_Name(const char** name) override;
    KzResult meshmap_SetName(const char* name) override;
    KzResult meshmap_Mesh(IKzUnknown** mesh) override { return giveMesh(mesh); }
    std::uint32_t meshmap_Dimension() override { return isAt() ? here().dimension : 0; }
    std::uint32_t meshmap_Flags() override { return isAt() ? here().flags : 0; }
    KzResult meshmap_SetFlags(std::uint32_t mask, std::uint32_t flags) override;
    KzResult meshmap_Add(std::int32_t type, const char* name, KzElementId* map) override;
    KzResult meshmap_AddCustom(const char* name, std::int32_t dimension, std::uint32_t flags,
                               KzElementId* map) override;
    KzResult meshmap_Remove() override;
    KzResult meshmap_Clear() override;
    std::uint32_t meshmap_ValueCount() override;
    bool meshmap_HasValue(KzElementId point) override;
    bool meshmap_IsContinuous(KzElementId point) override;
    KzResult meshmap_Value(KzElementId point, KzElementId polygon, float* values) override;
    KzResult meshmap_SetValue(KzElementId point, KzElementId polygon, float* values) override;
    KzResult meshmap_SetAll(float* values, std::int32_t mark) override;
    KzResult meshmap_Scale(float factor, std::int32_t mark) override;
    KzResult meshmap_Range(std::int32_t component, float* minimum, float* maximum) override;
};

// Reading and writing map values at a place that the mesh must have; NOTFOUND where there is no map or value.
KzResult kzReadMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place, float* values);
KzResult kzWriteMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place, const float* values);
KzResult kzClearMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place);

}  // namespace kzhost
