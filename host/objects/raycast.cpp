// Rays against meshes.
#include "host/objects/raycast.h"

#include "host/objects/mesh_edits.h"
#include "host/objects/mesh_merge.h"
#include "host/objects/scene.h"

#include "kz/dialog.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace kzhost {

namespace {

constexpr std::uint32_t facesOfLeaf = 4;

// Where the ray enters the box; nothing if it misses. Of a direction without a component along an axis, the quotients
// are infinite, or no numbers if the origin lies in that side: then they must not decide, hence the order of arguments.
std::optional<double> entry(const KzBounds& box, const KzVector3& origin, const KzVector3& direction, double limit) {
    double near = 0, far = limit;
    for (int axis = 0; axis < 3; ++axis) {
        const double one = (box.min.v[axis] - origin.v[axis]) / direction.v[axis];
        const double other = (box.max.v[axis] - origin.v[axis]) / direction.v[axis];
        near = std::max(near, std::min(one, other));
        far = std::min(far, std::max(one, other));
    }
    return near <= far * (1 + 1e-12) ? std::optional(near) : std::nullopt;
}

double distanceTo(const KzBounds& box, const KzVector3& position) {
    KzVector3 gap{};
    for (int axis = 0; axis < 3; ++axis)
        gap.v[axis] = std::max({box.min.v[axis] - position.v[axis], 0.0, position.v[axis] - box.max.v[axis]});
    return kzLength(gap);
}

KzVector3 middleOf(const std::array<KzVector3, 3>& corners) { return corners[0] + corners[1] + corners[2]; }

}  // namespace

KzResult CRaycast::raycast_AddMesh(IKzUnknown* mesh, const KzMatrix4* xfrm, std::uint32_t* index) {
    *index = static_cast<std::uint32_t>(m_meshes.size());
    add(kzOwn<CMesh>(mesh), kzNotNull(xfrm));
    return KZe_OK;
}

KzResult CRaycast::raycast_AddItem(IKzUnknown* item, double time, std::uint32_t* index) {
    const auto own = kzOwn<CItem>(item);
    *index = static_cast<std::uint32_t>(m_meshes.size());
    add(own->mesh(), kzWorldMatrix(*own, time));
    return KZe_OK;
}

void CRaycast::addFaces(std::uint32_t meshIndex) {
    const PlacedMesh& placed = m_meshes[meshIndex];
    CMeshData& data = placed.mesh->data;
    const bool isMirrored = kzTurnDeterminant(placed.matrix) < 0;
    const auto skips = [this](const MeshPolygon& polygon) {
        const auto isLeftOut = [&](std::int32_t mark, std::uint32_t flag) {
            return (polygon.marks & mark) != 0 && (m_flags & flag) == 0;
        };
        if (!kzPolygonType(polygon.type).isClosed || polygon.points.size() < 3) return true;
        return isLeftOut(KZfMARK_HIDE, KZfRAYCAST_HIDDEN) || isLeftOut(KZfMARK_LOCK, KZfRAYCAST_LOCKED);
    };
    for (const MeshPolygon& polygon : data.polygons) {
        if (skips(polygon)) continue;
        auto corners = kzCornersOf(data, polygon);
        const auto triangles = kzTriangulate(corners, KZiTRIANGULATE_FAN);
        for (KzVector3& corner : corners) corner = kzPlace(corner, placed.matrix);
        for (auto [a, b, c] : triangles) {
            if (isMirrored) std::swap(b, c);
            m_faces.push_back({{corners[a], corners[b], corners[c]},
                               {polygon.points[a], polygon.points[b], polygon.points[c]},
                               polygon.id,
                               meshIndex,
                               polygon.marks});
        }
    }
}

std::uint32_t CRaycast::split(std::uint32_t first, std::uint32_t count) {
    KzBounds box{m_faces[first].corners[0], m_faces[first].corners[0]};
    for (std::uint32_t at = first; at < first + count; ++at)
        for (const KzVector3& corner : m_faces[at].corners) kzExtend(box, corner);
    const auto index = static_cast<std::uint32_t>(m_nodes.size());
    m_nodes.push_back({box, first, count, 0});
    if (count <= facesOfLeaf) return index;
    const KzVector3 size = box.max - box.min;
    const auto axis = static_cast<std::size_t>(std::max_element(size.v, size.v + 3) - size.v);
    const auto begin = m_faces.begin() + first;
    const std::uint32_t half = count / 2;
    std::nth_element(begin, begin + half, begin + count, [axis](const Face& left, const Face& right) {
        return middleOf(left.corners).v[axis] < middleOf(right.corners).v[axis];
    });
    m_nodes[index].count = 0;
    split(first, half);
    const std::uint32_t right = split(first + half, count - half);
    m_nodes[index].right = right;
    return index;
}

void CRaycast::build() {
    m_faces.clear();
    m_nodes.clear();
    m_last.reset();
    for (std::uint32_t mesh = 0; mesh < m_meshes.size(); ++mesh) addFaces(mesh);
    if (!m_faces.empty()) split(0, static_cast<std::uint32_t>(m_faces.size()));
    m_isBuilt = true;
}

KzResult CRaycast::raycast_Build(IKzUnknown* monitor) {
    const CKzUser_Monitor progress(monitor);
    if (progress) progress.Initialize(2);
    if (progress && progress.Increment(1) == KZe_ABORT) return KZe_ABORT;
    build();
    return progress && progress.Increment(1) == KZe_ABORT ? KZe_ABORT : KZe_OK;
}

std::optional<CRaycast::Hit> CRaycast::shoot(const KzVector3& origin, const KzVector3& direction, double limit,
                                             std::uint32_t flags) const {
    std::optional<Hit> nearest;
    const auto test = [&](const Face& face) {
        const auto& [a, b, c] = face.corners;
        if ((flags & KZfRAYCAST_BACKFACES) == 0 && kzDot(kzCross(b - a, c - a), direction) >= 0) return;
        if ((flags & KZfRAYCAST_SELECTED) != 0 && (face.marks & KZfMARK_SELECT) == 0) return;
        const auto place = kzMeet(origin, direction, face.corners);
        if (!place || place->distance > limit) return;
        if (nearest && place->distance == limit) return;
        nearest = Hit{*place, &face};
        limit = place->distance;
    };
    std::vector<std::uint32_t> open;
    if (!m_nodes.empty()) open.push_back(0);
    while (!open.empty()) {
        const std::uint32_t at = open.back();
        const Node& node = m_nodes[at];
        open.pop_back();
        if (!entry(node.box, origin, direction, limit)) continue;
        for (std::uint32_t face = node.first; face < node.first + node.count; ++face) test(m_faces[face]);
        if (nearest && (flags & KZfRAYCAST_ANY) != 0) break;
        if (node.count > 0) continue;
        open.push_back(node.right);
        open.push_back(at + 1);
    }
    return nearest;
}

std::optional<CRaycast::Hit> CRaycast::closest(const KzVector3& position, double limit) const {
    std::optional<Hit> nearest;
    std::vector<std::uint32_t> open;
    if (!m_nodes.empty()) open.push_back(0);
    while (!open.empty()) {
        const std::uint32_t at = open.back();
        const Node& node = m_nodes[at];
        open.pop_back();
        if (distanceTo(node.box, position) > limit) continue;
        for (std::uint32_t face = node.first; face < node.first + node.count; ++face) {
            const TrianglePlace place = kzNearest(position, m_faces[face].corners);
            if (place.distance > limit || (nearest && place.distance == limit)) continue;
            nearest = Hit{place, &m_faces[face]};
            limit = place.distance;
        }
        if (node.count > 0) continue;
        const bool isLeftNearer =
            distanceTo(m_nodes[at + 1].box, position) < distanceTo(m_nodes[node.right].box, position);
        open.push_back(isLeftNearer ? node.right : at + 1);
        open.push_back(isLeftNearer ? at + 1 : node.right);
    }
    return nearest;
}

KzResult CRaycast::raycast_Shoot(const KzVector3* origin, const KzVector3* direction, double limit, std::uint32_t flags,
                                 bool* hit) {
    if (!m_isBuilt) return KZe_NOTREADY;
    if (!(kzLength(kzNotNull(direction)) > 0) || !(limit >= 0)) return KZe_INVALIDARG;
    m_last = shoot(kzNotNull(origin), *direction, limit > 0 ? limit : std::numeric_limits<double>::infinity(), flags);
    *hit = m_last.has_value();
    return KZe_OK;
}

bool CRaycast::raycast_Occluded(const KzVector3* start, const KzVector3* end) {
    constexpr auto anyFace = KZfRAYCAST_ANY | KZfRAYCAST_BACKFACES;
    return shoot(kzNotNull(start), kzNotNull(end) - *start, 1, anyFace).has_value();
}

KzResult CRaycast::raycast_Closest(const KzVector3* position, double limit, bool* found) {
    if (!m_isBuilt) return KZe_NOTREADY;
    if (!(limit >= 0)) return KZe_INVALIDARG;
    m_last = closest(kzNotNull(position), limit > 0 ? limit : std::numeric_limits<double>::infinity());
    *found = m_last.has_value();
    return KZe_OK;
}

const CRaycast::Hit& CRaycast::last() const {
    if (!m_last) throw KZe_NOTFOUND;
    return *m_last;
}

KzResult CRaycast::raycast_Distance(double* distance) {
    *distance = last().place.distance;
    return KZe_OK;
}

KzResult CRaycast::raycast_Position(KzVector3* position) {
    *position = last().place.position;
    return KZe_OK;
}

// A point or polygon may have been removed since the tree was built; then the triangle's own normal remains.
KzResult CRaycast::raycast_Normal(std::int32_t smooth, KzVector3* normal) {
    const Face& face = *last().face;
    const auto& [a, b, c] = face.corners;
    *normal = kzUnit(kzCross(b - a, c - a));
    CMeshData& data = m_meshes[face.mesh].mesh->data;
    const bool isWhole =
        data.polygons.has(face.polygon) &&
        std::all_of(face.points.begin(), face.points.end(), [&](KzElementId point) { return data.points.has(point); });
    if (smooth == 0 || !isWhole) return KZe_OK;
    KzVector3 sum{};
    for (std::size_t at = 0; at < 3; ++at) {
        const KzVector3 corner = kzCornerNormal(data, face.points[at], face.polygon, nullptr);
        std::vector<float> turned(corner.v, corner.v + 3);
        kzTurnNormal(turned, m_meshes[face.mesh].matrix);
        sum = sum + KzVector3{{turned[0], turned[1], turned[2]}} * last().place.weights[at];
    }
    *normal = kzUnit(sum);
    return KZe_OK;
}

KzResult CRaycast::raycast_Barycentric(KzVector2* weights) {
    const auto& all = last().place.weights;
    *weights = {{all[1], all[2]}};
    return KZe_OK;
}

KzElementId CRaycast::raycast_Polygon() { return m_last ? m_last->face->polygon : nullptr; }

KzResult CRaycast::raycast_MeshIndex(std::uint32_t* index) {
    *index = last().face->mesh;
    return KZe_OK;
}

}  // namespace kzhost
