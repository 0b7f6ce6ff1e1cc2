// Meshes of foreign models. A vertex of theirs has one normal and one place in each texture, so at a seam there are
// several at one place; here, one point has values for each of its corners.
#include "host/objects/mesh_merge.h"
#include "host/objects/model_scene.h"
#include "host/state/function_ref.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

struct PlaceHash {
    std::size_t operator()(const ModelVector& place) const {
        std::size_t hash = 0;
        for (const float each : place) hash = hash * 0x9E3779B97F4A7C15U + std::bit_cast<std::uint32_t>(each);
        return hash ^ hash >> 32U;
    }
};

class CMeshImport {
public:
    CMeshImport(const ModelMesh& from, const std::string& material, bool joins, const KzMatrix4& matrix)
        : m_from(from), m_material(material), m_joins(joins), m_matrix(matrix) {}

    CMeshData run(std::vector<std::string>& notes) {
        addPoints();
        addPolygons();
        if (!m_from.normals.empty()) addMap(KZi_MAPTYPE_NORMAL, "normal", m_from.normals);
        for (std::size_t i = 0; i < m_from.uvs.size(); ++i) {
            std::string name = m_from.uvs[i].name.empty() ? "uv" : m_from.uvs[i].name;
            if (m_mesh.findMap(KZi_MAPTYPE_TEXTURE, name) != nullptr) name += fmt::format(" {}", i + 1);
            addMap(KZi_MAPTYPE_TEXTURE, name, m_from.uvs[i].values);
        }
        if (!m_from.colours.empty()) addMap(KZi_MAPTYPE_RGBA, "color", m_from.colours);
        if (m_leftOut > 0)
            notes.push_back(fmt::format("{} faces of \"{}\" have too many corners", m_leftOut, m_from.name));
        return std::move(m_mesh);
    }

private:
    // Places are equal if their numbers are; the two zeros are one.
    void addPoints() {
        std::unordered_map<ModelVector, KzElementId, PlaceHash> known;
        m_mesh.points.reserve(m_joins ? 0 : m_from.positions.size());
        for (ModelVector place : m_from.positions) {
            for (float& each : place) each += 0.0F;
            KzElementId& point = m_joins ? known[place] : m_points.emplace_back();
            if (point == nullptr) point = m_mesh.addPoint(kzPlace({{place[0], place[1], place[2]}}, m_matrix)).id;
            if (m_joins) m_points.push_back(point);
        }
    }
    void addPolygons() {
        m_mesh.polygons.reserve(m_from.sizes.size());
        const std::uint32_t* corner = m_from.corners.data();
        for (const std::uint32_t size : m_from.sizes) {
            const std::uint32_t* next = corner + size;
            const std::int32_t type = size == 2 ? KZi_POLYTYPE_POLYLINE : KZi_POLYTYPE_FACE;
            if (size >= 2 && kzCanHaveCorners(type, size)) {
                std::vector<KzElementId> points;
                for (const std::uint32_t* each = corner; each != next; ++each) points.push_back(m_points[*each]);
                MeshPolygon& polygon = m_mesh.addPolygon(type, std::move(points));
                if (!m_material.empty()) polygon.tags[KZi_PTAG_SURFACE] = m_material;
                m_corners.insert(m_corners.end(), corner, next);
            } else if (size > 2) ++m_leftOut;  // a single corner is a point, and that is there already
            corner = next;
        }
    }
    // What most vertices of a point have is the point's; corners have what differs.
    template <class Value> void addMap(std::int32_t type, const std::string& name, const std::vector<Value>& values) {
        const MeshMapType& row = *kzFindMapType(type);
        MeshMapData& map = m_mesh.addMap(type, name, row.dimension, row.flags);
        const auto valueOf = [&](std::uint32_t vertex) {
            std::vector<float> value(values[vertex].begin(), values[vertex].end());
            if (type == KZi_MAPTYPE_NORMAL) kzTurnNormal(value, m_matrix);
            return value;
        };
        for (std::uint32_t vertex = 0; vertex < m_points.size(); ++vertex)
            map.values.try_emplace({m_points[vertex], nullptr}, valueOf(vertex));
        if (!m_joins) return;
        const std::uint32_t* corner = m_corners.data();
        for (const MeshPolygon& polygon : m_mesh.polygons)
            for (KzElementId point : polygon.points) {
                std::vector<float> value = valueOf(*corner++);
                if (map.values.find({point, nullptr})->second != value)
                    map.values.insert_or_assign({point, polygon.id}, std::move(value));
            }
    }

    const ModelMesh& m_from;
    const std::string& m_material;
    const bool m_joins;
    const KzMatrix4& m_matrix;
    CMeshData m_mesh;
    std::vector<KzElementId> m_points;     // of each vertex
    std::vector<std::uint32_t> m_corners;  // the vertices of all polygons
    std::size_t m_leftOut = 0;
};

class CMeshExport {
public:
    explicit CMeshExport(const CMeshData& from) : m_from(from) {
        for (const MeshMapData& map : from.maps) {
            if (map.type == KZi_MAPTYPE_NORMAL && m_normals == nullptr) m_normals = &map;
            if (map.type == KZi_MAPTYPE_RGBA && m_colours == nullptr) m_colours = &map;
            if (map.type == KZi_MAPTYPE_TEXTURE) m_uvs.push_back(&map);
        }
    }

    std::vector<ModelMesh> run(CFunctionRef<std::uint32_t(const std::string&)> materialOf,
                               std::vector<std::string>& notes) {
        std::unordered_set<KzElementId> used;
        std::size_t leftOut = 0;
        for (const MeshPolygon& polygon : m_from.polygons) {
            used.insert(polygon.points.begin(), polygon.points.end());
            const auto tag = polygon.tags.find(KZi_PTAG_SURFACE);
            Part& part = partFor(materialOf(tag != polygon.tags.end() ? tag->second : std::string()));
            if (polygon.type == KZi_POLYTYPE_POLYLINE)
                for (std::size_t i = 0; i + 1 < polygon.points.size(); ++i)
                    addFace(part, {polygon.points[i], polygon.points[i + 1]}, polygon.id);
            else if (kzPolygonType(polygon.type).isClosed && polygon.type != KZi_POLYTYPE_PATCH)
                addFace(part, polygon.points, polygon.id);
            else ++leftOut;
        }
        if (leftOut > 0) notes.push_back(fmt::format("{} curves and patches were left out", leftOut));
        for (const MeshPoint& point : m_from.points)
            if (!used.contains(point.id)) addFace(partFor(materialOf({})), {point.id}, nullptr);
        std::vector<ModelMesh> meshes;
        for (auto& [material, part] : m_parts)
            if (!part.mesh.sizes.empty()) meshes.push_back(std::move(part.mesh));
        return meshes;
    }

private:
    struct Part {
        ModelMesh mesh;
        std::map<std::pair<KzElementId, std::vector<float>>, std::uint32_t> vertices;  // by all that they have
    };

    Part& partFor(std::uint32_t material) {
        const auto [entry, isNew] = m_parts.try_emplace(material);
        ModelMesh& mesh = entry->second.mesh;
        if (isNew) {
            mesh.material = material;
            for (const MeshMapData* map : m_uvs) mesh.uvs.push_back({map->name, {}});
        }
        return entry->second;
    }
    void addFace(Part& part, const std::vector<KzElementId>& points, KzElementId polygon) const {
        part.mesh.sizes.push_back(static_cast<std::uint32_t>(points.size()));
        for (KzElementId point : points) part.mesh.corners.push_back(vertexOf(part, point, polygon));
    }
    template <std::size_t size>
    static std::array<float, size> valueOf(const MeshMapData& map, KzElementId point, KzElementId polygon) {
        std::array<float, size> value{};
        if (const auto* found = map.find(point, polygon))
            std::copy_n(found->begin(), std::min(size, found->size()), value.begin());
        return value;
    }
    std::uint32_t vertexOf(Part& part, KzElementId point, KzElementId polygon) const {
        std::vector<float> all;
        for (const MeshMapData* map : m_uvs) {
            const auto value = valueOf<2>(*map, point, polygon);
            all.insert(all.end(), value.begin(), value.end());
        }
        const auto normal = m_normals != nullptr ? valueOf<3>(*m_normals, point, polygon) : ModelVector{};
        const auto colour = m_colours != nullptr ? valueOf<4>(*m_colours, point, polygon) : std::array<float, 4>{};
        all.insert(all.end(), normal.begin(), normal.end());
        all.insert(all.end(), colour.begin(), colour.end());
        ModelMesh& mesh = part.mesh;
        const auto [entry, isNew] =
            part.vertices.try_emplace({point, all}, static_cast<std::uint32_t>(mesh.positions.size()));
        if (!isNew) return entry->second;
        const KzFVector3 place = kzNarrow((m_from.points.begin() + m_from.points.indexOf(point))->position);
        mesh.positions.push_back({place.v[0], place.v[1], place.v[2]});
        for (std::size_t i = 0; i < m_uvs.size(); ++i) mesh.uvs[i].values.push_back({all[2 * i], all[2 * i + 1]});
        if (m_normals != nullptr) mesh.normals.push_back(normal);
        if (m_colours != nullptr) mesh.colours.push_back(colour);
        return entry->second;
    }

    const CMeshData& m_from;
    const MeshMapData *m_normals = nullptr, *m_colours = nullptr;
    std::vector<const MeshMapData*> m_uvs;
    std::map<std::uint32_t, Part> m_parts;
};

}  // namespace

CMeshData kzMeshFrom(const ModelMesh& from, const std::string& material, bool joinsPoints, const KzMatrix4& matrix,
                     std::vector<std::string>& notes) {
    return CMeshImport(from, material, joinsPoints, matrix).run(notes);
}

std::vector<ModelMesh> kzModelMeshes(const CMeshData& from,
                                     CFunctionRef<std::uint32_t(const std::string& name)> materialOf,
                                     std::vector<std::string>& notes) {
    return CMeshExport(from).run(materialOf, notes);
}

}  // namespace kzhost
