// Rays against meshes.
#pragma once

#include "host/objects/mesh.h"
#include "host/objects/polygon_shape.h"

#include "kz/raycast.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace kzhost {

// The triangles of all meshes, in the world, in a tree of boxes: each box is halved along its longest side.
class CRaycast final : public CHosted<"raycast", CRaycast, CKzIfc_Raycast> {
public:
    // The flags tell which polygons Build takes in.
    explicit CRaycast(std::uint32_t flags) : m_flags(flags) {}

    void add(const CHostRef<CMesh>& mesh, const KzMatrix4& matrix) { m_meshes.push_back({mesh, matrix}); }
    void build();

    KzResult raycast_AddMesh(IKzUnknown* mesh, const KzMatrix4* xfrm, std::uint32_t* index) override;
    KzResult raycast_AddItem(IKzUnknown* item, double time, std::uint32_t* index) override;
    KzResult raycast_Build(IKzUnknown* monitor) override;
    KzResult raycast_Shoot(const KzVector3* origin, const KzVector3* direction, double limit, std::uint32_t flags,
                           bool* hit) override;
    bool raycast_Occluded(const KzVector3* start, const KzVector3* end) override;
    KzResult raycast_Closest(const KzVector3* position, double limit, bool* found) override;
    KzResult raycast_Distance(double* distance) override;
    KzResult raycast_Position(KzVector3* position) override;
    KzResult raycast_Normal(std::int32_t smooth, KzVector3* normal) override;
    KzResult raycast_Barycentric(KzVector2* weights) override;
    KzElementId raycast_Polygon() override;
    KzResult raycast_MeshIndex(std::uint32_t* index) override;

private:
    struct PlacedMesh {
        CHostRef<CMesh> mesh;
        KzMatrix4 matrix;
    };
    struct Face {
        std::array<KzVector3, 3> corners;
        std::array<KzElementId, 3> points;
        KzElementId polygon;
        std::uint32_t mesh;
        std::int32_t marks;
    };
    struct Node {
        KzBounds box;
        std::uint32_t first, count;  // of the faces; a node with children has none
        std::uint32_t right;         // the left child follows its parent
    };
    struct Hit {
        TrianglePlace place;
        const Face* face;
    };

    void addFaces(std::uint32_t meshIndex);
    std::uint32_t split(std::uint32_t first, std::uint32_t count);
    std::optional<Hit> shoot(const KzVector3& origin, const KzVector3& direction, double limit,
                             std::uint32_t flags) const;
    std::optional<Hit> closest(const KzVector3& position, double limit) const;
    const Hit& last() const;

    std::uint32_t m_flags;
    std::vector<PlacedMesh> m_meshes;
    std::vector<Face> m_faces;
    std::vector<Node> m_nodes;
    bool m_isBuilt = false;
    std::optional<Hit> m_last;
};

}  // namespace kzhost
