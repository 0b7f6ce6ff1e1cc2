// Maps of a mesh.
#pragma once

#include "host/objects/mesh_cursor.h"

namespace kzhost {

class CMeshMap final : public CHosted<"mesh map", CMeshMap, CKzIfc_MeshMap>, public CMeshCursor<CMeshMap, MeshMapData> {
public:
    static CElementTable<MeshMapData>& table(CMeshData& data) { return data.maps; }
    KZ_CURSOR_OPERATIONS(meshmap)

    KzResult meshmap_MoveToName(std::int32_t type, const char* name) override;
    KzResult meshmap_Enumerate(std::int32_t type, IKzUnknown* visitor) override;
    std::int32_t meshmap_Type() override { return isAt() ? here().type : 0; }
    KzResult meshmap_Name(const char** name) override;
    KzResult meshmap_SetName(const char* name) override;
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
    KzResult meshmap_Copy(KzElementId source) override;
    KzResult meshmap_Default(float** values) override;
    KzResult meshmap_Mirror(std::int32_t axis, KzElementId target) override;
    KzResult meshmap_MergeCorners(float tolerance) override;
    KzResult meshmap_SplitCorners(std::int32_t mark) override;
    KzResult meshmap_Range(std::int32_t component, float* minimum, float* maximum) override;
};

// Read, write and clear the value of a map at a point or corner. NOTFOUND if there is no such map, place or value.
KzResult kzReadMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place, float* values);
KzResult kzWriteMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place, const float* values);
KzResult kzClearMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place);

}  // namespace kzhost
