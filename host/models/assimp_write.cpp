// Writing foreign models through Assimp.
#include "host/models/assimp.h"

#include <assimp/Exporter.hpp>
#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace kzhost {

namespace {

aiVector3D vectorOf(const ModelVector& from) { return {from[0], from[1], from[2]}; }
aiColor3D colourOf(const ModelVector& from) { return {from[0], from[1], from[2]}; }

// Each array belongs to the scene, which deletes it.
template <class To, class From, class Convert> To* arrayOf(const std::vector<From>& from, Convert convert) {
    if (from.empty()) return nullptr;
    auto array = std::make_unique<To[]>(from.size());
    std::transform(from.begin(), from.end(), array.get(), convert);
    return array.release();
}

unsigned typeOf(std::uint32_t corners) {
    if (corners < 3) return corners == 1 ? aiPrimitiveType_POINT : aiPrimitiveType_LINE;
    return corners == 3 ? aiPrimitiveType_TRIANGLE : aiPrimitiveType_POLYGON;
}

aiMesh* meshOf(const ModelMesh& from) {
    auto mesh = std::make_unique<aiMesh>();
    mesh->mName = from.name;
    mesh->mMaterialIndex = from.material;
    mesh->mNumVertices = static_cast<unsigned>(from.positions.size());
    mesh->mVertices = arrayOf<aiVector3D>(from.positions, vectorOf);
    mesh->mNormals = arrayOf<aiVector3D>(from.normals, vectorOf);
    for (std::size_t set = 0; set < std::min<std::size_t>(from.uvs.size(), AI_MAX_NUMBER_OF_TEXTURECOORDS); ++set) {
        const auto pair = [](const std::array<float, 2>& uv) { return aiVector3D(uv[0], uv[1], 0); };
        mesh->mTextureCoords[set] = arrayOf<aiVector3D>(from.uvs[set].values, pair);
        mesh->mNumUVComponents[set] = 2;
    }
    const auto colour = [](const std::array<float, 4>& c) { return aiColor4D(c[0], c[1], c[2], c[3]); };
    mesh->mColors[0] = arrayOf<aiColor4D>(from.colours, colour);
    mesh->mNumFaces = static_cast<unsigned>(from.sizes.size());
    mesh->mFaces = new aiFace[from.sizes.size()];
    const std::uint32_t* corner = from.corners.data();
    for (std::size_t i = 0; i < from.sizes.size(); ++i) {
        aiFace& face = mesh->mFaces[i];
        face.mNumIndices = from.sizes[i];
        face.mIndices = new unsigned[face.mNumIndices];
        std::copy_n(corner, face.mNumIndices, face.mIndices);
        corner += face.mNumIndices;
        mesh->mPrimitiveTypes |= typeOf(face.mNumIndices);
    }
    return mesh.release();
}

void setTexture(aiMaterial& material, aiTextureType type, const std::string& file) {
    const aiString path(file);
    material.AddProperty(&path, AI_MATKEY_TEXTURE(type, 0));
}

// In glTF, a specular colour would choose an extension that hardly anyone reads.
aiMaterial* materialOf(const ModelMaterial& from, bool isGltf) {
    auto material = std::make_unique<aiMaterial>();
    const aiString name(from.name);
    material->AddProperty(&name, AI_MATKEY_NAME);
    const aiColor3D colour = colourOf(from.colour), specular = colourOf(from.specular), light = colourOf(from.emission);
    const aiColor4D base(colour.r, colour.g, colour.b, from.opacity);
    material->AddProperty(&colour, 1, AI_MATKEY_COLOR_DIFFUSE);
    material->AddProperty(&base, 1, AI_MATKEY_BASE_COLOR);
    if (!isGltf) material->AddProperty(&specular, 1, AI_MATKEY_COLOR_SPECULAR);
    material->AddProperty(&light, 1, AI_MATKEY_COLOR_EMISSIVE);
    const float shininess = 2 / std::max(from.roughness * from.roughness, 1e-4F) - 2;
    material->AddProperty(&from.opacity, 1, AI_MATKEY_OPACITY);
    material->AddProperty(&from.roughness, 1, AI_MATKEY_ROUGHNESS_FACTOR);
    material->AddProperty(&shininess, 1, AI_MATKEY_SHININESS);
    material->AddProperty(&from.metallic, 1, AI_MATKEY_METALLIC_FACTOR);
    material->AddProperty(&from.refraction, 1, AI_MATKEY_REFRACTI);
    const int isTwoSided = from.isTwoSided != 0 ? 1 : 0;
    material->AddProperty(&isTwoSided, 1, AI_MATKEY_TWOSIDED);
    const aiString mode("BLEND");
    if (from.opacity < 1) material->AddProperty(&mode, "$mat.gltf.alphaMode", 0, 0);
    constexpr std::pair<ModelUse, aiTextureType> types[] = {
        {ModelUse::specular, aiTextureType_SPECULAR},        {ModelUse::bump, aiTextureType_HEIGHT},
        {ModelUse::normal, aiTextureType_NORMALS},           {ModelUse::opacity, aiTextureType_OPACITY},
        {ModelUse::colour, aiTextureType_DIFFUSE},           {ModelUse::colour, aiTextureType_BASE_COLOR},
        {ModelUse::displacement, aiTextureType_DISPLACEMENT}};
    for (const ModelTexture& texture : from.textures)
        for (const auto& [use, type] : types)
            if (use == texture.use) setTexture(*material, type, texture.file);
    return material.release();
}

aiNode* nodeOf(const ModelNode& from) {
    auto node = std::make_unique<aiNode>(from.name);
    for (unsigned row = 0; row < 4; ++row)
        for (unsigned column = 0; column < 4; ++column)
            node->mTransformation[column][row] = static_cast<float>(from.matrix[4 * row + column]);
    node->mNumMeshes = static_cast<unsigned>(from.meshes.size());
    node->mMeshes = arrayOf<unsigned>(from.meshes, [](std::uint32_t mesh) { return mesh; });
    return node.release();
}

template <class Part, class From, class Make>
void fill(Part**& parts, unsigned& count, const std::vector<From>& from, Make make) {
    parts = new Part*[std::max<std::size_t>(from.size(), 1)]();
    for (const From& each : from) parts[count++] = make(each);
}

void addNodes(const ForeignModel& model, aiScene& scene) {
    std::vector<aiNode*> nodes;
    std::vector<std::vector<aiNode*>> children(model.nodes.size());
    for (const ModelNode& each : model.nodes) {
        nodes.push_back(nodeOf(each));
        if (each.parent == ModelNode::none) scene.mRootNode = nodes.back();
        else children[each.parent].push_back(nodes.back());
    }
    for (std::size_t i = 0; i < nodes.size(); ++i)
        if (!children[i].empty()) nodes[i]->addChildren(static_cast<unsigned>(children[i].size()), children[i].data());
}

std::unique_ptr<aiScene> sceneOf(const ForeignModel& model, bool isGltf) {
    auto scene = std::make_unique<aiScene>();
    fill(scene->mMeshes, scene->mNumMeshes, model.meshes, meshOf);
    fill(scene->mMaterials, scene->mNumMaterials, model.materials,
         [isGltf](const ModelMaterial& each) { return materialOf(each, isGltf); });
    addNodes(model, *scene);
    if (model.meshes.empty()) scene->mFlags |= AI_SCENE_FLAGS_INCOMPLETE;
    return scene;
}

}  // namespace

void kzWriteForeign(const ForeignModel& model, const std::string& format, const std::string& path) {
    struct Row {
        const char *format, *id;
        unsigned steps;
    };
    constexpr Row rows[] = {{"gltf", "gltf2", aiProcess_Triangulate | aiProcess_SortByPType},
                            {"glb", "glb2", aiProcess_Triangulate | aiProcess_SortByPType},
                            {"obj", "obj", 0},
                            {"ply", "ply", 0},
                            {"stl", "stlb", aiProcess_Triangulate}};
    const Row* row =
        std::find_if(std::begin(rows), std::end(rows), [&](const Row& each) { return format == each.format; });
    if (row == std::end(rows)) throw ModelError("there is no writer for \"" + format + "\"");
    if (model.nodes.empty()) throw ModelError("the scene has nothing that such a file can hold");
    Assimp::Exporter exporter;
    const auto scene = sceneOf(model, format.starts_with("gl"));
    if (exporter.Export(scene.get(), row->id, path, row->steps) != aiReturn_SUCCESS)
        throw ModelError(exporter.GetErrorString());
}

}  // namespace kzhost
