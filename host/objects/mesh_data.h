// The data of a mesh: points, polygons, maps, and the edges derived from the polygons.
#pragma once

#include "host/document/vectors.h"
#include "host/objects/elements.h"

#include "kz/mesh.h"
#include "kz/mesh_element.h"
#include "kz/mesh_map.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

struct MeshPoint {
    KzVector3 position;
    std::int32_t marks = 0;
    KzElementId id = nullptr;
};

struct MeshPolygon {
    std::int32_t type = KZi_POLYTYPE_FACE;
    std::vector<KzElementId> points;
    std::map<std::int32_t, std::string> tags;
    std::int32_t marks = 0;
    KzElementId id = nullptr;
};

struct MeshEdge {
    KzElementId start = nullptr, end = nullptr;
    std::vector<KzElementId> polygons;
    double crease = 0;
    std::int32_t marks = 0;
    KzElementId id = nullptr;
};

// Values of a map: of a point, or of a point as the corner of one polygon.
struct MeshMapData {
    using Place = std::pair<KzElementId, KzElementId>;  // point, polygon; a null polygon is the point itself
    std::int32_t type = 0;
    std::string name;
    std::uint32_t dimension = 0;
    std::uint32_t flags = 0;
    std::map<Place, std::vector<float>> values;
    KzElementId id = nullptr;

    // The value of the point as a corner of the polygon, or else of the point itself; null if it has neither.
    const std::vector<float>* find(KzElementId point, KzElementId polygon) const;
};

// One corner of one polygon.
struct MeshCorner {
    KzElementId polygon = nullptr;
    std::int32_t vertex = 0;
};

// Hears of the first change since it was last asked.
class CMeshWatch {
public:
    void set(std::function<void()> firstChange) { m_firstChange = std::move(firstChange); }
    void changed() {
        if (m_firstChange && !std::exchange(m_isChanged, true)) m_firstChange();
    }
    bool take() { return std::exchange(m_isChanged, false); }

private:
    std::function<void()> m_firstChange;
    bool m_isChanged = false;
};

// What belongs to a mesh rather than to its content: assigning content leaves it as it is.
struct MeshIdentity {
    MeshIdentity() = default;
    MeshIdentity(const MeshIdentity&) noexcept {}
    MeshIdentity& operator=(const MeshIdentity&) noexcept { return *this; }

    std::function<void(std::uint32_t changes)> tell;  // is called when the outermost edit ends
    std::uint32_t pending = 0;                        // changes that nobody was told of
    int openEdits = 0;
    bool isFrozen = false;
    CMeshWatch watch;  // of the history
};

class CMeshData {
public:
    MeshIdentity identity;
    CElementTable<MeshPoint> points;
    CElementTable<MeshPolygon> polygons;
    CElementTable<MeshMapData> maps;

    CElementTable<MeshEdge>& edges() { return m_isCurrent ? m_edges : connect(); }
    // Whether any edge has a value of its own. Asking does not compute the edges.
    bool hasEdgeValues() const {
        return std::any_of(m_edges.begin(), m_edges.end(),
                           [](const MeshEdge& edge) { return edge.crease != 0 || edge.marks != 0; });
    }
    // The corners that stand at a point.
    std::span<const MeshCorner> cornersAt(KzElementId point);
    // The edges that end at a point, in their order.
    std::span<const KzElementId> edgesAt(KzElementId point);
    MeshEdge* edgeBetween(KzElementId start, KzElementId end);

    MeshPoint& addPoint(const KzVector3& position);
    MeshPolygon& addPolygon(std::int32_t type, std::vector<KzElementId> corners);
    // Throws a code if a polygon of that type cannot have these corners.
    void checkCorners(std::int32_t type, const std::vector<KzElementId>& corners) const;
    MeshMapData& addMap(std::int32_t type, const std::string& name, std::uint32_t dimension, std::uint32_t flags);
    MeshMapData* findMap(std::int32_t type, std::string_view name);

    // Removing a point removes the polygons that use it.
    template <class Test> void removePoints(Test test) {
        std::unordered_set<KzElementId> removedIds;
        for (const MeshPoint& point : points)
            if (test(point)) removedIds.insert(point.id);
        const auto usesRemoved = [&](const MeshPolygon& polygon) {
            return std::any_of(polygon.points.begin(), polygon.points.end(),
                               [&](KzElementId point) { return removedIds.contains(point); });
        };
        polygons.removeIf(usesRemoved);
        points.removeIf([&](const MeshPoint& point) { return removedIds.contains(point.id); });
        dropLostValues();
        changed(KZfMESHEDIT_POINTS | KZfMESHEDIT_POLYGONS | KZfMESHEDIT_VERTICES);
    }
    template <class Test> void removePolygons(Test test) {
        polygons.removeIf(test);
        dropLostValues();
        changed(KZfMESHEDIT_POLYGONS | KZfMESHEDIT_VERTICES);
    }
    void clear();

    KzVector3 normalOf(const MeshPolygon& polygon);  // its length is twice the area
    KzVector3 centerOf(const MeshPolygon& polygon);
    double areaOf(const MeshPolygon& polygon) { return kzLength(normalOf(polygon)) / 2; }

    // Records changes of those kinds; after a change of the topology the edges are computed anew.
    void changed(std::uint32_t changes);
    void noteCopy(KzElementId copy, KzElementId source) { m_sources[copy] = source; }
    // The element that this one is a copy of; null if it was made from scratch.
    KzElementId sourceOf(KzElementId copy) const {
        const auto entry = m_sources.find(copy);
        return entry != m_sources.end() ? entry->second : nullptr;
    }
    std::uint32_t serial(std::uint32_t changes) const;
    CMeshWatch& watch() noexcept { return identity.watch; }
    // Takes over what the other one has; the serial numbers go on from here.
    void assign(const CMeshData& other);

private:
    CElementTable<MeshEdge>& connect();
    void joinEdge(KzElementId start, KzElementId end, KzElementId polygon, CElementTable<MeshEdge>& edges,
                  std::map<MeshMapData::Place, KzElementId>& byEnds);
    void dropLostValues();

    CElementTable<MeshEdge> m_edges;
    std::map<MeshMapData::Place, KzElementId> m_edgeByEnds;
    std::unordered_map<KzElementId, std::vector<MeshCorner>> m_corners;
    std::unordered_map<KzElementId, std::vector<KzElementId>> m_edgesAt;
    std::unordered_map<KzElementId, KzElementId> m_sources;
    bool m_isCurrent = false;
    std::array<std::uint32_t, 32> m_serials{};
};

// One operation that changes a mesh. Edits nest, and whoever follows the mesh hears of their changes together, when the
// outermost one ends.
class CMeshEdit {
public:
    // Throws NOACCESS if the mesh cannot be edited.
    explicit CMeshEdit(CMeshData& data) : m_identity(data.identity) {
        if (m_identity.isFrozen) throw KZe_NOACCESS;
        ++m_identity.openEdits;
    }
    ~CMeshEdit() { end(m_identity); }
    CMeshEdit(const CMeshEdit&) = delete;
    CMeshEdit& operator=(const CMeshEdit&) = delete;

    static void end(MeshIdentity& identity);

private:
    MeshIdentity& m_identity;
};

// The properties of a type of polygon.
struct MeshPolygonType {
    std::int32_t type;
    const char* name;
    bool isClosed;            // an edge joins the last point to the first
    std::uint32_t mergeFlag;  // the flag of a merge that includes it
};
std::span<const MeshPolygonType> kzPolygonTypes() noexcept;
// Throws INVALIDARG for an unknown type.
const MeshPolygonType& kzPolygonType(std::int32_t type);

struct MeshMapType {
    std::int32_t type;
    const char* name;
    std::uint32_t dimension;  // 0 if each map has its own
    std::uint32_t flags;
};
std::span<const MeshMapType> kzMapTypes() noexcept;
const MeshMapType* kzFindMapType(std::int32_t type) noexcept;

// Whether a polygon of that type may have so many corners. Throws INVALIDARG for an unknown type.
bool kzCanHaveCorners(std::int32_t type, std::size_t count);
// The corners in a caller's buffer. Throws INVALIDARG for a bad count or a null buffer.
std::vector<KzElementId> kzCorners(std::uint32_t count, const KzElementId* points);

// True if an element with these marks is selected by `wanted`; 0 selects all elements.
inline bool kzMatchesMarks(std::int32_t marks, std::int32_t mask) { return mask == 0 || (marks & mask) != 0; }

}  // namespace kzhost
