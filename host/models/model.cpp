// What must hold in a model before anyone works with it.
#include "host/models/model.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kzhost {

namespace {

void check(bool holds, const char* what) {
    if (!holds) throw ModelError(what);
}

void checkMesh(const ModelMesh& mesh, std::size_t materials) {
    const std::size_t count = mesh.positions.size();
    const auto fits = [&](const auto& list) { return list.empty() || list.size() == count; };
    check(fits(mesh.normals) && fits(mesh.colours) &&
              std::all_of(mesh.uvs.begin(), mesh.uvs.end(), [&](const ModelUvs& uvs) { return fits(uvs.values); }),
          "a mesh has other numbers of vertices and of their values");
    const std::uint64_t corners = std::accumulate(mesh.sizes.begin(), mesh.sizes.end(), std::uint64_t{0});
    check(corners == mesh.corners.size(), "the corners of a mesh are not those of its faces");
    check(std::all_of(mesh.corners.begin(), mesh.corners.end(), [&](std::uint32_t each) { return each < count; }),
          "a face names a vertex that does not exist");
    check(materials == 0 || mesh.material < materials, "a mesh names a material that does not exist");
}

}  // namespace

void kzCheckModel(const ForeignModel& model) {
    for (std::size_t i = 0; i < model.nodes.size(); ++i) {
        const ModelNode& node = model.nodes[i];
        check(i == 0 ? node.parent == ModelNode::none : node.parent < i, "a node comes before its parent");
        check(std::all_of(node.matrix.begin(), node.matrix.end(), [](double each) { return std::isfinite(each); }),
              "the place of a node is not finite");
        for (const std::uint32_t mesh : node.meshes)
            check(mesh < model.meshes.size(), "a node names a mesh that does not exist");
    }
    for (const ModelMesh& mesh : model.meshes) checkMesh(mesh, model.materials.size());
    for (const ModelCamera& camera : model.cameras) check(camera.node < model.nodes.size(), "a camera has no node");
    for (const ModelLight& light : model.lights) check(light.node < model.nodes.size(), "a light has no node");
    for (const ModelMaterial& material : model.materials)
        for (const ModelTexture& texture : material.textures)
            check(texture.use <= ModelUse::other, "a texture has an unknown use");
}

}  // namespace kzhost
