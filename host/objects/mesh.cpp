// A mesh as an object: operations on the whole mesh.
#include "host/objects/mesh.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/document/workspace.h"
#include "host/objects/attached_object.h"
#include "host/objects/edge.h"
#include "host/objects/mesh_edits.h"
#include "host/objects/mesh_map.h"
#include "host/objects/mesh_merge.h"
#include "host/objects/point.h"
#include "host/objects/polygon.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Throws a code if the table lacks some of these elements, or if the caller's buffer for them is null.
template <class Table>
void checkRange(const Table& table, std::uint32_t first, std::uint32_t count, const void* buffer) {
    if (count > 0 && buffer == nullptr) throw KZe_INVALIDARG;
    if (first > table.size() || count > table.size() - first) throw KZe_OUTOFBOUNDS;
}

// All meshes, for marks that end everywhere at once. Never destroyed, as modules may hold meshes while the process exits.
struct LiveMeshes {
    std::mutex lock;
    std::set<CMesh*> meshes;
};
LiveMeshes& liveMeshes() {
    static auto* live = new LiveMeshes();
    return *live;
}

constexpr std::uint32_t everything = KZmMESHEDIT_GEOMETRY | KZfMESHEDIT_MAPS | KZfMESHEDIT_TAGS | KZfMESHEDIT_MARKS;

}  // namespace

CMesh::CMesh() {
    data.identity.tell = [this](std::uint32_t changes) { tellListeners(changes); };
    LiveMeshes& live = liveMeshes();
    const std::lock_guard lock(live.lock);
    live.meshes.insert(this);
}

CMesh::~CMesh() {
    for (const auto& listener : m_listeners) listener->Destroyed();
    LiveMeshes& live = liveMeshes();
    const std::lock_guard lock(live.lock);
    live.meshes.erase(this);
}

void CMesh::clearMark(std::int32_t mark) {
    LiveMeshes& live = liveMeshes();
    const std::lock_guard lock(live.lock);
    for (CMesh* mesh : live.meshes) {
        const auto clear = [mark](auto& table) {
            for (auto& element : table) element.marks &= ~mark;
        };
        clear(mesh->data.points);
        clear(mesh->data.edges());
        clear(mesh->data.polygons);
    }
}

// Works on a copy: a listener may remove itself.
void CMesh::tellListeners(std::uint32_t changes) {
    const auto keeper = self();
    const auto listeners = m_listeners;
    for (const auto& listener : listeners) listener->Changed(changes);
}

KzResult CMesh::mesh_AddListener(IKzUnknown* listener) {
    auto user = std::make_shared<CKzUser_MeshListener>(listener);
    if (!*user) return KZe_INVALIDARG;
    m_listeners.push_back(std::move(user));
    return KZe_OK;
}

KzResult CMesh::mesh_RemoveListener(IKzUnknown* listener) {
    const CKzUser_MeshListener user(listener);
    if (!user) return KZe_INVALIDARG;
    const auto entry = std::find_if(m_listeners.begin(), m_listeners.end(),
                                    [&](const auto& each) { return each->ptr() == user.ptr(); });
    if (entry == m_listeners.end()) return KZe_NOTFOUND;
    m_listeners.erase(entry);
    return KZe_OK;
}

KzResult CMesh::mesh_Tracker(IKzUnknown** tracker) {
    *tracker = kzMakeMeshTracker(self().raw());
    return KZe_OK;
}

// Elements of the copy have the ids of those in this mesh.
KzResult CMesh::mesh_Snapshot(IKzUnknown** frozen) {
    auto copy = CHostRef<CMesh>::make();
    data.edges();
    copy->data = data;
    copy->data.identity.isFrozen = true;
    return copy.give(frozen);
}

KzResult CMesh::mesh_Weld(double distance, std::int32_t mark, std::uint32_t* removed) {
    const CMeshEdit edit(data);
    if (!(distance >= 0)) return KZe_INVALIDARG;
    *removed = kzWeld(data, distance, mark);
    return KZe_OK;
}

KzResult CMesh::mesh_Mirror(const KzVector3* position, const KzVector3* normal, std::int32_t mark, std::int32_t weld) {
    const CMeshEdit edit(data);
    if (!(kzLength(kzNotNull(normal)) > 0)) return KZe_INVALIDARG;
    kzMirror(data, kzNotNull(position), *normal, mark, weld != 0);
    return KZe_OK;
}

KzResult CMesh::mesh_Triangulate(std::int32_t mark, std::int32_t method) {
    const CMeshEdit edit(data);
    if (method < KZiTRIANGULATE_FAN || method > KZiTRIANGULATE_QUALITY) return KZe_INVALIDARG;
    kzTriangulateMesh(data, mark, method);
    return KZe_OK;
}

KzResult CMesh::mesh_PointCount(std::uint32_t* count) {
    *count = data.points.size();
    return KZe_OK;
}

KzResult CMesh::mesh_PolygonCount(std::uint32_t* count) {
    *count = data.polygons.size();
    return KZe_OK;
}

KzResult CMesh::mesh_EdgeCount(std::uint32_t* count) {
    *count = data.edges().size();
    return KZe_OK;
}

KzResult CMesh::mesh_MapCount(std::uint32_t* count) {
    *count = data.maps.size();
    return KZe_OK;
}

KzResult CMesh::mesh_VertexCount(std::uint32_t* count) {
    *count = 0;
    for (const MeshPolygon& polygon : data.polygons) *count += static_cast<std::uint32_t>(polygon.points.size());
    return KZe_OK;
}

bool CMesh::mesh_IsCompatible(IKzUnknown* other) {
    const auto mesh = CHostRef<CMesh>::of(other);
    if (!mesh || mesh->data.points.size() != data.points.size()) return false;
    const auto same = [&](const MeshPolygon& left, const MeshPolygon& right) {
        return left.type == right.type && std::equal(left.points.begin(), left.points.end(), right.points.begin(),
                                                     right.points.end(), [&](KzElementId a, KzElementId b) {
                                                         return data.points.indexOf(a) == mesh->data.points.indexOf(b);
                                                     });
    };
    return std::equal(data.polygons.begin(), data.polygons.end(), mesh->data.polygons.begin(),
                      mesh->data.polygons.end(), same);
}

KzResult CMesh::mesh_PointByIndex(std::uint32_t index, IKzUnknown** point) {
    return CHostRef<CPoint>::make(self().raw(), data, data.points.byIndex(index).id).give(point);
}

KzResult CMesh::mesh_PolygonByIndex(std::uint32_t index, IKzUnknown** polygon) {
    return CHostRef<CPolygon>::make(self().raw(), data, data.polygons.byIndex(index).id).give(polygon);
}

KzResult CMesh::mesh_EdgeByIndex(std::uint32_t index, IKzUnknown** edge) {
    return CHostRef<CEdge>::make(self().raw(), data, data.edges().byIndex(index).id).give(edge);
}

KzResult CMesh::mesh_MapByIndex(std::uint32_t index, IKzUnknown** map) {
    return CHostRef<CMeshMap>::make(self().raw(), data, data.maps.byIndex(index).id).give(map);
}

KzResult CMesh::mesh_Points(IKzUnknown** point) { return CHostRef<CPoint>::make(self().raw(), data).give(point); }
KzResult CMesh::mesh_Polygons(IKzUnknown** polygon) {
    return CHostRef<CPolygon>::make(self().raw(), data).give(polygon);
}
KzResult CMesh::mesh_Edges(IKzUnknown** edge) { return CHostRef<CEdge>::make(self().raw(), data).give(edge); }
KzResult CMesh::mesh_Maps(IKzUnknown** map) { return CHostRef<CMeshMap>::make(self().raw(), data).give(map); }

KzElementId CMesh::mesh_EdgeByEnds(KzElementId start, KzElementId end) {
    const MeshEdge* edge = data.edgeBetween(start, end);
    return edge != nullptr ? edge->id : nullptr;
}

KzResult CMesh::mesh_BoundingBox(std::int32_t mark, KzBounds* box) {
    bool isEmpty = true;
    KzBounds bounds{};
    for (const MeshPoint& point : data.points) {
        if (!kzMatchesMarks(point.marks, mark)) continue;
        if (std::exchange(isEmpty, false)) bounds = {point.position, point.position};
        for (const double coordinate : point.position.v)
            if (!std::isfinite(coordinate)) return KZeINFINITE_BOUND;
        kzExtend(bounds, point.position);
    }
    if (isEmpty) return KZe_NOTFOUND;
    *box = bounds;
    return KZe_OK;
}

KzResult CMesh::mesh_Center(std::int32_t mark, KzVector3* center) {
    KzBounds box{};
    if (const KzResult code = mesh_BoundingBox(mark, &box); kzFailed(code)) return code;
    *center = (box.min + box.max) * 0.5;
    return KZe_OK;
}

double CMesh::mesh_Area() {
    double area = 0;
    for (const MeshPolygon& polygon : data.polygons) area += data.areaOf(polygon);
    return area;
}

// Sums the signed volumes of the tetrahedra between the origin and each triangle.
double CMesh::mesh_Volume() {
    for (const MeshEdge& edge : data.edges())
        if (edge.polygons.size() != 2) return 0;
    double sum = 0;
    for (const MeshPolygon& polygon : data.polygons) {
        const auto corner = [&](std::size_t i) { return data.points.at(polygon.points[i]).position; };
        if (!kzPolygonType(polygon.type).isClosed) continue;
        for (std::size_t i = 1; i + 1 < polygon.points.size(); ++i)
            sum += kzDot(corner(0), kzCross(corner(i), corner(i + 1)));
    }
    return std::abs(sum) / 6;
}

KzResult CMesh::mesh_AddPoint(const KzVector3* position, KzElementId* point) {
    const CMeshEdit edit(data);
    *point = data.addPoint(kzNotNull(position)).id;
    return KZe_OK;
}

KzResult CMesh::mesh_AddPoints(std::uint32_t count, double* positions, std::uint32_t* first) {
    const CMeshEdit edit(data);
    if (count > 0 && positions == nullptr) return KZe_INVALIDARG;
    if (count > INT32_MAX - data.points.size()) return KZe_GEO_SIZE_LIMIT;
    *first = data.points.size();
    data.points.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i, positions += 3)
        data.points.add({.position = {{positions[0], positions[1], positions[2]}}});
    data.changed(KZfMESHEDIT_POINTS);
    return KZe_OK;
}

KzResult CMesh::mesh_Positions(std::uint32_t first, std::uint32_t count, double* positions) {
    checkRange(data.points, first, count, positions);
    for (std::uint32_t i = 0; i < count; ++i, positions += 3)
        std::copy_n(data.points.byIndex(first + i).position.v, 3, positions);
    return KZe_OK;
}

KzResult CMesh::mesh_SetPositions(std::uint32_t first, std::uint32_t count, double* positions) {
    const CMeshEdit edit(data);
    checkRange(data.points, first, count, positions);
    for (std::uint32_t i = 0; i < count; ++i, positions += 3)
        std::copy_n(positions, 3, data.points.byIndex(first + i).position.v);
    data.changed(KZfMESHEDIT_POSITION);
    return KZe_OK;
}

KzResult CMesh::mesh_AddPolygon(std::int32_t type, std::uint32_t count, KzElementId* points, KzElementId* polygon) {
    const CMeshEdit edit(data);
    *polygon = data.addPolygon(type, kzCorners(count, points)).id;
    return KZe_OK;
}

// Adds the polygons only when all are known to be sound, and reads each value of the caller's once, since others may
// write there meanwhile.
KzResult CMesh::mesh_AddPolygons(std::int32_t type, std::uint32_t count, std::uint32_t* sizes, std::uint32_t corners,
                                 std::uint32_t* points, std::uint32_t* first) {
    const CMeshEdit edit(data);
    if (count > 0 && (sizes == nullptr || points == nullptr)) return KZe_INVALIDARG;
    if (count > INT32_MAX - data.polygons.size()) return KZe_GEO_SIZE_LIMIT;
    std::vector<MeshPolygon> polygons(count);
    for (MeshPolygon& polygon : polygons) {
        const std::uint32_t size = *sizes++;
        if (!kzCanHaveCorners(type, size) || size > corners) return KZe_INVALIDARG;
        corners -= size;
        polygon.type = type;
        polygon.points.reserve(size);
        for (std::uint32_t i = 0; i < size; ++i) polygon.points.push_back(data.points.byIndex(*points++).id);
    }
    if (corners != 0) return KZe_INVALIDARG;
    *first = data.polygons.size();
    data.polygons.reserve(count);
    for (MeshPolygon& polygon : polygons) data.polygons.add(std::move(polygon));
    data.changed(KZfMESHEDIT_POLYGONS | KZfMESHEDIT_VERTICES);
    return KZe_OK;
}

KzResult CMesh::mesh_PolygonSizes(std::uint32_t first, std::uint32_t count, std::uint32_t* sizes) {
    checkRange(data.polygons, first, count, sizes);
    for (std::uint32_t i = 0; i < count; ++i)
        *sizes++ = static_cast<std::uint32_t>(data.polygons.byIndex(first + i).points.size());
    return KZe_OK;
}

KzResult CMesh::mesh_PolygonPoints(std::uint32_t first, std::uint32_t count, std::uint32_t corners,
                                   std::uint32_t* points, std::uint32_t* written) {
    checkRange(data.polygons, first, count, points);
    std::size_t needed = 0;
    for (std::uint32_t i = 0; i < count; ++i) needed += data.polygons.byIndex(first + i).points.size();
    if (needed > corners) return KZe_SHORTBUFFER;
    for (std::uint32_t i = 0; i < count; ++i)
        for (const KzElementId point : data.polygons.byIndex(first + i).points)
            *points++ = static_cast<std::uint32_t>(data.points.indexOf(point));
    *written = static_cast<std::uint32_t>(needed);
    return KZe_OK;
}

KzResult CMesh::mesh_Reserve(std::int32_t points, std::int32_t polygons, std::int32_t vertices) {
    if (points < 0 || polygons < 0 || vertices < 0) return KZe_INVALIDARG;
    data.points.reserve(static_cast<std::size_t>(points));
    data.polygons.reserve(static_cast<std::size_t>(polygons));
    return KZe_OK;
}

KzResult CMesh::mesh_RemovePoints(std::int32_t mark) {
    const CMeshEdit edit(data);
    data.removePoints([mark](const MeshPoint& point) { return kzMatchesMarks(point.marks, mark); });
    return KZe_OK;
}

// Removes only points that these polygons alone used. Other unused points stay.
KzResult CMesh::mesh_RemovePolygons(std::int32_t mark, std::int32_t keepPoints) {
    const CMeshEdit edit(data);
    std::set<KzElementId> touched;
    for (const MeshPolygon& polygon : data.polygons)
        if (kzMatchesMarks(polygon.marks, mark)) touched.insert(polygon.points.begin(), polygon.points.end());
    data.removePolygons([mark](const MeshPolygon& polygon) { return kzMatchesMarks(polygon.marks, mark); });
    if (keepPoints == 0)
        data.removePoints(
            [&](const MeshPoint& point) { return touched.contains(point.id) && data.cornersAt(point.id).empty(); });
    return KZe_OK;
}

KzResult CMesh::mesh_Clear() {
    const CMeshEdit edit(data);
    data.clear();
    return KZe_OK;
}

KzResult CMesh::mesh_Copy(IKzUnknown* source) {
    const CMeshEdit edit(data);
    const auto other = kzOwn<CMesh>(source);
    if (other.object() == this) return KZe_OK;
    CMeshData copy = data;  // keeps its serial numbers
    copy.clear();
    kzMergeMesh(copy, other->data, kzIdentity(), kzMergeEverything);
    data = std::move(copy);
    data.changed(everything);
    return KZe_OK;
}

KzResult CMesh::mesh_Duplicate(IKzUnknown** mesh) {
    const auto copy = CHostRef<CMesh>::make();
    if (const KzResult code = copy->mesh_Copy(self().raw()); kzFailed(code)) return code;
    return copy.give(mesh);
}

KzResult CMesh::mesh_Merge(IKzUnknown* other, std::uint32_t flags) {
    const KzMatrix4 identity = kzIdentity();
    return mesh_MergeWithTransform(other, &identity, flags);
}

// Works on a copy: a failed merge must change nothing, and the other mesh may be this one.
KzResult CMesh::mesh_MergeWithTransform(IKzUnknown* other, const KzMatrix4* xfrm, std::uint32_t flags) {
    const CMeshEdit edit(data);
    const auto source = CHostRef<CMesh>::of(other);
    if (!source)
        return kzBecause(KZe_INVALIDARG, "Mesh.Merge",
                         [&] { return other == nullptr ? "the other mesh is null" : "the other object is no mesh"; });
    CMeshData merged = data;
    kzMergeMesh(merged, source->data, kzFiniteMatrix("Mesh.MergeWithTransform", xfrm), flags);
    data = std::move(merged);
    data.changed(everything);
    return KZe_OK;
}

KzResult CMesh::mesh_Transform(const KzMatrix4* xfrm, std::int32_t mark) {
    const CMeshEdit edit(data);
    const KzMatrix4& matrix = kzFiniteMatrix("Mesh.Transform", xfrm);
    for (MeshPoint& point : data.points)
        if (kzMatchesMarks(point.marks, mark)) point.position = kzPlace(point.position, matrix);
    for (MeshMapData& map : data.maps)
        for (auto& [place, values] : map.values)
            if (map.type == KZi_MAPTYPE_NORMAL && kzMatchesMarks(data.points.at(place.first).marks, mark))
                kzTurnNormal(values, matrix);
    data.changed(KZfMESHEDIT_POSITION);
    return KZe_OK;
}

KzResult CMesh::mesh_Flip(std::int32_t mark) {
    const CMeshEdit edit(data);
    for (MeshPolygon& polygon : data.polygons)
        if (kzMatchesMarks(polygon.marks, mark)) std::reverse(polygon.points.begin() + 1, polygon.points.end());
    data.changed(KZfMESHEDIT_VERTICES);
    return KZe_OK;
}

KzResult CMesh::mesh_BeginEdit(std::uint32_t /*changes*/) {
    if (data.identity.isFrozen) return KZe_NOACCESS;
    ++m_openGroups;
    ++data.identity.openEdits;
    return KZe_OK;
}

KzResult CMesh::mesh_EndEdit() {
    if (m_openGroups == 0) return KZe_NOTREADY;
    --m_openGroups;
    CMeshEdit::end(data.identity);
    return KZe_OK;
}

KzResult CMesh::mesh_Changed(std::uint32_t changes) {
    const CMeshEdit edit(data);
    data.changed(changes);
    return KZe_OK;
}

KzResult CMesh::mesh_SetMarks(std::int32_t elements, std::int32_t set, std::int32_t clear) {
    const CMeshEdit edit(data);
    const auto mark = [&](auto& table) {
        for (auto& element : table) element.marks = (element.marks & ~clear) | set;
    };
    switch (elements) {
    case KZiMESHELT_POINT: mark(data.points); break;
    case KZiMESHELT_EDGE: mark(data.edges()); break;
    case KZiMESHELT_POLYGON: mark(data.polygons); break;
    default: return KZe_INVALIDARG;
    }
    data.changed(KZfMESHEDIT_MARKS);
    return KZe_OK;
}

bool CMesh::mesh_AnyMarked(std::int32_t elements, std::int32_t mark) {
    const auto any = [&](auto& table) {
        return std::any_of(table.begin(), table.end(),
                           [&](const auto& element) { return kzMatchesMarks(element.marks, mark); });
    };
    switch (elements) {
    case KZiMESHELT_POINT: return any(data.points);
    case KZiMESHELT_EDGE: return any(data.edges());
    case KZiMESHELT_POLYGON: return any(data.polygons);
    default: return false;
    }
}

KzResult CMesh::mesh_Item(IKzUnknown** item) {
    const ItemRef own = owner.lock();
    if (own == nullptr) return KZe_NOTFOUND;
    const CReading reading(own->document.workspace());
    return own->isPresent ? static_cast<AttachedObject&>(*own->object).give(item) : KZe_NOTFOUND;
}

}  // namespace kzhost
