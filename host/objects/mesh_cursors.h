// Cursors: they stand at one element of a mesh at a time, hold the mesh, and survive the element's removal.
#pragma once

#include "host/objects/mesh.h"

#include "kz/object.h"

// What all cursors share. `Class::table(data)` is the table of the elements that it stands at.
template <class Class, class Element> class CMeshCursor : public CHostSelf<Class> {
public:
    explicit CMeshCursor(CHostRef<CMesh> mesh, KzElementId id = nullptr) : m_mesh(std::move(mesh)), m_id(id) {}

protected:
    CMesh& mesh() const { return *m_mesh; }
    CMeshData& data() const { return m_mesh->data; }
    CElementTable<Element>& table() const { return Class::table(data()); }

    // NOTAVAILABLE when the cursor stands nowhere, or where the element has been removed.
    Element& here() const {
        Element* element = table().find(m_id);
        if (element == nullptr) throw KZe_NOTAVAILABLE;
        return *element;
    }
    const Element* hereOrNull() const { return table().find(m_id); }
    KzElementId id() const { return hereOrNull() != nullptr ? m_id : nullptr; }
    std::uint32_t index() const { return static_cast<std::uint32_t>(table().indexOf(m_id)); }
    bool isAt() const { return hereOrNull() != nullptr; }
    std::uint32_t mapDimension(KzElementId map) const {
        const MeshMapData* found = data().maps.find(map);
        return found != nullptr ? found->dimension : 0;
    }

    KzResult moveTo(KzElementId id) {
        m_id = table().at(id).id;
        return KZe_OK;
    }
    KzResult moveToIndex(std::uint32_t index) {
        m_id = table().byIndex(index).id;
        return KZe_OK;
    }
    void leave() { m_id = nullptr; }
    // From nowhere to the first one.
    KzResult next() { return moveToIndex(static_cast<std::uint32_t>(table().indexOf(m_id) + 1)); }
    KzResult giveMesh(IKzUnknown** mesh) const { return m_mesh.give(mesh); }

    // The visitor may change the mesh, move the cursor or drop it: what is walked over is fixed at the start, what has
    // gone meanwhile is passed over, and the cursor holds itself.
    template <class Test> KzResult visit(IKzUnknown* visitor, Test test) {
        const CKzUser_Visitor held(visitor);
        if (!held) return KZe_INVALIDARG;
        const auto keeper = this->self();
        for (KzElementId id : table().ids()) {
            const Element* element = table().find(id);
            if (element == nullptr || !test(*element)) continue;
            m_id = id;
            const KzResult code = held->Evaluate();
            if (code == KZe_ABORT) return KZe_OK;
            if (kzFailed(code)) return code;
        }
        return KZe_OK;
    }
    KzResult visitMarked(std::int32_t mark, IKzUnknown* visitor) {
        return visit(visitor, [mark](const Element& element) { return kzIsMeant(element.marks, mark); });
    }

    std::int32_t marks() const { return hereOrNull() != nullptr ? hereOrNull()->marks : 0; }
    bool testMarks(std::int32_t mark) const { return hereOrNull() != nullptr && kzIsMeant(marks(), mark); }
    KzResult setMarks(std::int32_t set, std::int32_t clear) {
        Element& element = here();
        element.marks = (element.marks & ~clear) | set;
        data().changed(KZfMESHEDIT_MARKS);
        return KZe_OK;
    }

private:
    CHostRef<CMesh> m_mesh;
    KzElementId m_id;
};

class CPoint final : public CHosted<"point", CPoint, CKzIfc_Point>, public CMeshCursor<CPoint, MeshPoint> {
public:
    static CElementTable<MeshPoint>& table(CMeshData& data) { return data.points; }
    using CMeshCursor::CMeshCursor;
    using CMeshCursor::table;

    KzResult point_MoveTo(KzElementId point) override { return moveTo(point); }
    KzResult point_MoveToIndex(std::uint32_t index) override { return moveToIndex(index); }
    KzResult point_MoveToVertex(KzElementId polygon, std::int32_t vertex) override;
    void point_Leave() override { leave(); }
    bool point_IsAt() override { return isAt(); }
    KzElementId point_Id() override { return id(); }
    std::uint32_t point_Index() override { return index(); }
    KzResult point_Mesh(IKzUnknown** mesh) override { return giveMesh(mesh); }
    KzResult point_Enumerate(std::int32_t mark, IKzUnknown* visitor) override { return visitMarked(mark, visitor); }
    KzResult point_Next() override { return next(); }
    KzResult point_Position(KzFVector3* position) override;
    KzResult point_SetPosition(const KzVector3* position) override;
    KzResult point_Move(const KzVector3* offset) override;
    KzResult point_Normal(KzVector3* normal) override;
    std::uint32_t point_PolygonCount() override;
    KzResult point_PolygonByIndex(std::uint32_t index, KzElementId* polygon, std::int32_t* vertex) override;
    std::uint32_t point_EdgeCount() override { return static_cast<std::uint32_t>(edgesHere().size()); }
    KzResult point_EdgeByIndex(std::uint32_t index, KzElementId* edge) override;
    std::uint32_t point_NeighborCount() override { return point_EdgeCount(); }
    KzResult point_NeighborByIndex(std::uint32_t index, KzElementId* point) override;
    bool point_IsBoundary() override;
    std::int32_t point_Marks() override { return marks(); }
    KzResult point_SetMarks(std::int32_t set, std::int32_t clear) override { return setMarks(set, clear); }
    bool point_TestMarks(std::int32_t mark) override { return testMarks(mark); }
    KzResult point_MapValue(KzElementId map, float* values) override;
    KzResult point_SetMapValue(KzElementId map, float* values) override;
    KzResult point_ClearMapValue(KzElementId map) override;
    std::uint32_t point_MapDimension(KzElementId map) override { return mapDimension(map); }
    KzResult point_Add(const KzVector3* position, KzElementId* point) override;
    KzResult point_Copy(KzElementId source, KzElementId* point) override;
    KzResult point_Remove() override;

private:
    std::vector<const MeshEdge*> edgesHere();
    const MeshEdge& edgeHere(std::uint32_t index);
};

class CPolygon final : public CHosted<"polygon", CPolygon, CKzIfc_Polygon>, public CMeshCursor<CPolygon, MeshPolygon> {
public:
    static CElementTable<MeshPolygon>& table(CMeshData& data) { return data.polygons; }
    using CMeshCursor::CMeshCursor;
    using CMeshCursor::table;

    KzResult polygon_MoveTo(KzElementId polygon) override { return moveTo(polygon); }
    KzResult polygon_MoveToIndex(std::uint32_t index) override { return moveToIndex(index); }
    void polygon_Leave() override { leave(); }
    bool polygon_IsAt() override { return isAt(); }
    KzElementId polygon_Id() override { return id(); }
    std::uint32_t polygon_Index() override { return index(); }
    KzResult polygon_Mesh(IKzUnknown** mesh) override { return giveMesh(mesh); }
    KzResult polygon_Enumerate(std::int32_t mark, IKzUnknown* visitor) override { return visitMarked(mark, visitor); }
    KzResult polygon_Next() override { return next(); }
    std::int32_t polygon_Type() override { return isAt() ? here().type : 0; }
    KzResult polygon_SetType(std::int32_t type) override;
    std::uint32_t polygon_VertexCount() override;
    KzResult polygon_VertexByIndex(std::uint32_t index, KzElementId* point) override;
    std::int32_t polygon_VertexIndex(KzElementId point) override;
    KzResult polygon_SetVertexPoint(std::int32_t vertex, KzElementId point) override;
    KzResult polygon_SetVertices(std::uint32_t count, KzElementId* points, std::int32_t reverse) override;
    KzResult polygon_InsertVertex(std::int32_t vertex, KzElementId point) override;
    KzResult polygon_RemoveVertex(std::int32_t vertex) override;
    std::uint32_t polygon_EdgeCount() override;
    KzResult polygon_EdgeByIndex(std::uint32_t index, KzElementId* edge) override;
    KzElementId polygon_Neighbor(std::int32_t edge) override;
    KzResult polygon_Normal(KzVector3* normal) override;
    KzResult polygon_Center(KzVector3* center) override;
    KzResult polygon_Bounds(KzBounds* box) override;
    double polygon_Area() override { return isAt() ? data().areaOf(here()) : 0; }
    bool polygon_IsClosed() override { return isAt() && kzPolygonType(here().type).isClosed; }
    std::uint32_t polygon_TriangleCount() override;
    KzResult polygon_TriangleByIndex(std::uint32_t index, std::uint32_t* a, std::uint32_t* b,
                                     std::uint32_t* c) override;
    std::int32_t polygon_Marks() override { return marks(); }
    KzResult polygon_SetMarks(std::int32_t set, std::int32_t clear) override { return setMarks(set, clear); }
    bool polygon_TestMarks(std::int32_t mark) override { return testMarks(mark); }
    KzResult polygon_Tag(std::int32_t type, const char** tag) override;
    KzResult polygon_SetTag(std::int32_t type, const char* tag) override;
    KzResult polygon_MapValue(std::int32_t vertex, KzElementId map, float* values) override;
    KzResult polygon_SetMapValue(std::int32_t vertex, KzElementId map, float* values) override;
    KzResult polygon_ClearMapValue(std::int32_t vertex, KzElementId map) override;
    std::uint32_t polygon_MapDimension(KzElementId map) override { return mapDimension(map); }
    KzResult polygon_Add(std::int32_t type, std::uint32_t count, KzElementId* points, std::int32_t reverse,
                         KzElementId* polygon) override;
    KzResult polygon_AddLike(KzElementId source, std::uint32_t count, KzElementId* points,
                             KzElementId* polygon) override;
    KzResult polygon_Flip() override;
    KzResult polygon_Remove() override;

private:
    KzElementId corner(std::int64_t vertex) const;  // throws OUTOFBOUNDS
    KzResult setCorners(std::vector<KzElementId> corners);
};

class CEdge final : public CHosted<"edge", CEdge, CKzIfc_Edge>, public CMeshCursor<CEdge, MeshEdge> {
public:
    static CElementTable<MeshEdge>& table(CMeshData& data) { return data.edges(); }
    using CMeshCursor::CMeshCursor;
    using CMeshCursor::table;

    KzResult edge_MoveTo(KzElementId edge) override { return moveTo(edge); }
    KzResult edge_MoveToIndex(std::uint32_t index) override { return moveToIndex(index); }
    KzResult edge_MoveToEnds(KzElementId start, KzElementId end) override;
    bool edge_IsAt() override { return isAt(); }
    KzElementId edge_Id() override { return id(); }
    std::uint32_t edge_Index() override { return index(); }
    KzResult edge_Mesh(IKzUnknown** mesh) override { return giveMesh(mesh); }
    KzResult edge_Enumerate(std::int32_t mark, IKzUnknown* visitor) override { return visitMarked(mark, visitor); }
    KzResult edge_Ends(KzElementId* start, KzElementId* end) override;
    KzElementId edge_OtherEnd(KzElementId point) override;
    double edge_Length() override;
    std::uint32_t edge_PolygonCount() override;
    KzResult edge_PolygonByIndex(std::uint32_t index, KzElementId* polygon) override;
    bool edge_IsBoundary() override { return edge_PolygonCount() == 1; }
    bool edge_IsManifold() override { return isAt() && edge_PolygonCount() <= 2; }
    KzResult edge_Angle(double* angle) override;
    double edge_Crease() override { return isAt() ? here().crease : 0; }
    KzResult edge_SetCrease(double crease) override;
    std::int32_t edge_Marks() override { return marks(); }
    KzResult edge_SetMarks(std::int32_t set, std::int32_t clear) override { return setMarks(set, clear); }
    bool edge_TestMarks(std::int32_t mark) override { return testMarks(mark); }
};

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
