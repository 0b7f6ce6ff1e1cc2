// Meshes through their interfaces: what is put in is read back, and ids from elsewhere are refused.
#include "tests/host/host_fixture.h"

#include "kz/mesh.h"
#include "kz/mesh_element.h"
#include "kz/mesh_map.h"
#include "kz/object.h"
#include "kz/result.h"

#include <cmath>
#include <functional>
#include <vector>

namespace {

// A visitor of the test's own.
class CVisitor final : public CKzImpl_Visitor {
public:
    explicit CVisitor(std::function<KzResult()> visit) : m_visit(std::move(visit)) {}
    static CHostPolymorph<CVisitor>& polymorph() {
        static auto& made = kzHostClass<CVisitor, CKzIfc_Visitor<CVisitor>>("test visitor", KZu_VISITOR);
        return made;
    }
    KzResult vis_Evaluate() override { return m_visit(); }

private:
    std::function<KzResult()> m_visit;
};

class MeshTest : public HostTest {
protected:
    template <class User, class Make> static User made(Make make) {
        CKzLoc_Unknown object;
        EXPECT_EQ(make(object.out()), KZe_OK);
        return User(object.raw());
    }
    CKzUser_Mesh newMesh() {
        const ServiceOf<CKzUser_MeshService> service(host().application());
        return made<CKzUser_Mesh>([&](IKzUnknown** out) { return service->Create(out); });
    }
    template <class User, class Mesh> static User cursor(const Mesh& mesh, KzResult (Mesh::*make)(IKzUnknown**) const) {
        return made<User>([&](IKzUnknown** out) { return (mesh.*make)(out); });
    }
    // A box of 2 x 1 x 1 with outward faces.
    CKzUser_Mesh box(std::vector<KzElementId>* ids = nullptr) {
        const CKzUser_Mesh mesh = newMesh();
        std::vector<KzElementId> points;
        for (const double z : {0, 1})
            for (const auto& [x, y] : {std::pair(0, 0), {2, 0}, {2, 1}, {0, 1}}) {
                const KzVector3 position{{static_cast<double>(x), static_cast<double>(y), z}};
                EXPECT_EQ(mesh.AddPoint(&position, &points.emplace_back()), KZe_OK);
            }
        const int quads[][4] = {{3, 2, 1, 0}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
        for (const auto& quad : quads) {
            KzElementId corners[4], polygon = nullptr;
            for (int i = 0; i < 4; ++i) corners[i] = points[static_cast<std::size_t>(quad[i])];
            EXPECT_EQ(mesh.AddPolygon(KZi_POLYTYPE_FACE, 4, corners, &polygon), KZe_OK);
        }
        if (ids != nullptr) *ids = points;
        return CKzUser_Mesh(mesh.raw());
    }
    static std::vector<std::uint32_t> counts(const CKzUser_Mesh& mesh) {
        std::vector<std::uint32_t> found(5);
        mesh.PointCount(&found[0]);
        mesh.EdgeCount(&found[1]);
        mesh.PolygonCount(&found[2]);
        mesh.VertexCount(&found[3]);
        mesh.MapCount(&found[4]);
        return found;
    }
    static void expectBounds(const CKzUser_Mesh& mesh, const KzVector3& low, const KzVector3& high) {
        KzBounds box{};
        ASSERT_EQ(mesh.BoundingBox(0, &box), KZe_OK);
        for (int i = 0; i < 3; ++i) {
            EXPECT_DOUBLE_EQ(box.min.v[i], low.v[i]) << i;
            EXPECT_DOUBLE_EQ(box.max.v[i], high.v[i]) << i;
        }
    }
    static constexpr std::uint32_t noFlags = 0;
    static constexpr KzMatrix4 moved{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {5, 0, 0, 1}}};
    static constexpr KzMatrix4 mirrored{{{-1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
};

using Counts = std::vector<std::uint32_t>;
const auto unknownId = reinterpret_cast<KzElementId>(std::uintptr_t{12345});

TEST_F(MeshTest, ABoxIsWhatItsElementsSay) {
    const CKzUser_Mesh mesh = box();
    EXPECT_EQ(counts(mesh), (Counts{8, 12, 6, 24, 0}));
    EXPECT_DOUBLE_EQ(mesh.Area(), 10);
    EXPECT_DOUBLE_EQ(mesh.Volume(), 2);
    expectBounds(mesh, {{0, 0, 0}}, {{2, 1, 1}});
    const auto polygon = cursor<CKzUser_Polygon>(mesh, &CKzUser_Mesh::Polygons);
    KzVector3 sum{};
    for (std::uint32_t i = 0; i < 6; ++i) {
        KzVector3 normal{}, center{};
        ASSERT_EQ(polygon.MoveToIndex(i), KZe_OK);
        ASSERT_EQ(polygon.Normal(&normal), KZe_OK);
        ASSERT_EQ(polygon.Center(&center), KZe_OK);
        const double outward =
            normal.v[0] * (center.v[0] - 1) + normal.v[1] * (center.v[1] - 0.5) + normal.v[2] * (center.v[2] - 0.5);
        EXPECT_GT(outward, 0) << i;
        for (int axis = 0; axis < 3; ++axis) sum.v[axis] += normal.v[axis];
    }
    EXPECT_NEAR(sum.v[0] + sum.v[1] + sum.v[2], 0, 1e-12);
    const auto edge = cursor<CKzUser_Edge>(mesh, &CKzUser_Mesh::Edges);
    double length = 0, angle = 0;
    for (std::uint32_t i = 0; i < 12; ++i) {
        ASSERT_EQ(edge.MoveToIndex(i), KZe_OK);
        length += edge.Length();
        EXPECT_EQ(edge.PolygonCount(), 2U);
        EXPECT_EQ(edge.Angle(&angle), KZe_OK);
        EXPECT_NEAR(angle, 1.5707963, 1e-6);
    }
    EXPECT_DOUBLE_EQ(length, 16);
}

TEST_F(MeshTest, BuffersOfPositionsKeepTheirBounds) {
    const CKzUser_Mesh mesh = newMesh();
    std::vector<double> in = {0.1, 2, 3, -4, 5, 6};
    std::vector<double> out(6);
    std::uint32_t first = 9;
    KzBounds none{};
    EXPECT_EQ(mesh.BoundingBox(0, &none), KZe_NOTFOUND);
    ASSERT_EQ(mesh.AddPoints(2, in.data(), &first), KZe_OK);
    EXPECT_EQ(first, 0U);
    ASSERT_EQ(mesh.Positions(0, 2, out.data()), KZe_OK);
    EXPECT_EQ(out, in);
    out[0] = 7;
    EXPECT_EQ(mesh.SetPositions(1, 1, out.data()), KZe_OK);
    expectBounds(mesh, {{0.1, 2, 3}}, {{7, 2, 3}});
    EXPECT_EQ(mesh.Positions(1, 2, out.data()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(mesh.Positions(0xFFFFFFFFU, 2, out.data()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(mesh.SetPositions(2, 1, out.data()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(mesh.Positions(0, 1, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(mesh.AddPoints(1, nullptr, &first), KZe_INVALIDARG);
    out[0] = INFINITY;
    EXPECT_EQ(mesh.SetPositions(0, 1, out.data()), KZe_OK);
    EXPECT_EQ(mesh.BoundingBox(0, &none), KZeINFINITE_BOUND);
}

TEST_F(MeshTest, MergesTakeWhatTheFlagsSay) {
    struct Case {
        const KzMatrix4& matrix;
        std::uint32_t flags;
        Counts counts;
        double volume;
        KzVector3 low, high;
    };
    const Case cases[] = {
        {moved, noFlags, {16, 24, 12, 48, 0}, 4, {{0, 0, 0}}, {{7, 1, 1}}},
        {mirrored, noFlags, {16, 24, 12, 48, 0}, 4, {{-2, 0, 0}}, {{2, 1, 1}}},
        {mirrored, KZfMESHMERGE_POINT_WELD, {12, 20, 12, 48, 0}, 0, {{-2, 0, 0}}, {{2, 1, 1}}},
        {moved, KZf_MESHMERGE_POLY_CURVES, {16, 12, 6, 24, 0}, 2, {{0, 0, 0}}, {{7, 1, 1}}},
        {moved, KZf_MESHMERGE_POLY_MARKED, {16, 12, 6, 24, 0}, 2, {{0, 0, 0}}, {{7, 1, 1}}},
        {moved, KZfMESHMERGE_POINT_MARKED, {8, 12, 6, 24, 0}, 2, {{0, 0, 0}}, {{2, 1, 1}}},
    };
    for (const Case& each : cases) {
        const CKzUser_Mesh mesh = box();
        ASSERT_EQ(mesh.MergeWithTransform(mesh.raw(), &each.matrix, each.flags), KZe_OK);
        EXPECT_EQ(counts(mesh), each.counts) << each.flags;
        EXPECT_DOUBLE_EQ(mesh.Volume(), each.volume) << each.flags;
        expectBounds(mesh, each.low, each.high);
    }
    const CKzUser_Mesh mesh = box();
    EXPECT_EQ(mesh.Merge(nullptr, 0), KZe_INVALIDARG);
    EXPECT_EQ(mesh.MergeWithTransform(mesh.raw(), nullptr, 0), KZe_INVALIDARG);
    EXPECT_EQ(mesh.Merge(host().application(), 0), KZe_INVALIDARG) << "no mesh of this host";
    EXPECT_EQ(counts(mesh), (Counts{8, 12, 6, 24, 0})) << "refused merges change nothing";
}

TEST_F(MeshTest, IdsThatTheMeshDidNotGiveOutAreRefused) {
    std::vector<KzElementId> own, other;
    const CKzUser_Mesh mesh = box(&own);
    const CKzUser_Mesh another = box(&other);
    const auto point = cursor<CKzUser_Point>(mesh, &CKzUser_Mesh::Points);
    const auto polygon = cursor<CKzUser_Polygon>(mesh, &CKzUser_Mesh::Polygons);
    const auto edge = cursor<CKzUser_Edge>(mesh, &CKzUser_Mesh::Edges);
    const auto map = cursor<CKzUser_MeshMap>(mesh, &CKzUser_Mesh::Maps);
    ASSERT_EQ(polygon.MoveToIndex(0), KZe_OK);
    KzElementId added = nullptr;
    float value = 1;
    ASSERT_EQ(map.Add(KZi_MAPTYPE_WEIGHT, "w", &added), KZe_OK);
    for (KzElementId bad : {KzElementId(nullptr), unknownId, other[0], polygon.Id()}) {
        KzElementId corners[3] = {own[0], own[1], bad};
        EXPECT_EQ(point.MoveTo(bad), KZe_NOTFOUND);
        EXPECT_EQ(edge.MoveTo(bad), KZe_NOTFOUND);
        EXPECT_EQ(edge.MoveToEnds(own[0], bad), KZe_NOTFOUND);
        EXPECT_EQ(mesh.AddPolygon(KZi_POLYTYPE_FACE, 3, corners, &added), KZe_NOTFOUND);
        EXPECT_EQ(polygon.SetVertexPoint(0, bad), KZe_NOTFOUND);
        EXPECT_EQ(polygon.MapValue(0, bad, &value), KZe_NOTFOUND);
        EXPECT_EQ(map.SetValue(bad, nullptr, &value), KZe_NOTFOUND);
        EXPECT_EQ(map.SetValue(own[0], own[1], &value), KZe_NOTFOUND);
        EXPECT_EQ(point.Copy(bad, &added), KZe_NOTFOUND);
        EXPECT_FALSE(mesh.HasPoint(bad));
        EXPECT_EQ(mesh.PointIndex(bad), -1);
        EXPECT_EQ(mesh.EdgeByEnds(bad, bad), nullptr);
    }
    EXPECT_EQ(mesh.AddPolygon(KZi_POLYTYPE_FACE, 0xFFFFFFFFU, own.data(), &added), KZe_INVALIDARG);
    EXPECT_EQ(mesh.AddPolygon(KZi_POLYTYPE_FACE, 2, own.data(), &added), KZe_INVALIDARG);
    EXPECT_EQ(mesh.AddPolygon(KZi_POLYTYPE_FACE, 3, nullptr, &added), KZe_INVALIDARG);
    EXPECT_EQ(mesh.AddPolygon(1, 3, own.data(), &added), KZe_INVALIDARG);
    EXPECT_EQ(counts(mesh), (Counts{8, 12, 6, 24, 1}));
    CKzLoc_Unknown none;
    EXPECT_EQ(mesh.PointByIndex(8, none.out()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(mesh.EdgeByIndex(12, none.out()), KZe_OUTOFBOUNDS);
    EXPECT_EQ(polygon.VertexByIndex(4, &added), KZe_OUTOFBOUNDS);
    EXPECT_EQ(polygon.SetVertexPoint(-1, own[0]), KZe_OUTOFBOUNDS);
}

TEST_F(MeshTest, RemovedElementsLeaveTheirCursorsNowhere) {
    std::vector<KzElementId> ids;
    const CKzUser_Mesh mesh = box(&ids);
    const auto point = cursor<CKzUser_Point>(mesh, &CKzUser_Mesh::Points);
    const auto kept = cursor<CKzUser_Edge>(mesh, &CKzUser_Mesh::Edges);
    ASSERT_EQ(kept.MoveToEnds(ids[5], ids[6]), KZe_OK);
    ASSERT_EQ(kept.SetCrease(0.5), KZe_OK);
    EXPECT_EQ(kept.SetCrease(2), KZe_INVALIDARG);
    const KzElementId edge = kept.Id();
    ASSERT_EQ(point.MoveTo(ids[0]), KZe_OK);
    EXPECT_EQ(point.PolygonCount(), 3U);
    EXPECT_EQ(point.NeighborCount(), 3U);
    ASSERT_EQ(point.Remove(), KZe_OK);
    EXPECT_EQ(counts(mesh), (Counts{7, 9, 3, 12, 0}));
    EXPECT_EQ(mesh.Volume(), 0) << "it is open now";
    KzFVector3 position{};
    EXPECT_FALSE(point.IsAt());
    EXPECT_EQ(point.Id(), nullptr);
    EXPECT_EQ(point.Position(&position), KZe_NOTAVAILABLE);
    EXPECT_EQ(point.Remove(), KZe_NOTAVAILABLE);
    EXPECT_EQ(mesh.EdgeByEnds(ids[6], ids[5]), edge) << "edges that stay keep their ids";
    EXPECT_EQ(kept.Crease(), 0.5);
    ASSERT_EQ(mesh.RemovePolygons(0, 0), KZe_OK);
    EXPECT_EQ(counts(mesh), (Counts{0, 0, 0, 0, 0}));
}

TEST_F(MeshTest, MapsHoldValuesOfPointsAndCorners) {
    std::vector<KzElementId> ids;
    const CKzUser_Mesh mesh = box(&ids);
    const auto map = cursor<CKzUser_MeshMap>(mesh, &CKzUser_Mesh::Maps);
    const auto polygon = cursor<CKzUser_Polygon>(mesh, &CKzUser_Mesh::Polygons);
    KzElementId id = nullptr;
    ASSERT_EQ(map.Add(KZi_MAPTYPE_TEXTURE, "uv", &id), KZe_OK);
    EXPECT_EQ(map.Add(KZi_MAPTYPE_TEXTURE, "uv", &id), KZe_ALREADYEXISTS);
    EXPECT_EQ(map.Add(KZi_MAPTYPE_CUSTOM, "c", &id), KZe_INVALIDARG);
    EXPECT_EQ(map.Dimension(), 2U);
    const std::uint32_t flags = map.Flags();
    EXPECT_EQ(map.SetFlags(KZfMESHMAP_LOCKED | KZfMESHMAP_HIDDEN, KZfMESHMAP_LOCKED), KZe_OK);
    EXPECT_EQ(map.Flags(), flags | KZfMESHMAP_LOCKED);
    float point[2] = {0.25F, 0.5F}, corner[2] = {1, 0.75F}, found[2] = {};
    ASSERT_EQ(polygon.MoveToIndex(0), KZe_OK);
    KzElementId at = nullptr;
    polygon.VertexByIndex(2, &at);
    EXPECT_EQ(polygon.MapValue(2, map.Id(), found), KZe_NOTFOUND);
    ASSERT_EQ(map.SetValue(at, nullptr, point), KZe_OK);
    EXPECT_TRUE(map.IsContinuous(at));
    ASSERT_EQ(polygon.MapValue(2, map.Id(), found), KZe_OK);
    EXPECT_EQ(found[1], 0.5F) << "the point's value counts where the corner has none";
    ASSERT_EQ(polygon.SetMapValue(2, map.Id(), corner), KZe_OK);
    ASSERT_EQ(map.Value(at, polygon.Id(), found), KZe_OK);
    EXPECT_EQ(found[1], 0.75F);
    EXPECT_FALSE(map.IsContinuous(at));
    EXPECT_EQ(map.SetValue(at, nullptr, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(map.ValueCount(), 1U);
    const auto copy = made<CKzUser_Mesh>([&](IKzUnknown** out) { return mesh.Duplicate(out); });
    EXPECT_TRUE(mesh.IsCompatible(copy.raw()));
    EXPECT_EQ(counts(copy), counts(mesh));
    const auto copied = cursor<CKzUser_MeshMap>(copy, &CKzUser_Mesh::Maps);
    float low = 0, high = 0;
    ASSERT_EQ(copied.MoveToName(KZi_MAPTYPE_TEXTURE, "uv"), KZe_OK);
    ASSERT_EQ(copied.Range(0, &low, &high), KZe_OK);
    EXPECT_EQ(low, 0.25F);
    EXPECT_EQ(high, 1);
    ASSERT_EQ(polygon.Remove(), KZe_OK);
    EXPECT_TRUE(map.IsContinuous(at)) << "the corner's value went with it";
}

TEST_F(MeshTest, VisitorsMayChangeWhatTheyVisit) {
    const CKzUser_Mesh mesh = box();
    auto point = cursor<CKzUser_Point>(mesh, &CKzUser_Mesh::Points);
    int visits = 0;
    const auto enumerate = [&](std::function<KzResult()> visit) {
        visits = 0;
        CKzLoc_Unknown visitor;
        visitor.take(CVisitor::polymorph().wrap(std::make_unique<CVisitor>([&visits, visit = std::move(visit)] {
            ++visits;
            return visit();
        })));
        return point->Enumerate(0, visitor.raw());
    };
    EXPECT_EQ(enumerate([&] { return point.SetMarks(visits % 2, 0); }), KZe_OK);
    EXPECT_EQ(visits, 8);
    EXPECT_EQ(enumerate([&] { return visits == 3 ? KZe_ABORT : KZe_OK; }), KZe_OK);
    EXPECT_EQ(visits, 3);
    EXPECT_EQ(enumerate([&] { return KZe_NOACCESS; }), KZe_NOACCESS);
    EXPECT_EQ(enumerate([&] { return mesh.RemovePoints(1); }), KZe_OK) << "the first visit removes half of them";
    EXPECT_EQ(counts(mesh)[0], 4U);
    EXPECT_EQ(visits, 5);
    EXPECT_EQ(point.Enumerate(0, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(enumerate([&] {
                  point.clear();
                  return KZe_OK;
              }),
              KZe_OK)
        << "nobody else holds the cursor";
    EXPECT_EQ(visits, 4);
}

}  // namespace
