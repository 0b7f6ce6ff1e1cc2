// What a mesh consists of: points, polygons, maps, and the edges that follow from the polygons.
#pragma once

#include "host/objects/elements.h"
#include "host/objects/vectors.h"

#include "kz/mesh.h"
#include "kz/mesh_element.h"
#include "kz/mesh_map.h"

#include <array>
#include <map>
#include <span>
#include <string>

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

    // What the point has as a corner of the polygon, or else by itself; null when it has nothing.
    const std::vector<float>* find(KzElementId point, KzElementId polygon) const;
};

// One corner of one polygon.
struct MeshCorner {
    KzElementId polygon = nullptr;
    std::int32_t vertex = 0;
};

class CMeshData {
public:
    CElementTable<MeshPoint> points;
    CElementTable<MeshPolygon> polygons;
    CElementTable<MeshMapData> maps;

    CElementTable<MeshEdge>& edges() { return m_isCurrent ? m_edges : connect(); }
    // The corners that stand at a point.
    std::span<const MeshCorner> cornersAt(KzElementId point);
    MeshEdge* edgeBetween(KzElementId start, KzElementId end);

    MeshPoint& addPoint(const KzVector3& position);
    MeshPolygon& addPolygon(std::int32_t type, std::vector<KzElementId> corners);
    // Throws what is wrong with the corners of a polygon of that type.
    void checkCorners(std::int32_t type, const std::vector<KzElementId>& corners) const;
    MeshMapData& addMap(std::int32_t type, const std::string& name, std::uint32_t dimension, std::uint32_t flags);
    MeshMapData* findMap(std::int32_t type, std::string_view name);

    // Points go with the polygons that use them.
    template <class Test> void removePoints(Test test) {
        std::unordered_map<KzElementId, bool> gone;
        for (const MeshPoint& point : points)
            if (test(point)) gone.emplace(point.id, true);
        const auto usesGone = [&](const MeshPolygon& polygon) {
            return std::any_of(polygon.points.begin(), polygon.points.end(),
                               [&](KzElementId point) { return gone.contains(point); });
        };
        polygons.removeIf(usesGone);
        points.removeIf([&](const MeshPoint& point) { return gone.contains(point.id); });
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

    // Counts a change of those kinds; edges are found anew after a change of the topology.
    void changed(std::uint32_t changes);
    std::uint32_t serial(std::uint32_t changes) const;

private:
    CElementTable<MeshEdge>& connect();
    void joinEdge(KzElementId start, KzElementId end, KzElementId polygon, CElementTable<MeshEdge>& edges,
                  std::map<MeshMapData::Place, KzElementId>& byEnds);
    void dropLostValues();

    CElementTable<MeshEdge> m_edges;
    std::map<MeshMapData::Place, KzElementId> m_edgeByEnds;
    std::unordered_map<KzElementId, std::vector<MeshCorner>> m_corners;
    bool m_isCurrent = false;
    std::array<std::uint32_t, 32> m_serials{};
};

// What the types of polygons are like.
struct MeshPolygonType {
    std::int32_t type;
    const char* name;
    bool isClosed;            // the last point joins the first
    std::uint32_t mergeFlag;  // which flag of a merge takes it along
};
std::span<const MeshPolygonType> kzPolygonTypes() noexcept;
// Throws INVALIDARG for an unknown type.
const MeshPolygonType& kzPolygonType(std::int32_t type);

struct MeshMapType {
    std::int32_t type;
    const char* name;
    std::uint32_t dimension;  // 0: as the map says
    std::uint32_t flags;
};
std::span<const MeshMapType> kzMapTypes() noexcept;
const MeshMapType* kzFindMapType(std::int32_t type) noexcept;

// The corners in a caller's buffer. Throws what is wrong with the count or the buffer.
std::vector<KzElementId> kzCorners(std::uint32_t count, const KzElementId* points);

// Whether an element with these marks is meant; 0 means all.
inline bool kzIsMeant(std::int32_t marks, std::int32_t wanted) { return wanted == 0 || (marks & wanted) != 0; }

}  // namespace kzhost
