// Combines the solid of a mesh with another one, the driver.
//
// Each polygon is cut along the planes of those of the other mesh that it may meet, so that no piece goes through a face of
// the other solid. Then each piece lies inside the other one, outside, or in its surface, and the operation says which are
// kept. A polygon of which everything is kept stays as it was. Where pieces end beside polygons that were cut more often,
// points are added to their outlines, so a solid stays one.
#include "host/objects/mesh_tools.h"

#include "host/core/reasons.h"
#include "host/objects/mesh_merge.h"
#include "host/objects/solid_faces.h"
#include "host/state/text.h"

#include "kz/dialog.h"
#include "kz/mesh.h"
#include "kz/mesh_edit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// What an operation keeps of each mesh, by sides: '+' as it is, '-' turned round, ' ' not at all.
struct Rule {
    const char* mesh;
    const char* driver;
    bool needsSolid;  // the mesh; the driver is always one
};
constexpr Rule rules[] = {
    {"+ + ", "+   ", true},   // union
    {"+  +", " -  ", true},   // subtract
    {" ++ ", " +  ", true},   // intersect
    {"++++", "++  ", true},   // add
    {"++++", "    ", false},  // stamp
    {"+   ", " -  ", false},  // tunnel
    {" +  ", "    ", false},  // core
    {"++++", "    ", false},  // slice
};

// One run. Works on a copy of the mesh.
class CDrilling {
public:
    CDrilling(CMeshData& mesh, CMeshData& driver, std::int32_t operation, double tolerance)
        : m_mesh(mesh), m_driver(driver), m_operation(operation), m_tolerance(tolerance), m_meshFaces(mesh, tolerance),
          m_driverFaces(driver, tolerance) {}

    // False if `isStopped`, which is asked for each polygon.
    template <class Stop> bool run(const std::string& material, const Stop& isStopped);
    std::uint32_t changed() const noexcept { return m_changed; }
    const std::vector<KzElementId>& cutEdges() const noexcept { return m_cutEdges; }

private:
    struct Kept {
        std::vector<std::pair<Piece, SolidSide>> pieces;
        bool isWhole = true;  // everything is kept as it is
        bool isMet = false;   // the polygon may meet the other solid
    };
    Kept keep(CMeshData& data, const MeshPolygon& polygon, const CSolidFaces& others, const char* rule,
              SolidSide untouched);
    void addTo(CPieceMesh& pieces, CMeshData& source, const Kept& kept, const char* rule, const std::string& material,
               bool isDriver);
    std::unordered_map<KzElementId, SolidSide> sidesOfRegions(CMeshData& data, const CSolidFaces& others);
    void noteCutEdges();

    CMeshData &m_mesh, &m_driver;
    const std::int32_t m_operation;
    const double m_tolerance;
    const CSolidFaces m_meshFaces, m_driverFaces;
    std::uint32_t m_changed = 0;
    std::unordered_map<KzElementId, int> m_origins;  // of new polygons: 1 of the mesh's inside, 2 of the driver
    std::vector<KzElementId> m_cutEdges;
};

// Polygons that meet nothing are on the same side as their neighbours that meet nothing, so one of them is asked.
std::unordered_map<KzElementId, SolidSide> CDrilling::sidesOfRegions(CMeshData& data, const CSolidFaces& others) {
    std::unordered_map<KzElementId, SolidSide> sides;
    std::unordered_set<KzElementId> open;
    for (const MeshPolygon& polygon : data.polygons)
        if (kzPolygonType(polygon.type).isClosed && !others.meets(kzWholePiece(data, polygon))) open.insert(polygon.id);
    while (!open.empty()) {
        std::vector<KzElementId> region{*open.begin()};
        open.erase(open.begin());
        const SolidSide side = others.sideOf(kzWholePiece(data, data.polygons.at(region.front())));
        for (std::size_t i = 0; i < region.size(); ++i) {
            sides[region[i]] = side;
            const auto& corners = data.polygons.at(region[i]).points;
            for (std::size_t j = 0; j < corners.size(); ++j)
                if (const MeshEdge* edge = data.edgeBetween(corners[j], corners[(j + 1) % corners.size()]))
                    for (KzElementId next : edge->polygons)
                        if (open.erase(next) > 0) region.push_back(next);
        }
    }
    return sides;
}

CDrilling::Kept CDrilling::keep(CMeshData& data, const MeshPolygon& polygon, const CSolidFaces& others,
                                const char* rule, SolidSide untouched) {
    Kept kept;
    const Piece whole = kzWholePiece(data, polygon);
    kept.isMet = others.meets(whole);
    if (!kept.isMet) {
        kept.isWhole = rule[static_cast<int>(untouched)] == '+';
        if (rule[static_cast<int>(untouched)] != ' ') kept.pieces.emplace_back(whole, untouched);
        return kept;
    }
    std::optional<SolidSide> first;
    for (const Piece& convex : kzConvexPieces(data, polygon, m_tolerance))
        for (Piece& part : others.cut(convex)) {
            const SolidSide side = others.sideOf(part);
            const char what = rule[static_cast<int>(side)];
            const bool isMark = m_operation == KZiSOLIDDRILL_STAMP || m_operation == KZiSOLIDDRILL_SLICE ||
                                m_operation == KZiSOLIDDRILL_ADD;
            if (!first) first = side;
            kept.isWhole &= what == '+' && (!isMark || side == *first);
            if (what != ' ') kept.pieces.emplace_back(std::move(part), side);
        }
    return kept;
}

void CDrilling::addTo(CPieceMesh& pieces, CMeshData& source, const Kept& kept, const char* rule,
                      const std::string& material, bool isDriver) {
    for (const auto& [piece, side] : kept.pieces) {
        const bool isInside = side != SolidSide::outside;
        // The two parts of a slice share no points.
        const int layer = m_operation == KZiSOLIDDRILL_SLICE && !isDriver && isInside ? 1 : 0;
        KzElementId added = pieces.add(piece, source, rule[static_cast<int>(side)] == '-', layer);
        if (added == nullptr) continue;
        m_origins[added] = isDriver ? 2 : isInside ? 1 : 0;
        ++m_changed;
        const bool isNew = isDriver || (m_operation == KZiSOLIDDRILL_STAMP && isInside);
        if (isNew && !material.empty()) m_mesh.polygons.at(added).tags[KZi_PTAG_SURFACE] = material;
    }
}

template <class Stop> bool CDrilling::run(const std::string& material, const Stop& isStopped) {
    const Rule& rule = rules[m_operation];
    const auto meshSides = sidesOfRegions(m_mesh, m_driverFaces);
    const auto driverSides = sidesOfRegions(m_driver, m_meshFaces);
    const auto sideIn = [](const auto& sides, KzElementId polygon) {
        const auto entry = sides.find(polygon);
        return entry != sides.end() ? entry->second : SolidSide::outside;
    };
    CPieceMesh pieces(m_mesh, m_tolerance);
    std::unordered_set<KzElementId> gone, touched;
    for (KzElementId id : m_mesh.polygons.ids()) {
        if (isStopped()) return false;
        const MeshPolygon polygon = m_mesh.polygons.at(id);
        if (!kzPolygonType(polygon.type).isClosed) continue;
        const Kept kept = keep(m_mesh, polygon, m_driverFaces, rule.mesh, sideIn(meshSides, id));
        const bool moves = m_operation == KZiSOLIDDRILL_SLICE && !kept.pieces.empty() &&
                           kept.pieces.front().second != SolidSide::outside;
        if (kept.isWhole && !moves) {
            if (!kept.pieces.empty() && kept.pieces.front().second != SolidSide::outside) m_origins[id] = 1;
            continue;
        }
        gone.insert(id);
        touched.insert(polygon.points.begin(), polygon.points.end());
        if (kept.pieces.empty()) ++m_changed;
        addTo(pieces, m_mesh, kept, rule.mesh, material, false);
    }
    for (KzElementId id : m_driver.polygons.ids()) {
        if (isStopped()) return false;
        const MeshPolygon polygon = m_driver.polygons.at(id);
        Kept kept = keep(m_driver, polygon, m_meshFaces, rule.driver, sideIn(driverSides, id));
        if (kept.isWhole && kept.isMet) kept.pieces = {{kzWholePiece(m_driver, polygon), kept.pieces.front().second}};
        addTo(pieces, m_driver, kept, rule.driver, material, true);
    }
    m_mesh.removePolygons([&](const MeshPolygon& polygon) { return gone.contains(polygon.id); });
    m_mesh.changed(KZmMESHEDIT_TOPOLOGY);
    m_mesh.removePoints(
        [&](const MeshPoint& point) { return touched.contains(point.id) && m_mesh.cornersAt(point.id).empty(); });
    pieces.closeGaps();
    noteCutEdges();
    return true;
}

void CDrilling::noteCutEdges() {
    const auto originOf = [&](KzElementId polygon) {
        const auto entry = m_origins.find(polygon);
        return entry != m_origins.end() ? entry->second : 0;
    };
    for (const MeshEdge& edge : m_mesh.edges())
        if (std::ranges::any_of(edge.polygons, [&](KzElementId polygon) {
                return originOf(polygon) != originOf(edge.polygons.front());
            }))
            m_cutEdges.push_back(edge.id);
}

// Makes a solid of open polygons, by moving them along the way.
void sweep(CMeshData& data, const KzVector3& way) {
    const auto ids = data.polygons.ids();
    std::unordered_map<KzElementId, KzElementId> moved;
    for (KzElementId id : ids)
        for (KzElementId point : std::vector<KzElementId>(data.polygons.at(id).points))
            if (!moved.contains(point)) moved[point] = data.addPoint(data.points.at(point).position + way).id;
    std::vector<std::pair<KzElementId, KzElementId>> borders;
    for (const MeshEdge& edge : data.edges()) {
        if (edge.polygons.size() != 1) continue;
        const auto& corners = data.polygons.at(edge.polygons.front()).points;
        const auto at = std::ranges::find(corners, edge.start);
        const bool isForward = (at + 1 == corners.end() ? corners.front() : *(at + 1)) == edge.end;
        borders.emplace_back(isForward ? edge.start : edge.end, isForward ? edge.end : edge.start);
    }
    const bool isAlong = kzDot(data.normalOf(data.polygons.at(ids.front())), way) > 0;
    for (KzElementId id : ids) {
        std::vector<KzElementId> corners = data.polygons.at(id).points;
        if (isAlong) std::ranges::reverse(data.polygons.at(id).points);
        for (KzElementId& corner : corners) corner = moved.at(corner);
        if (!isAlong) std::ranges::reverse(corners);
        data.addPolygon(data.polygons.at(id).type, std::move(corners));
    }
    for (const auto& [from, to] : borders) {
        std::vector<KzElementId> side{from, to, moved.at(to), moved.at(from)};
        if (!isAlong) std::ranges::reverse(side);
        data.addPolygon(KZi_POLYTYPE_FACE, std::move(side));
    }
}

class CSolidDrill final : public CHosted<"solid drill", CSolidDrill, CKzIfc_SolidDrill> {
public:
    explicit CSolidDrill(CHostRef<CMesh> mesh) : m_mesh(std::move(mesh)) {}

    KzResult soliddrill_SetDriver(IKzUnknown* driver) override {
        m_driver = kzOwn<CMesh>(driver);
        return KZe_OK;
    }
    KzResult soliddrill_SetDriverTransform(const KzMatrix4* xfrm) override {
        m_matrix = kzFiniteMatrix("SolidDrill.SetDriverTransform", xfrm);
        return KZe_OK;
    }
    KzResult soliddrill_SetOperation(std::int32_t operation) override {
        if (operation < 0 || operation >= static_cast<std::int32_t>(std::size(rules)))
            return refuse(KZe_INVALIDARG, fmt::format("there is no operation {}", operation));
        m_operation = operation;
        return KZe_OK;
    }
    KzResult soliddrill_SetAxis(const KzVector3* start, const KzVector3* end) override {
        if (!(kzLength(*end - *start) > 0)) return refuse(KZe_INVALIDARG, "the axis has no length");
        m_axis = *end - *start;
        return KZe_OK;
    }
    KzResult soliddrill_SetMaterial(const char* material) override {
        m_material = kzString(material);
        return KZe_OK;
    }
    KzResult soliddrill_SetTolerance(double tolerance) override {
        if (!(tolerance >= 0) || !std::isfinite(tolerance))
            return refuse(KZe_INVALIDARG, fmt::format("a tolerance of {} makes no sense", tolerance));
        m_tolerance = tolerance;
        return KZe_OK;
    }
    KzResult soliddrill_Test(bool* closed) override {
        if (!m_driver) return refuse(KZe_NOTREADY, "there is no driver");
        *closed = kzIsSolid(m_mesh->data) && kzIsSolid(m_driver->data);
        return KZe_OK;
    }
    KzResult soliddrill_Run(IKzUnknown* monitor, std::uint32_t* changed) override;
    std::uint32_t soliddrill_CutEdgeCount() override { return static_cast<std::uint32_t>(m_cutEdges.size()); }
    KzResult soliddrill_CutEdgeByIndex(std::uint32_t index, KzElementId* edge) override {
        if (index >= m_cutEdges.size()) return KZe_OUTOFBOUNDS;
        *edge = m_cutEdges[index];
        return KZe_OK;
    }

private:
    static KzResult refuse(KzResult code, const std::string& why) {
        return kzBecause(code, "SolidDrill", [&] { return why; });
    }

    CHostRef<CMesh> m_mesh, m_driver;
    KzMatrix4 m_matrix = kzIdentity();
    std::int32_t m_operation = KZiSOLIDDRILL_UNION;
    std::optional<KzVector3> m_axis;
    std::string m_material;
    double m_tolerance = 0;
    std::vector<KzElementId> m_cutEdges;
};

KzResult CSolidDrill::soliddrill_Run(IKzUnknown* monitor, std::uint32_t* changed) {
    if (!m_driver) return refuse(KZe_NOTREADY, "there is no driver");
    const CMeshEdit edit(m_mesh->data);
    CMeshData mesh = m_mesh->data, driver;
    kzMergeMesh(driver, m_driver->data, m_matrix, kzMergeEverything);
    if (!kzIsSolid(driver) && m_axis && driver.polygons.size() > 0 && !rules[m_operation].needsSolid)
        sweep(driver, *m_axis);
    if (!kzIsSolid(driver)) return refuse(KZe_FAILED, "the driver is no solid: it has open edges, or no polygons");
    if (rules[m_operation].needsSolid && !kzIsSolid(mesh))
        return refuse(KZe_FAILED, "the mesh is no solid: it has open edges, or no polygons");
    const double tolerance = std::max({m_tolerance, 10 * kzCutTolerance(mesh), 10 * kzCutTolerance(driver)});
    const CKzUser_Monitor progress(monitor);
    if (progress) progress.Initialize(mesh.polygons.size() + driver.polygons.size());
    CDrilling drilling(mesh, driver, m_operation, tolerance);
    if (!drilling.run(m_material, [&] { return progress && kzFailed(progress.Increment(1)); })) return KZe_ABORT;
    m_mesh->data.assign(mesh);
    m_mesh->data.changed(KZmMESHEDIT_GEOMETRY | KZfMESHEDIT_TAGS);
    m_cutEdges = drilling.cutEdges();
    *changed = drilling.changed();
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeSolidDrill(CHostRef<CMesh> mesh) { return kzMakeObject<CSolidDrill>(std::move(mesh)); }

}  // namespace kzhost
