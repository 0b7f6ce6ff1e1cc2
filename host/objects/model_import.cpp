// Foreign models as items: each node is one, with what it shows below it if that is more than one thing.
#include "host/objects/item.h"
#include "host/objects/model_scene.h"

#include "host/document/transform_values.h"

#include "kz/clip.h"
#include "kz/lighting.h"
#include "kz/material.h"
#include "kz/mesh.h"
#include "kz/render_item.h"
#include "kz/scene_graph.h"
#include "kz/texture.h"
#include "kz/transform.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

constexpr double closeEnough = 1e-6;

// Leaves alone what is not finite, and takes the nearest value of the channel's range.
void set(CEdit& edit, Item& item, const char* name, double number) {
    const ChannelInfo& channel = *item.type.channel(name);
    if (!std::isfinite(number)) return;
    number = std::clamp(number, channel.minimum.value_or(number), std::max(number, channel.maximum.value_or(number)));
    number = std::min(number, channel.maximum.value_or(number));
    if (std::holds_alternative<std::int32_t>(channel.initial))
        edit.setValue(item, channel, static_cast<std::int32_t>(number));
    else edit.setValue(item, channel, number);
}
void set(CEdit& edit, Item& item, const char* name, std::string text) {
    edit.setValue(item, *item.type.channel(name), std::move(text));
}
void setVector(CEdit& edit, Item& item, const char* first, const KzVector3& vector) {
    const auto index = static_cast<std::size_t>(item.findChannel(first));
    for (std::size_t i = 0; i < 3; ++i)
        if (const ChannelInfo& channel = *item.channelAt(index + i); std::get<double>(channel.initial) != vector.v[i])
            edit.setValue(item, channel, vector.v[i]);
}

KzVector3 vectorOf(const ModelVector& from) { return {{from[0], from[1], from[2]}}; }

void set(CEdit& edit, Item& item, const char* name, const ModelVector& colour) {
    for (const float each : colour)
        if (!(std::isfinite(each) && each >= 0)) return;
    setVector(edit, item, name, vectorOf(colour));
}

KzMatrix4 matrixOf(const ModelNode& node) {
    KzMatrix4 matrix{};
    std::copy_n(node.matrix.begin(), 16, &matrix.m[0][0]);
    for (int row = 0; row < 4; ++row) matrix.m[row][3] = row == 3 ? 1 : 0;
    return matrix;
}

KzMatrix3 scaled(const RotationAndScale& parts) {
    KzMatrix3 axes = parts.rotation;
    for (int row = 0; row < 3; ++row)
        for (double& number : axes.m[row]) number *= parts.scale.v[row];
    return axes;
}

double distance(const KzMatrix3& a, const KzMatrix3& b) {
    double most = 0;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) most = std::max(most, std::abs(a.m[row][column] - b.m[row][column]));
    return most;
}

// The axes of what looks along a direction; empty if it has none. Here, cameras and lights look along their negative z.
std::optional<KzMatrix3> axesOf(const ModelVector& direction, const ModelVector& up) {
    const KzVector3 z = kzUnit(vectorOf(direction)) * -1;
    if (kzLength(z) == 0) return std::nullopt;
    KzVector3 x = kzCross(vectorOf(up), z);
    if (kzLength(x) < closeEnough) x = kzAcross(z);
    x = kzUnit(x);
    return kzMatrixOfRows(x, kzCross(z, x), z);
}

class CModelImport {
public:
    CModelImport(const ForeignModel& model, const ModelImport& import, CDocument& document, CEdit& edit,
                 std::vector<std::string>& notes)
        : m_model(model), m_import(import), m_document(document), m_edit(edit), m_notes(notes),
          m_items(model.nodes.size()), m_types(model.nodes.size(), KZsITYPE_LOCATOR),
          m_slants(model.nodes.size(), kzIdentity()), m_shown(model.meshes.size()) {}

    void run() {
        for (const ModelMaterial& material : m_model.materials) addMaterial(material);
        chooseTypes();
        for (std::size_t i = 0; i < m_model.nodes.size(); ++i) addNode(i);
        for (const ModelCamera& camera : m_model.cameras) addCamera(camera);
        for (const ModelLight& light : m_model.lights) addLight(light);
        addHidden();
        if (m_slanted > 0)
            m_notes.push_back(fmt::format("the slanted axes of {} nodes went into the points below them", m_slanted));
    }

private:
    Item& add(const char* type, const std::string& name, Item* parent) {
        Item& item = m_edit.add(m_document, *kzFindItemType(std::string_view(type)));
        if (!name.empty()) m_edit.rename(item, name);
        if (parent != nullptr) m_edit.place(item, parent, CEdit::last);
        return item;
    }

    // An item has a position, a rotation and factors, so slanted axes are handed down, in the end to points.
    void addNode(std::size_t index) {
        const ModelNode& node = m_model.nodes[index];
        const bool isRoot = node.parent == ModelNode::none;
        const bool isMesh = node.meshes.size() == 1;
        KzMatrix4 matrix = matrixOf(node);
        if (!isRoot) matrix = matrix * m_slants[node.parent];
        Item* parent = isRoot ? nullptr : m_items[node.parent];
        const KzMatrix4 slant = m_slants[index] = slantOf(matrix);
        Item& item =
            isMesh ? addMesh(node.meshes.front(), node.name, parent, slant) : add(m_types[index], node.name, parent);
        m_items[index] = &item;
        placeAt(item, matrix);
        for (const std::uint32_t mesh : node.meshes)
            if (!isMesh)
                addMesh(mesh, m_model.meshes[mesh].name.empty() ? node.name : m_model.meshes[mesh].name, &item, slant);
    }
    static bool isSlanted(const KzMatrix4& matrix) {
        const KzMatrix3 axes = kzUpperLeft(matrix);
        return distance(scaled(kzRotationAndScale(axes)), axes) > closeEnough * std::max(1.0, distance(axes, {}));
    }
    KzMatrix4 slantOf(const KzMatrix4& matrix) {
        if (!isSlanted(matrix)) return kzIdentity();
        ++m_slanted;
        return kzMatrixOf(kzUpperLeft(matrix), {});
    }
    void placeAt(Item& item, const KzMatrix4& matrix) {
        setVector(m_edit, item, KZsICHAN_XFRMPOSITION_POS_X, {{matrix.m[3][0], matrix.m[3][1], matrix.m[3][2]}});
        if (isSlanted(matrix)) return;
        const RotationAndScale parts = kzRotationAndScale(kzUpperLeft(matrix));
        setVector(m_edit, item, KZsICHAN_XFRMSCALE_SCL_X, parts.scale);
        setVector(m_edit, item, KZsICHAN_XFRMROTATION_ROT_X, kzEulerOfRotation(parts.rotation, KZiROTORDER_ZXY));
    }

    // The first item of a mesh has it; those after it are its instances, unless their axes are slanted in another way.
    Item& addMesh(std::uint32_t index, const std::string& name, Item* parent, const KzMatrix4& slant) {
        const ModelMesh& mesh = m_model.meshes[index];
        Item& item = add(KZsITYPE_MESH, name, parent);
        const bool isStraight = distance(kzUpperLeft(slant), kzIdentity3()) == 0;
        Item*& first = m_shown[index];
        if (first != nullptr && isStraight && m_straight.contains(first)) {
            m_edit.setSource(item, first);
            return item;
        }
        const std::string material = mesh.material < m_names.size() ? m_names[mesh.material] : std::string();
        kzGiveMesh(item, kzMeshFrom(mesh, material, m_import.joinsPoints, slant, m_notes));
        if (first == nullptr || isStraight) first = &item;
        if (isStraight) m_straight.insert(&item);
        return item;
    }

    void addHidden() {
        std::size_t count = 0;
        for (std::uint32_t mesh = 0; mesh < m_shown.size(); ++mesh) {
            if (m_shown[mesh] != nullptr) continue;
            Item& item = addMesh(mesh, m_model.meshes[mesh].name, nullptr, kzIdentity());
            m_edit.setFlags(item, item.flags & ~static_cast<std::uint32_t>(KZfITEM_VISIBLE | KZfITEM_RENDERABLE));
            ++count;
        }
        if (count > 0) m_notes.push_back(fmt::format("{} meshes that no node shows are hidden", count));
    }

    // A camera or a light is the item of its node if that shows nothing else and it stands straight in it.
    void chooseTypes() {
        const auto choose = [&](const auto& from, const char* type) {
            const KzMatrix4 place = placeOf(from);
            if (m_model.nodes[from.node].meshes.empty() && distance(kzUpperLeft(place), kzIdentity3()) < closeEnough &&
                kzLength(vectorOf(from.position)) == 0)
                m_types[from.node] = type;
        };
        for (const ModelCamera& camera : m_model.cameras) choose(camera, KZsITYPE_CAMERA);
        for (const ModelLight& light : m_model.lights) choose(light, lightType(light));
    }
    static const char* lightType(const ModelLight& light) {
        constexpr const char* types[] = {KZsITYPE_SUNLIGHT, KZsITYPE_POINTLIGHT, KZsITYPE_SPOTLIGHT,
                                         KZsITYPE_AREALIGHT};
        return types[std::min<std::size_t>(static_cast<std::size_t>(light.kind), std::size(types) - 1)];
    }
    template <class From> static KzMatrix4 placeOf(const From& from) {
        return kzMatrixOf(axesOf(from.direction, from.up).value_or(kzIdentity3()), vectorOf(from.position));
    }
    template <class From> Item& addLooking(const From& from, const char* type) {
        if (m_types[from.node] == type) {  // the first one; others come below
            m_types[from.node] = nullptr;
            return *m_items[from.node];
        }
        Item& item = add(type, from.name, m_items[from.node]);
        placeAt(item, placeOf(from));
        return item;
    }
    void addCamera(const ModelCamera& from) {
        Item& item = addLooking(from, KZsITYPE_CAMERA);
        const double width = std::get<double>(item.type.channel(KZsICHAN_CAMERA_APERTUREX)->initial);
        const auto angle = static_cast<double>(from.angle);
        if (angle > 0 && angle < 3.1) set(m_edit, item, KZsICHAN_CAMERA_FOCALLENGTH, width / 2 / std::tan(angle / 2));
        if (from.aspect > 0) set(m_edit, item, KZsICHAN_CAMERA_APERTUREY, width / static_cast<double>(from.aspect));
        if (from.nearest > 0) set(m_edit, item, KZsICHAN_CAMERA_NEAR, static_cast<double>(from.nearest));
        if (from.farthest > 0) set(m_edit, item, KZsICHAN_CAMERA_FAR, static_cast<double>(from.farthest));
        if (!(from.width > 0)) return;
        set(m_edit, item, KZsICHAN_CAMERA_PROJECTION, KZiCAMERA_PROJECTION_ORTHOGRAPHIC);
        set(m_edit, item, KZsICHAN_CAMERA_ORTHOWIDTH, static_cast<double>(from.width));
    }
    void addLight(const ModelLight& from) {
        Item& item = addLooking(from, lightType(from));
        const float intensity = *std::max_element(from.colour.begin(), from.colour.end());
        set(m_edit, item, KZsICHAN_LIGHT_INTENSITY, static_cast<double>(intensity));
        if (from.kind == ModelLightKind::spot) {
            set(m_edit, item, KZsICHAN_SPOTLIGHT_CONE, static_cast<double>(from.cone));
            set(m_edit, item, KZsICHAN_SPOTLIGHT_EDGE, static_cast<double>(from.edge));
        }
        if (from.kind == ModelLightKind::area) {
            set(m_edit, item, KZsICHAN_AREALIGHT_WIDTH, static_cast<double>(from.size[0]));
            set(m_edit, item, KZsICHAN_AREALIGHT_HEIGHT, static_cast<double>(from.size[1]));
        }
        if (!(intensity > 0)) return;
        ModelVector colour = from.colour;
        for (float& each : colour) each /= intensity;
        set(m_edit, add(KZsITYPE_LIGHTMATERIAL, from.name, &item), KZsICHAN_LIGHTMATERIAL_COLOR, colour);
    }

    // A group for the polygons that are tagged with its name, and in it the material and its textures.
    void addMaterial(const ModelMaterial& from) {
        const std::string base = from.name.empty() ? "Material" : from.name;
        std::string name = base;
        for (int number = 2; std::find(m_names.begin(), m_names.end(), name) != m_names.end(); ++number)
            name = fmt::format("{} ({})", base, number);
        m_names.push_back(name);
        Item& group = add(KZsITYPE_SHADERMASK, name, nullptr);
        set(m_edit, group, KZsICHAN_SHADERMASK_TAG, name);
        Item& item = add(KZsITYPE_MATERIAL, name, &group);
        set(m_edit, item, KZsICHAN_MATERIAL_DIFFCOLOR, from.colour);
        set(m_edit, item, KZsICHAN_MATERIAL_DIFFAMOUNT, 1.0);
        set(m_edit, item, KZsICHAN_MATERIAL_SPECCOLOR, from.specular);
        set(m_edit, item, KZsICHAN_MATERIAL_ROUGHNESS, static_cast<double>(from.roughness));
        set(m_edit, item, KZsICHAN_MATERIAL_REFLAMOUNT, static_cast<double>(from.metallic));
        set(m_edit, item, KZsICHAN_MATERIAL_DISSOLVE, 1 - static_cast<double>(from.opacity));
        set(m_edit, item, KZsICHAN_MATERIAL_REFINDEX, static_cast<double>(from.refraction));
        set(m_edit, item, KZsICHAN_MATERIAL_LUMICOLOR, from.emission);
        if (from.emission != ModelVector{}) set(m_edit, item, KZsICHAN_MATERIAL_RADIANCE, 1.0);
        if (from.isTwoSided != 0) set(m_edit, item, KZsICHAN_MATERIAL_DOUBLESIDED, 1.0);
        for (const ModelTexture& texture : from.textures) addTexture(texture, group);
    }
    void addTexture(const ModelTexture& from, Item& group) {
        constexpr const char* effects[] = {KZs_FX_DIFFCOLOR, KZs_FX_SPECAMOUNT, KZs_FX_BUMP,
                                           KZs_FX_NORMAL,    KZs_FX_OPACITY,    KZs_FX_DISPLACE};
        Item& clip = clipOf(from.file);
        const auto use = static_cast<std::size_t>(from.use);
        if (use >= std::size(effects)) return;
        Item& layer = add(KZsITYPE_IMAGEMAP, fs::path(clip.name).stem().string(), &group);
        set(m_edit, layer, KZsICHAN_LAYER_EFFECT, std::string(effects[use]));
        m_edit.link(KZsGRAPH_SOURCE, layer, CEdit::last, clip, CEdit::last);
    }
    Item& clipOf(const std::string& file) {
        const auto [entry, isNew] = m_clips.try_emplace(file, nullptr);
        if (!isNew) return *entry->second;
        const std::string path = fileAt(file);
        entry->second = &add(KZsITYPE_VIDEOSTILL, fs::path(path).filename().string(), nullptr);
        set(m_edit, *entry->second, KZsICHAN_VIDEOSTILL_FILENAME, path);
        return *entry->second;
    }
    // Some programs write backslashes, and some write paths of their author's machine.
    std::string fileAt(std::string file) {
        std::error_code error;
        const fs::path folder = m_import.folder;
        if (!fs::exists(folder / file, error)) std::replace(file.begin(), file.end(), '\\', '/');
        const fs::path place = (folder / file).lexically_normal();
        if (fs::exists(place, error)) return place.string();
        if (const fs::path beside = folder / place.filename(); fs::exists(beside, error)) return beside.string();
        return place.string();
    }

    const ForeignModel& m_model;
    const ModelImport& m_import;
    CDocument& m_document;
    CEdit& m_edit;
    std::vector<std::string>& m_notes;
    std::vector<Item*> m_items;        // of each node
    std::vector<const char*> m_types;  // likewise
    std::vector<KzMatrix4> m_slants;   // what is handed down from each node
    std::vector<Item*> m_shown;        // the item that has each mesh
    std::set<const Item*> m_straight;
    std::vector<std::string> m_names;  // of each material
    std::map<std::string, Item*> m_clips;
    std::size_t m_slanted = 0;
};

}  // namespace

void kzAddModel(const ForeignModel& model, const ModelImport& import, CDocument& document, CEdit& edit,
                std::vector<std::string>& notes) {
    notes.insert(notes.end(), model.notes.begin(), model.notes.end());
    CModelImport(model, import, document, edit, notes).run();
}

}  // namespace kzhost
