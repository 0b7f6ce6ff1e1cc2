// A mesh as an object.
#pragma once

#include "host/objects/arguments.h"
#include "host/objects/mesh_data.h"

#include "kz/mesh_tracker.h"

#include <memory>
#include <vector>

namespace kzhost {

struct Item;

class CMesh final : public CHosted<"mesh", CMesh, CKzIfc_Mesh>, public CHostSelf<CMesh> {
public:
    CMesh();
    ~CMesh() override;

    CMeshData data;
    std::weak_ptr<Item> owner;  // whose mesh this is

    KzResult mesh_PointCount(std::uint32_t* count) override;
    KzResult mesh_PolygonCount(std::uint32_t* count) override;
    KzResult mesh_EdgeCount(std::uint32_t* count) override;
    KzResult mesh_MapCount(std::uint32_t* count) override;
    KzResult mesh_VertexCount(std::uint32_t* count) override;
    bool mesh_IsEditable() override { return !data.identity.isFrozen; }
    bool mesh_IsValid() override { return true; }
    bool mesh_IsCompatible(IKzUnknown* other) override;
    KzResult mesh_PointByIndex(std::uint32_t index, IKzUnknown** point) override;
    KzResult mesh_PolygonByIndex(std::uint32_t index, IKzUnknown** polygon) override;
    KzResult mesh_EdgeByIndex(std::uint32_t index, IKzUnknown** edge) override;
    KzResult mesh_MapByIndex(std::uint32_t index, IKzUnknown** map) override;
    KzResult mesh_Points(IKzUnknown** point) override;
    KzResult mesh_Polygons(IKzUnknown** polygon) override;
    KzResult mesh_Edges(IKzUnknown** edge) override;
    KzResult mesh_Maps(IKzUnknown** map) override;
    std::int32_t mesh_PointIndex(KzElementId point) override { return data.points.indexOf(point); }
    std::int32_t mesh_PolygonIndex(KzElementId polygon) override { return data.polygons.indexOf(polygon); }
    KzElementId mesh_EdgeByEnds(KzElementId start, KzElementId end) override;
    bool mesh_HasPoint(KzElementId point) override { return data.points.has(point); }
    bool mesh_HasPolygon(KzElementId polygon) override { return data.polygons.has(polygon); }
    KzResult mesh_BoundingBox(std::int32_t mark, KzBounds* box) override;
    KzResult mesh_Center(std::int32_t mark, KzVector3* center) override;
    double mesh_Area() override;
    double mesh_Volume() override;
    KzResult mesh_AddPoint(const KzVector3* position, KzElementId* point) override;
    KzResult mesh_AddPoints(std::uint32_t count, double* positions, std::uint32_t* first) override;
    KzResult mesh_Positions(std::uint32_t first, std::uint32_t count, double* positions) override;
    KzResult mesh_SetPositions(std::uint32_t first, std::uint32_t count, double* positions) override;
    KzResult mesh_AddPolygon(std::int32_t type, std::uint32_t count, KzElementId* points,
                             KzElementId* polygon) override;
    KzResult mesh_AddPolygons(std::int32_t type, std::uint32_t count, std::uint32_t* sizes, std::uint32_t corners,
                              std::uint32_t* points, std::uint32_t* first) override;
    KzResult mesh_PolygonSizes(std::uint32_t first, std::uint32_t count, std::uint32_t* sizes) override;
    KzResult mesh_PolygonPoints(std::uint32_t first, std::uint32_t count, std::uint32_t corners, std::uint32_t* points,
                                std::uint32_t* written) override;
    KzResult mesh_Reserve(std::int32_t points, std::int32_t polygons, std::int32_t vertices) override;
    KzResult mesh_RemovePoints(std::int32_t mark) override;
    KzResult mesh_RemovePolygons(std::int32_t mark, std::int32_t keepPoints) override;
    KzResult mesh_Clear() override;
    KzResult mesh_Copy(IKzUnknown* source) override;
    KzResult mesh_Duplicate(IKzUnknown** mesh) override;
    KzResult mesh_Merge(IKzUnknown* other, std::uint32_t flags) override;
    KzResult mesh_MergeWithTransform(IKzUnknown* other, const KzMatrix4* xfrm, std::uint32_t flags) override;
    KzResult mesh_Transform(const KzMatrix4* xfrm, std::int32_t mark) override;
    KzResult mesh_Flip(std::int32_t mark) override;
    KzResult mesh_BeginEdit(std::uint32_t changes) override;
    KzResult mesh_EndEdit() override;
    KzResult mesh_Changed(std::uint32_t changes) override;
    std::uint32_t mesh_Serial(std::uint32_t changes) override { return data.serial(changes); }
    KzResult mesh_SetMarks(std::int32_t elements, std::int32_t set, std::int32_t clear) override;
    bool mesh_AnyMarked(std::int32_t elements, std::int32_t mark) override;
    KzResult mesh_Item(IKzUnknown** item) override;
    KzResult mesh_Weld(double distance, std::int32_t mark, std::uint32_t* removed) override;
    KzResult mesh_Mirror(const KzVector3* position, const KzVector3* normal, std::int32_t mark,
                         std::int32_t weld) override;
    KzResult mesh_Triangulate(std::int32_t mark, std::int32_t method) override;
    KzResult mesh_AddListener(IKzUnknown* listener) override;
    KzResult mesh_RemoveListener(IKzUnknown* listener) override;
    KzResult mesh_Tracker(IKzUnknown** tracker) override;
    KzResult mesh_Snapshot(IKzUnknown** frozen) override;

    // Takes the mark from all elements of all meshes.
    static void clearMark(std::int32_t mark);

private:
    void tellListeners(std::uint32_t changes);

    int m_openGroups = 0;
    std::vector<std::shared_ptr<CKzUser_MeshListener>> m_listeners;
};

// A tracker that has begun to follow the mesh. Throws INVALIDARG for any other object.
IKzUnknown* kzMakeMeshTracker(IKzUnknown* mesh);

}  // namespace kzhost
