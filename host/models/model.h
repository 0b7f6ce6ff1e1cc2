// A foreign model as plain data, and its form in bytes, in which it goes from one process to the other. What has come from
// a file is not trusted: reading the bytes checks that they are whole, and `kzCheckModel` that the numbers fit together.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kzhost {

using ModelVector = std::array<float, 3>;

struct ModelUvs {
    std::string name;
    std::vector<std::array<float, 2>> values;
};

// The corners of all faces follow each other, and each names a vertex. A face has one corner or more.
struct ModelMesh {
    std::string name;
    std::uint32_t material = 0;
    std::vector<ModelVector> positions;
    std::vector<ModelVector> normals;           // one for each position, or none
    std::vector<ModelUvs> uvs;                  // likewise
    std::vector<std::array<float, 4>> colours;  // likewise
    std::vector<std::uint32_t> sizes, corners;
};

// Matrices act on row vectors and lead to the parent's space.
struct ModelNode {
    static constexpr std::uint32_t none = UINT32_MAX;
    std::string name;
    std::uint32_t parent = none;  // comes before it; none for the first, and only for that
    std::array<double, 16> matrix{};
    std::vector<std::uint32_t> meshes;
};

enum class ModelUse : std::uint32_t { colour, specular, bump, normal, opacity, displacement, other };

struct ModelTexture {
    ModelUse use = ModelUse::other;
    std::string file;
};

struct ModelMaterial {
    std::string name;
    ModelVector colour{0.6F, 0.6F, 0.6F}, specular{}, emission{};
    float opacity = 1, roughness = 1, metallic = 0, refraction = 1.5F;
    std::uint32_t isTwoSided = 0;
    std::vector<ModelTexture> textures;
};

// In the space of the node. Both look along `direction`.
struct ModelCamera {
    std::uint32_t node = ModelNode::none;
    std::string name;
    ModelVector position{}, direction{}, up{};
    float angle = 0, aspect = 0, nearest = 0, farthest = 0, width = 0;  // the width of an orthographic one, or 0
};

enum class ModelLightKind : std::uint32_t { sun, point, spot, area };

struct ModelLight {
    std::uint32_t node = ModelNode::none;
    std::string name;
    ModelLightKind kind = ModelLightKind::point;
    ModelVector position{}, direction{}, up{};
    ModelVector colour{};
    float cone = 0, edge = 0;  // half the angle that is fully lit, and the angle from there to where the light ends
    std::array<float, 2> size{};
};

struct ForeignModel {
    std::vector<ModelNode> nodes;
    std::vector<ModelMesh> meshes;
    std::vector<ModelMaterial> materials;
    std::vector<ModelCamera> cameras;
    std::vector<ModelLight> lights;
    std::vector<std::string> notes;  // what a user should know of the file
};

// What is wrong with a file, or the lack of anyone who reads it.
struct ModelError : std::runtime_error {
    using std::runtime_error::runtime_error;
};
struct ModelUnknown : ModelError {
    using ModelError::ModelError;
};

template <class Archive> void kzFields(Archive& archive, ModelUvs& uvs) { archive(uvs.name, uvs.values); }
template <class Archive> void kzFields(Archive& archive, ModelMesh& mesh) {
    archive(mesh.name, mesh.material, mesh.positions, mesh.normals, mesh.uvs, mesh.colours, mesh.sizes, mesh.corners);
}
template <class Archive> void kzFields(Archive& archive, ModelNode& node) {
    archive(node.name, node.parent, node.matrix, node.meshes);
}
template <class Archive> void kzFields(Archive& archive, ModelTexture& texture) { archive(texture.use, texture.file); }
template <class Archive> void kzFields(Archive& archive, ModelMaterial& material) {
    archive(material.name, material.colour, material.specular, material.emission, material.opacity, material.roughness,
            material.metallic, material.refraction, material.isTwoSided, material.textures);
}
template <class Archive> void kzFields(Archive& archive, ModelCamera& camera) {
    archive(camera.node, camera.name, camera.position, camera.direction, camera.up, camera.angle, camera.aspect,
            camera.nearest, camera.farthest, camera.width);
}
template <class Archive> void kzFields(Archive& archive, ModelLight& light) {
    archive(light.node, light.name, light.kind, light.position, light.direction, light.up, light.colour, light.cone,
            light.edge, light.size);
}
template <class Archive> void kzFields(Archive& archive, ForeignModel& model) {
    archive(model.nodes, model.meshes, model.materials, model.cameras, model.lights, model.notes);
}

class CModelBytes {
public:
    std::string bytes;
    template <class... Fields> void operator()(Fields&... fields) { (put(fields), ...); }

private:
    void raw(const void* data, std::size_t size) { bytes.append(static_cast<const char*>(data), size); }
    template <class Value> void put(Value& value) {
        if constexpr (std::is_trivially_copyable_v<Value>) raw(&value, sizeof value);
        else kzFields(*this, value);
    }
    void put(std::string& text) {
        const std::uint64_t size = text.size();
        raw(&size, sizeof size), raw(text.data(), text.size());
    }
    template <class Value> void put(std::vector<Value>& list) {
        const std::uint64_t size = list.size();
        raw(&size, sizeof size);
        if constexpr (std::is_trivially_copyable_v<Value>) raw(list.data(), list.size() * sizeof(Value));
        else
            for (Value& each : list) put(each);
    }
};

class CModelParser {
public:
    explicit CModelParser(std::string_view bytes) : m_bytes(bytes) {}
    template <class... Fields> void operator()(Fields&... fields) { (get(fields), ...); }
    bool isAtEnd() const { return m_bytes.empty(); }

private:
    void raw(void* data, std::size_t size) {
        if (size > m_bytes.size()) throw ModelError("the model is not whole");
        if (size > 0) std::memcpy(data, m_bytes.data(), size);
        m_bytes.remove_prefix(size);
    }
    // Nothing takes less than `least` bytes, so what is claimed can be held against what is left.
    std::size_t count(std::size_t least) {
        std::uint64_t size = 0;
        raw(&size, sizeof size);
        if (size > m_bytes.size() / least) throw ModelError("the model is not whole");
        return static_cast<std::size_t>(size);
    }
    template <class Value> void get(Value& value) {
        if constexpr (std::is_trivially_copyable_v<Value>) raw(&value, sizeof value);
        else kzFields(*this, value);
    }
    void get(std::string& text) {
        text.resize(count(1));
        raw(text.data(), text.size());
    }
    template <class Value> void get(std::vector<Value>& list) {
        if constexpr (std::is_trivially_copyable_v<Value>) {
            list.resize(count(sizeof(Value)));
            raw(list.data(), list.size() * sizeof(Value));
        } else {
            list.resize(count(sizeof(std::uint64_t)));
            for (Value& each : list) get(each);
        }
    }

    std::string_view m_bytes;
};

// Throws ModelError if an index leads nowhere, a list is of another length than its mesh, or a matrix is not finite.
void kzCheckModel(const ForeignModel& model);

}  // namespace kzhost
