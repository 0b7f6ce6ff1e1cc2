// Reading foreign models through Assimp: polygons stay as they are in the file, and so do its numbers.
#include "host/models/assimp.h"

#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <new>
#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t deepest = 10'000;

ModelVector vectorOf(const aiVector3D& from) { return {from.x, from.y, from.z}; }
ModelVector vectorOf(const aiColor3D& from) { return {from.r, from.g, from.b}; }
std::string textOf(const aiString& text) { return {text.C_Str(), std::min<std::size_t>(text.length, MAXLEN - 1)}; }

std::vector<ModelVector> vectorsOf(const aiVector3D* from, std::uint32_t count) {
    std::vector<ModelVector> list;
    if (from != nullptr)
        std::transform(from, from + count, std::back_inserter(list), [](const auto& v) { return vectorOf(v); });
    return list;
}

ModelMesh meshOf(const aiMesh& from) {
    ModelMesh mesh;
    mesh.name = textOf(from.mName);
    mesh.material = from.mMaterialIndex;
    mesh.positions = vectorsOf(from.mVertices, from.mNumVertices);
    mesh.normals = vectorsOf(from.mNormals, from.mNumVertices);
    for (unsigned set = 0; set < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++set) {
        if (from.mTextureCoords[set] == nullptr) continue;
        ModelUvs& uvs = mesh.uvs.emplace_back();
        const aiString* name = from.HasTextureCoordsName(set) ? from.GetTextureCoordsName(set) : nullptr;
        uvs.name = name != nullptr ? textOf(*name) : std::string();
        for (unsigned i = 0; i < from.mNumVertices; ++i)
            uvs.values.push_back({from.mTextureCoords[set][i].x, from.mTextureCoords[set][i].y});
    }
    if (from.mColors[0] != nullptr)
        for (unsigned i = 0; i < from.mNumVertices; ++i) {
            const aiColor4D& colour = from.mColors[0][i];
            mesh.colours.push_back({colour.r, colour.g, colour.b, colour.a});
        }
    for (unsigned i = 0; i < from.mNumFaces && from.mFaces != nullptr; ++i) {
        const aiFace& face = from.mFaces[i];
        mesh.sizes.push_back(face.mNumIndices);
        mesh.corners.insert(mesh.corners.end(), face.mIndices, face.mIndices + face.mNumIndices);
    }
    return mesh;
}

constexpr std::pair<aiTextureType, ModelUse> textureUses[] = {
    {aiTextureType_BASE_COLOR, ModelUse::colour}, {aiTextureType_DIFFUSE, ModelUse::colour},
    {aiTextureType_SPECULAR, ModelUse::specular}, {aiTextureType_HEIGHT, ModelUse::bump},
    {aiTextureType_NORMALS, ModelUse::normal},    {aiTextureType_NORMAL_CAMERA, ModelUse::normal},
    {aiTextureType_OPACITY, ModelUse::opacity},   {aiTextureType_DISPLACEMENT, ModelUse::displacement},
};

ModelUse useOf(unsigned type) {
    for (const auto& [each, use] : textureUses)
        if (static_cast<unsigned>(each) == type) return use;
    return ModelUse::other;
}

bool isSame(const ModelTexture& a, const ModelTexture& b) { return a.use == b.use && a.file == b.file; }

// A name that begins with an asterisk stands for a picture in the file itself.
void addTextures(const aiScene& scene, const aiMaterial& from, ModelMaterial& material, std::size_t& embedded) {
    for (unsigned type = aiTextureType_DIFFUSE; type <= AI_TEXTURE_TYPE_MAX; ++type)
        for (unsigned i = 0; i < from.GetTextureCount(static_cast<aiTextureType>(type)); ++i) {
            aiString path;
            if (from.GetTexture(static_cast<aiTextureType>(type), i, &path) != aiReturn_SUCCESS || path.length == 0)
                continue;
            const ModelTexture texture{useOf(type), textOf(path)};
            if (texture.file[0] == '*' || scene.GetEmbeddedTexture(path.C_Str()) != nullptr) ++embedded;
            else if (std::none_of(material.textures.begin(), material.textures.end(),
                                  [&](const ModelTexture& each) { return isSame(each, texture); }))
                material.textures.push_back(texture);
        }
}

ModelMaterial materialOf(const aiMaterial& from) {
    ModelMaterial material;
    aiString name;
    if (from.Get(AI_MATKEY_NAME, name) == aiReturn_SUCCESS) material.name = textOf(name);
    const auto colour = [&](ModelVector& to, const char* key, unsigned type, unsigned index) {
        aiColor3D found;
        if (from.Get(key, type, index, found) == aiReturn_SUCCESS) to = vectorOf(found);
    };
    const auto number = [&](float& to, const char* key, unsigned type, unsigned index) {
        return from.Get(key, type, index, to) == aiReturn_SUCCESS;
    };
    colour(material.colour, AI_MATKEY_COLOR_DIFFUSE);
    colour(material.colour, AI_MATKEY_BASE_COLOR);
    colour(material.specular, AI_MATKEY_COLOR_SPECULAR);
    colour(material.emission, AI_MATKEY_COLOR_EMISSIVE);
    number(material.opacity, AI_MATKEY_OPACITY);
    number(material.metallic, AI_MATKEY_METALLIC_FACTOR);
    number(material.refraction, AI_MATKEY_REFRACTI);
    float shininess = 0;
    if (!number(material.roughness, AI_MATKEY_ROUGHNESS_FACTOR) && number(shininess, AI_MATKEY_SHININESS))
        material.roughness = std::sqrt(2 / (std::max(shininess, 0.0F) + 2));  // of a Phong highlight of that exponent
    int isTwoSided = 0;
    from.Get(AI_MATKEY_TWOSIDED, isTwoSided);
    material.isTwoSided = isTwoSided != 0 ? 1 : 0;
    return material;
}

// The tree, each node behind its parent. A mesh may be shown by several nodes.
void addNodes(const aiNode* root, ForeignModel& model, std::map<std::string, std::uint32_t>& byName) {
    struct Open {
        const aiNode* node;
        std::uint32_t parent, depth;
    };
    std::vector<Open> open;
    if (root != nullptr) open.push_back({root, ModelNode::none, 0});
    while (!open.empty()) {
        const Open next = open.back();
        open.pop_back();
        if (next.depth > deepest) throw ModelError("its hierarchy is deeper than 10,000 nodes");
        const auto index = static_cast<std::uint32_t>(model.nodes.size());
        ModelNode& node = model.nodes.emplace_back();
        node.name = textOf(next.node->mName);
        node.parent = next.parent;
        for (unsigned row = 0; row < 4; ++row)
            for (unsigned column = 0; column < 4; ++column)
                node.matrix[4 * row + column] = static_cast<double>(next.node->mTransformation[column][row]);
        node.meshes.assign(next.node->mMeshes, next.node->mMeshes + next.node->mNumMeshes);
        byName.emplace(node.name, index);
        for (unsigned i = next.node->mNumChildren; i-- > 0;)
            if (next.node->mChildren[i] != nullptr) open.push_back({next.node->mChildren[i], index, next.depth + 1});
    }
}

std::uint32_t nodeOf(const std::map<std::string, std::uint32_t>& byName, const std::string& name) {
    const auto entry = byName.find(name);
    return entry != byName.end() ? entry->second : 0;
}

ModelCamera cameraOf(const aiCamera& from) {
    ModelCamera camera;
    camera.name = textOf(from.mName);
    camera.position = vectorOf(from.mPosition);
    camera.direction = vectorOf(from.mLookAt);
    camera.up = vectorOf(from.mUp);
    camera.angle = from.mHorizontalFOV;
    camera.aspect = from.mAspect;
    camera.nearest = from.mClipPlaneNear;
    camera.farthest = from.mClipPlaneFar;
    camera.width = 2 * from.mOrthographicWidth;
    return camera;
}

ModelLight lightOf(const aiLight& from) {
    ModelLight light;
    light.name = textOf(from.mName);
    light.kind = from.mType == aiLightSource_DIRECTIONAL ? ModelLightKind::sun
                 : from.mType == aiLightSource_SPOT      ? ModelLightKind::spot
                 : from.mType == aiLightSource_AREA      ? ModelLightKind::area
                                                         : ModelLightKind::point;
    light.position = vectorOf(from.mPosition);
    light.direction = vectorOf(from.mDirection);
    light.up = vectorOf(from.mUp);
    light.colour = vectorOf(from.mColorDiffuse);
    light.cone = from.mAngleInnerCone / 2;
    light.edge = std::max(0.0F, (from.mAngleOuterCone - from.mAngleInnerCone) / 2);
    light.size = {from.mSize.x, from.mSize.y};
    return light;
}

void noteUnit(const aiScene& scene, ForeignModel& model) {
    double centimetres = 0;
    float narrow = 0;
    if (scene.mMetaData == nullptr) return;
    if (!scene.mMetaData->Get("UnitScaleFactor", centimetres) && scene.mMetaData->Get("UnitScaleFactor", narrow))
        centimetres = static_cast<double>(narrow);
    if (centimetres > 0 && centimetres != 100)
        model.notes.push_back("one unit of the file is " + std::to_string(centimetres / 100) +
                              " m, and its numbers were read as metres");
}

void noteLosses(const aiScene& scene, std::size_t embedded, ForeignModel& model) {
    const auto note = [&](std::size_t count, const char* what) {
        if (count > 0) model.notes.push_back(std::to_string(count) + what);
    };
    note(embedded, " textures within the file itself were left out");
    note(scene.mNumAnimations, " animations were left out");
    std::size_t boned = 0;
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) boned += scene.mMeshes[i]->mNumBones > 0 ? 1 : 0;
    note(boned, " meshes lost their bones");
}

}  // namespace

ForeignModel kzReadForeign(const std::string& path) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, 0);
    if (scene == nullptr) {
        const std::string why = importer.GetErrorString();
        if (why.find("No suitable reader") != std::string::npos) throw ModelUnknown(why);
        if (why.find("bad_alloc") != std::string::npos) throw std::bad_alloc();
        throw ModelError(why.empty() ? "the file cannot be read" : why);
    }
    ForeignModel model;
    std::map<std::string, std::uint32_t> byName;
    addNodes(scene->mRootNode, model, byName);
    for (unsigned i = 0; i < scene->mNumMeshes; ++i) model.meshes.push_back(meshOf(*scene->mMeshes[i]));
    std::size_t embedded = 0;
    for (unsigned i = 0; i < scene->mNumMaterials; ++i) {
        model.materials.push_back(materialOf(*scene->mMaterials[i]));
        addTextures(*scene, *scene->mMaterials[i], model.materials.back(), embedded);
    }
    for (unsigned i = 0; i < scene->mNumCameras; ++i) {
        model.cameras.push_back(cameraOf(*scene->mCameras[i]));
        model.cameras.back().node = nodeOf(byName, model.cameras.back().name);
    }
    for (unsigned i = 0; i < scene->mNumLights; ++i) {
        model.lights.push_back(lightOf(*scene->mLights[i]));
        model.lights.back().node = nodeOf(byName, model.lights.back().name);
    }
    noteUnit(*scene, model);
    noteLosses(*scene, embedded, model);
    kzCheckModel(model);
    return model;
}

}  // namespace kzhost
