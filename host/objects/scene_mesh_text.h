// The meshes of scene files.
#pragma once

#include "host/objects/mesh_data.h"
#include "host/objects/scene_words.h"

#include <string_view>

namespace kzhost {

// Adds the statements of a mesh, and the one that begins it.
void kzWriteMesh(CMeshData& mesh, CSceneLines& out);

// Takes the statements of one mesh.
class CMeshReader {
public:
    // False if the statement is none of a mesh.
    bool take(CSceneWords& in);
    CMeshData finish();

private:
    KzElementId pointAt(CSceneWords& in) const;
    void point(CSceneWords& in);
    void polygon(CSceneWords& in);
    void polygonTag(CSceneWords& in);
    void edge(CSceneWords& in);
    void map(CSceneWords& in);
    void mapValue(CSceneWords& in, bool isCorner);

    struct OpenEdge {
        KzElementId start, end;
        double crease;
        std::int32_t marks;
        std::size_t line;
    };

    CMeshData m_mesh;
    std::vector<OpenEdge> m_edges;
    std::vector<KzElementId> m_points;
    std::vector<KzElementId> m_polygons;
    MeshMapData* m_map = nullptr;
};

}  // namespace kzhost
