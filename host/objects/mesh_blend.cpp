// Mixes two meshes, collects loose polygons, and takes the triangles of surfaces.
#include "host/objects/mesh_tools.h"

#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/mesh_edits.h"
#include "host/state/text.h"

#include "kz/mesh_map.h"
#include "kz/mesh_operation.h"
#include "kz/replicator.h"
#include "kz/tableau.h"
#include "kz/tableau_element.h"
#include "kz/triangle.h"

#include <fmt/format.h>

#include <cmath>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Elements of the two meshes belong together by their indices.
class CMeshBlend final : public CHosted<"mesh blend", CMeshBlend, CKzIfc_MeshBlend> {
public:
    CMeshBlend(CHostRef<CMesh> from, CHostRef<CMesh> to) { set(std::move(from), std::move(to)); }

    KzResult meshblend_SetMeshes(IKzUnknown* from, IKzUnknown* to) override {
        set(kzOwn<CMesh>(from), kzOwn<CMesh>(to));
        return KZe_OK;
    }
    KzResult meshblend_SetWeightMap(KzElementId map) override {
        if (map != nullptr && m_from->data.maps.at(map).dimension != 1)
            return kzBecause(KZe_INVALIDARG, "MeshBlend.SetWeightMap",
                             [] { return "a map of weights has one number for each point"; });
        m_map = map;
        return KZe_OK;
    }
    KzResult meshblend_SetWeight(KzElementId point, float weight) override {
        if (!m_from->data.points.has(point)) return KZe_NOTFOUND;
        m_weights[point] = weight;
        return KZe_OK;
    }
    KzResult meshblend_Apply(IKzUnknown* target, float weight, std::uint32_t changes) override;
    KzResult meshblend_ApplyPoint(KzElementId point, float weight, KzVector3* position) override {
        const std::int32_t index = m_from->data.points.indexOf(point);
        if (index < 0) return KZe_NOTFOUND;
        *position = positionAt(static_cast<std::uint32_t>(index), weight);
        return KZe_OK;
    }
    void meshblend_Reset() override {
        m_weights.clear();
        m_map = nullptr;
    }

private:
    void set(CHostRef<CMesh> from, CHostRef<CMesh> to) {
        demandSame(*from, *to);
        m_from = std::move(from);
        m_to = std::move(to);
        meshblend_Reset();
    }
    static void demandSame(CMesh& from, CMesh& to) {
        if (!from.mesh_IsCompatible(to.rawSelf()))
            throw kzBecause(KZe_FAILED, "MeshBlend", [&] {
                return fmt::format("the meshes have other elements: {} points and {} polygons, {} and {}",
                                   from.data.points.size(), from.data.polygons.size(), to.data.points.size(),
                                   to.data.polygons.size());
            });
    }
    double weightAt(KzElementId point, double weight) const {
        if (const auto own = m_weights.find(point); own != m_weights.end()) return weight * own->second;
        if (m_map == nullptr) return weight;
        const auto* value = m_from->data.maps.at(m_map).find(point, nullptr);
        return value != nullptr ? weight * value->front() : 0;
    }
    KzVector3 positionAt(std::uint32_t index, double weight) const {
        const MeshPoint& from = m_from->data.points.byIndex(index);
        const KzVector3& to = m_to->data.points.byIndex(index).position;
        return from.position + (to - from.position) * weightAt(from.id, weight);
    }
    void mixMap(CMeshData& target, MeshMapData& map, float weight);

    CHostRef<CMesh> m_from, m_to;
    KzElementId m_map = nullptr;
    std::unordered_map<KzElementId, float> m_weights;
};

KzResult CMeshBlend::meshblend_Apply(IKzUnknown* target, float weight, std::uint32_t changes) {
    const auto mesh = kzOwn<CMesh>(target);
    demandSame(*m_from, *mesh);
    demandSame(*m_from, *m_to);
    CMeshData& data = mesh->data;
    const CMeshEdit edit(data);
    if ((changes & KZfMESHEDIT_MAPVALUES) != 0)
        for (MeshMapData& map : data.maps) mixMap(data, map, weight);
    if ((changes & KZfMESHEDIT_POSITION) != 0) {
        std::vector<KzVector3> positions;
        for (std::uint32_t i = 0; i < data.points.size(); ++i) positions.push_back(positionAt(i, weight));
        for (std::uint32_t i = 0; i < data.points.size(); ++i) data.points.byIndex(i).position = positions[i];
    }
    data.changed(changes & (KZfMESHEDIT_POSITION | KZfMESHEDIT_MAPVALUES));
    return KZe_OK;
}

// A value that one of the meshes does not have stays out.
void CMeshBlend::mixMap(CMeshData& target, MeshMapData& map, float weight) {
    const MeshMapData* from = m_from->data.findMap(map.type, map.name);
    const MeshMapData* to = m_to->data.findMap(map.type, map.name);
    if (from == nullptr || to == nullptr || from->dimension != map.dimension || to->dimension != map.dimension) return;
    std::map<MeshMapData::Place, std::vector<float>> mixed;
    for (const auto& [place, value] : from->values) {
        const std::int32_t point = m_from->data.points.indexOf(place.first);
        const std::int32_t polygon = place.second != nullptr ? m_from->data.polygons.indexOf(place.second) : -1;
        const auto placeIn = [&](CMeshData& data) {
            return MeshMapData::Place(data.points.byIndex(static_cast<std::uint32_t>(point)).id,
                                      polygon >= 0 ? data.polygons.byIndex(static_cast<std::uint32_t>(polygon)).id
                                                   : nullptr);
        };
        const auto other = placeIn(m_to->data);
        const auto* second = to->find(other.first, other.second);
        if (second == nullptr) continue;
        const auto part = static_cast<float>(weightAt(place.first, weight));
        std::vector<float> values = value;
        for (std::size_t i = 0; i < values.size(); ++i) values[i] += ((*second)[i] - values[i]) * part;
        mixed[placeIn(target)] = std::move(values);
    }
    for (auto& [place, value] : mixed) map.values[place] = std::move(value);
}

class CBagGenerator final : public CHosted<"bag generator", CBagGenerator, CKzIfc_BagGenerator> {
public:
    KzResult baggenerator_SetWeldDistance(double distance) override {
        if (!(distance >= 0) || !std::isfinite(distance)) return KZe_INVALIDARG;
        m_distance = distance;
        return KZe_OK;
    }
    KzResult baggenerator_AddTriangle(const KzFVector3* a, const KzFVector3* b, const KzFVector3* c) override {
        return add({wide(*a), wide(*b), wide(*c)}, {});
    }
    KzResult baggenerator_AddQuad(const KzFVector3* a, const KzFVector3* b, const KzFVector3* c,
                                  const KzFVector3* d) override {
        return add({wide(*a), wide(*b), wide(*c), wide(*d)}, {});
    }
    KzResult baggenerator_AddPolygon(std::uint32_t count, double* positions, const char* material) override {
        if (count < 3 || positions == nullptr || !kzCanHaveCorners(KZi_POLYTYPE_FACE, count))
            return kzBecause(KZe_INVALIDARG, "BagGenerator.AddPolygon",
                             [&] { return fmt::format("a polygon cannot have {} corners", count); });
        std::vector<KzVector3> corners;
        for (std::uint32_t i = 0; i < count; ++i, positions += 3)
            corners.push_back({{positions[0], positions[1], positions[2]}});
        return add(std::move(corners), kzString(material));
    }
    KzResult baggenerator_Generate(IKzUnknown* mesh, std::uint32_t* removed) override;

private:
    struct Loose {
        std::vector<KzVector3> corners;
        std::string material;
    };
    static KzVector3 wide(const KzFVector3& from) { return {{from.v[0], from.v[1], from.v[2]}}; }
    KzResult add(std::vector<KzVector3> corners, std::string material) {
        for (const KzVector3& corner : corners)
            if (!std::isfinite(kzLength(corner)))
                return kzBecause(KZe_INVALIDARG, "BagGenerator", [] { return "a corner is at no finite place"; });
        m_polygons.push_back({std::move(corners), std::move(material)});
        return KZe_OK;
    }

    double m_distance = 0;
    std::vector<Loose> m_polygons;
};

// What the mesh had before is not welded.
KzResult CBagGenerator::baggenerator_Generate(IKzUnknown* mesh, std::uint32_t* removed) {
    const auto target = kzOwn<CMesh>(mesh);
    CMeshData& data = target->data;
    const CMeshEdit edit(data);
    std::unordered_map<KzElementId, std::int32_t> marks;
    for (MeshPoint& point : data.points) marks[point.id] = std::exchange(point.marks, 0);
    for (const Loose& each : m_polygons) {
        std::vector<KzElementId> points;
        for (const KzVector3& corner : each.corners) {
            MeshPoint& point = data.addPoint(corner);
            point.marks = KZfMARK_VALID;
            points.push_back(point.id);
        }
        MeshPolygon& polygon = data.addPolygon(KZi_POLYTYPE_FACE, std::move(points));
        if (!each.material.empty()) polygon.tags[KZi_PTAG_SURFACE] = each.material;
    }
    *removed = m_distance > 0 ? kzWeld(data, m_distance, KZfMARK_VALID) : 0;
    for (MeshPoint& point : data.points) {
        const auto former = marks.find(point.id);
        point.marks = former != marks.end() ? former->second : 0;
    }
    return KZe_OK;
}

// The layout of a vertex: features behind each other.
class CVertexLayout final : public CHosted<"vertex layout", CVertexLayout, CKzIfc_TableauVertex> {
public:
    KzResult tableauvertex_AddFeature(std::uint32_t type, const char* name, std::uint32_t* offset) override {
        const std::uint32_t size = tableauvertex_FeatureSize(type);
        if (size == 0) return kzBecause(KZe_INVALIDARG, "TableauVertex.AddFeature", [] { return "no such feature"; });
        if (kzSucceeded(tableauvertex_Lookup(type, name, offset))) return KZe_OK;
        *offset = tableauvertex_Size();
        m_features.push_back({type, kzString(name), *offset});
        return KZe_OK;
    }
    KzResult tableauvertex_Lookup(std::uint32_t type, const char* name, std::uint32_t* offset) override {
        for (const Feature& each : m_features)
            if (each.type == type && each.name == kzTextOf(name)) return *offset = each.offset, KZe_OK;
        return KZe_NOTFOUND;
    }
    std::uint32_t tableauvertex_FeatureCount() override { return static_cast<std::uint32_t>(m_features.size()); }
    KzResult tableauvertex_FeatureByIndex(std::uint32_t index, std::uint32_t* type, const char** name,
                                          std::uint32_t* offset) override {
        if (index >= m_features.size()) return KZe_OUTOFBOUNDS;
        *type = m_features[index].type;
        *name = m_features[index].name.empty() ? nullptr : kzLend(m_features[index].name);
        *offset = m_features[index].offset;
        return KZe_OK;
    }
    std::uint32_t tableauvertex_FeatureSize(std::uint32_t type) override {
        static constexpr std::pair<std::int32_t, std::uint32_t> sizes[] = {
            {KZi_TBLX_FEATURE_POSITION, 3}, {KZi_TBLX_FEATURE_OBJECTPOS, 3}, {KZi_TBLX_FEATURE_NORMAL, 3},
            {KZi_TBLX_FEATURE_VELOCITY, 3}, {KZi_TBLX_FEATURE_UV, 2},        {KZi_TBLX_FEATURE_TANGENT, 6},
            {KZi_TBLX_FEATURE_WEIGHT, 1},   {KZi_TBLX_FEATURE_COLOR, 4},     {KZi_TBLX_FEATURE_RADIUS, 1},
            {KZi_TBLX_FEATURE_PARTICLE, 1}, {KZi_TBLX_FEATURE_EDGE, 3},      {KZi_TBLX_FEATURE_AGE, 1}};
        for (const auto& [feature, size] : sizes)
            if (static_cast<std::uint32_t>(feature) == type) return size;
        return 0;
    }
    std::uint32_t tableauvertex_Size() override {
        return m_features.empty() ? 0 : m_features.back().offset + tableauvertex_FeatureSize(m_features.back().type);
    }
    KzResult tableauvertex_Copy(IKzUnknown* source) override {
        const CKzUser_TableauVertex other(source);
        if (!other) return KZe_INVALIDARG;
        std::vector<Feature> features;
        for (std::uint32_t i = 0, count = other.FeatureCount(); i < count; ++i) {
            const char* name = nullptr;
            Feature& feature = features.emplace_back();
            if (const KzResult code = other.FeatureByIndex(i, &feature.type, &name, &feature.offset); kzFailed(code))
                return code;
            feature.name = kzString(name);
        }
        m_features = std::move(features);
        return KZe_OK;
    }

private:
    struct Feature {
        std::uint32_t type = 0;
        std::string name;
        std::uint32_t offset = 0;
    };
    std::vector<Feature> m_features;
};

// Makes polygons of the triangles, and curves of the lines, that a surface sends.
class CMeshSoup final : public CHosted<"mesh soup", CMeshSoup, CKzIfc_TriangleSoup> {
public:
    CMeshSoup(CMeshData& data, std::uint32_t size) : m_data(&data), m_size(size) {}
    // Whoever keeps the soup has none any more.
    void finish() noexcept { m_data = nullptr; }

    bool soup_TestBox(const KzVector3* /*minimum*/, const KzVector3* /*maximum*/) override { return true; }
    KzResult soup_Segment(std::uint32_t /*segment*/, std::int32_t type, bool* wanted) override {
        m_points.clear();
        m_type = type;
        *wanted = type == KZi_TRISOUP_TRIANGLES || type == KZi_TRISOUP_LINES || type == KZi_TRISOUP_POINTS;
        return KZe_OK;
    }
    KzResult soup_Vertex(std::uint32_t size, float* values, std::uint32_t* index) override {
        if (m_data == nullptr) return KZe_NOTAVAILABLE;
        if (size != m_size || values == nullptr)
            return kzBecause(KZe_INVALIDARG, "TriangleSoup.Vertex",
                             [&] { return fmt::format("a vertex has {} numbers, not {}", m_size, size); });
        const KzVector3 position{{values[0], values[1], values[2]}};
        if (!std::isfinite(kzLength(position))) return KZe_INVALIDARG;
        *index = static_cast<std::uint32_t>(m_points.size());
        m_points.push_back(m_data->addPoint(position).id);
        return KZe_OK;
    }
    KzResult soup_Polygon(std::uint32_t a, std::uint32_t b, std::uint32_t c) override {
        return add(KZi_POLYTYPE_FACE, {a, b, c});
    }
    KzResult soup_Line(std::uint32_t a, std::uint32_t b) override { return add(KZi_POLYTYPE_POLYLINE, {a, b}); }

private:
    KzResult add(std::int32_t type, const std::vector<std::uint32_t>& corners) {
        if (m_data == nullptr) return KZe_NOTAVAILABLE;
        std::vector<KzElementId> points;
        for (const std::uint32_t corner : corners) {
            if (corner >= m_points.size())
                return kzBecause(KZe_OUTOFBOUNDS, "TriangleSoup", [&] {
                    return fmt::format("there is no vertex {}; the segment has {}", corner, m_points.size());
                });
            points.push_back(m_points[corner]);
        }
        m_data->addPolygon(type, std::move(points));
        return KZe_OK;
    }

    CMeshData* m_data;
    const std::uint32_t m_size;
    std::int32_t m_type = KZi_TRISOUP_TRIANGLES;
    std::vector<KzElementId> m_points;
};

void demand(KzResult code, const char* operation) {
    if (kzRefuses(code))
        throw kzBecause(code, "Mesh.CreateFromSurface",
                        [&] { return fmt::format("{} of the surface ended with {}", operation, kzCodeName(code)); });
}

}  // namespace

IKzUnknown* kzMakeMeshBlend(CHostRef<CMesh> from, CHostRef<CMesh> to) {
    return kzMakeObject<CMeshBlend>(std::move(from), std::move(to));
}

IKzUnknown* kzMakeBagGenerator() { return kzMakeObject<CBagGenerator>(); }

CHostRef<CMesh> kzMeshFromSurface(IKzUnknown* surface, double edgeLength) {
    const CKzUser_TableauSurface source(surface);
    if (!source || !(edgeLength >= 0) || !std::isfinite(edgeLength)) throw KZe_INVALIDARG;
    auto mesh = CHostRef<CMesh>::make();
    const auto layout = CHostRef<CVertexLayout>::make();
    std::uint32_t offset = 0;
    layout->tableauvertex_AddFeature(KZi_TBLX_FEATURE_POSITION, nullptr, &offset);
    demand(source.SetVertex(layout.raw()), "SetVertex");
    const CMeshEdit edit(mesh->data);
    const auto soup = CHostRef<CMeshSoup>::make(mesh->data, layout->tableauvertex_Size());
    struct Finish {
        CMeshSoup& soup;
        ~Finish() { soup.finish(); }
    } const finish{*soup};
    const std::uint32_t segments = std::max(source.SegmentCount(), 1U);
    for (std::uint32_t segment = 0; segment < segments; ++segment)
        demand(source.Sample(segment, edgeLength, soup.raw()), "Sample");
    return mesh;
}

}  // namespace kzhost
