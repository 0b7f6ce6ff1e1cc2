// Documents as foreign models: the items that have a place become nodes.
#include "host/objects/item.h"
#include "host/objects/model_scene.h"

#include "host/document/evaluation.h"

#include "kz/lighting.h"
#include "kz/material.h"
#include "kz/mesh.h"
#include "kz/render_item.h"
#include "kz/scene_graph.h"
#include "kz/texture.h"
#include "kz/transform.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

ModelVector colourOf(const Item& item, const char* name) {
    const auto first = static_cast<std::size_t>(item.findChannel(name));
    ModelVector colour{};
    for (std::size_t i = 0; i < colour.size(); ++i)
        colour[i] = static_cast<float>(kzNumberOf(item.valueOf(*item.channelAt(first + i))).value_or(0));
    return colour;
}
float numberOf(const Item& item, const char* name) {
    return static_cast<float>(kzNumberOf(item.valueOf(*item.type.channel(name))).value_or(0));
}
std::string textOf(const Item& item, const char* name) {
    const auto* text = std::get_if<std::string>(&item.valueOf(*item.type.channel(name)));
    return text != nullptr ? *text : std::string();
}

bool isOfType(const Item& item, const char* type) {
    return item.type.isA(kzFindItemType(std::string_view(type))->number);
}

class CModelExport {
public:
    CModelExport(CDocument& document, std::string folder, std::vector<std::string>& notes)
        : m_document(document), m_folder(std::move(folder)), m_notes(notes) {}

    ForeignModel run() {
        std::vector<ChannelRef> places;
        {
            const CReading reading(m_document.workspace());
            addRoot();
            const std::uint32_t root = m_model.nodes.empty() ? ModelNode::none : 0;
            m_document.roots().each([&](Item& item) { addNodes(item, root); });
            for (const auto& [item, node] : m_nodes)
                places.push_back(kzChannelRef(*item, *item->type.channel(KZsICHAN_LOCATOR_LOCALMATRIX)));
        }
        setPlaces(places);
        if (m_lost > 0) m_notes.push_back(fmt::format("{} cameras and lights became nodes without either", m_lost));
        return std::move(m_model);
    }

private:
    static bool isNode(const Item& item) { return item.type.channel(KZsICHAN_LOCATOR_LOCALMATRIX) != nullptr; }

    // Such a file has one root. Where there are more here, they get one above them.
    static std::size_t countTopNodes(const Item& item) {
        if (isNode(item)) return 1;
        std::size_t count = 0;
        item.children.each([&](const Item& child) { count += countTopNodes(child); });
        return count;
    }
    void addRoot() {
        std::size_t count = 0;
        m_document.roots().each([&](const Item& item) { count += countTopNodes(item); });
        if (count == 1) return;
        m_model.nodes.push_back({.name = m_document.name(), .parent = ModelNode::none, .matrix = {}, .meshes = {}});
        for (std::size_t i = 0; i < 4; ++i) m_model.nodes.back().matrix[5 * i] = 1;
    }
    void addNodes(Item& item, std::uint32_t parent) {
        std::vector<std::pair<Item*, std::uint32_t>> open{{&item, parent}};
        while (!open.empty()) {
            const auto [next, above] = open.back();
            open.pop_back();
            std::uint32_t index = above;
            if (isNode(*next)) {
                index = static_cast<std::uint32_t>(m_model.nodes.size());
                m_model.nodes.push_back({.name = next->uniqueName, .parent = above, .matrix = {}, .meshes = {}});
                m_nodes.emplace_back(next, index);
                m_model.nodes[index].meshes = meshesOf(*next);
                if (isOfType(*next, KZsITYPE_CAMERA) || isOfType(*next, KZsITYPE_LIGHT)) ++m_lost;
            }
            std::vector<std::pair<Item*, std::uint32_t>> children;
            next->children.each([&](Item& child) { children.emplace_back(&child, index); });
            open.insert(open.end(), children.rbegin(), children.rend());
        }
    }
    // Instances show the meshes of their source.
    std::vector<std::uint32_t> meshesOf(Item& item) {
        const Item* owner = &item.shapeOwner();
        const CMeshData* data = kzMeshOf(*owner);
        if (data == nullptr) return {};
        const auto [entry, isNew] = m_meshes.try_emplace(owner);
        if (!isNew) return entry->second;
        for (ModelMesh& mesh : kzModelMeshes(
                 *data, [&](const std::string& tag) { return material(tag); }, m_notes)) {
            mesh.name = owner->uniqueName;
            entry->second.push_back(static_cast<std::uint32_t>(m_model.meshes.size()));
            m_model.meshes.push_back(std::move(mesh));
        }
        return entry->second;
    }

    // The group whose tag it is has the material, and the textures.
    std::uint32_t material(const std::string& tag) {
        const auto [entry, isNew] = m_materials.try_emplace(tag, static_cast<std::uint32_t>(m_model.materials.size()));
        if (!isNew) return entry->second;
        ModelMaterial& made = m_model.materials.emplace_back();
        made.name = tag.empty() ? "Default" : tag;
        const Item* group = nullptr;
        m_document.each(kzFindItemType(std::string_view(KZsITYPE_SHADERMASK))->number, [&](const Item& each) {
            if (group == nullptr && !tag.empty() && textOf(each, KZsICHAN_SHADERMASK_TAG) == tag) group = &each;
        });
        if (group == nullptr) return entry->second;
        group->children.each([&](const Item& child) {
            if (isOfType(child, KZsITYPE_MATERIAL)) describe(child, made);
            else if (isOfType(child, KZsITYPE_IMAGEMAP)) addTexture(child, made);
        });
        return entry->second;
    }
    static void describe(const Item& item, ModelMaterial& made) {
        made.colour = colourOf(item, KZsICHAN_MATERIAL_DIFFCOLOR);
        const float amount = numberOf(item, KZsICHAN_MATERIAL_DIFFAMOUNT);
        for (float& each : made.colour) each *= amount;
        made.specular = colourOf(item, KZsICHAN_MATERIAL_SPECCOLOR);
        made.roughness = numberOf(item, KZsICHAN_MATERIAL_ROUGHNESS);
        made.metallic = numberOf(item, KZsICHAN_MATERIAL_REFLAMOUNT);
        made.opacity = 1 - numberOf(item, KZsICHAN_MATERIAL_DISSOLVE);
        made.refraction = numberOf(item, KZsICHAN_MATERIAL_REFINDEX);
        if (numberOf(item, KZsICHAN_MATERIAL_RADIANCE) > 0) made.emission = colourOf(item, KZsICHAN_MATERIAL_LUMICOLOR);
        made.isTwoSided = numberOf(item, KZsICHAN_MATERIAL_DOUBLESIDED) != 0 ? 1 : 0;
    }
    void addTexture(const Item& layer, ModelMaterial& made) const {
        constexpr std::pair<const char*, ModelUse> uses[] = {
            {KZs_FX_DIFFCOLOR, ModelUse::colour}, {KZs_FX_SPECAMOUNT, ModelUse::specular},
            {KZs_FX_BUMP, ModelUse::bump},        {KZs_FX_NORMAL, ModelUse::normal},
            {KZs_FX_OPACITY, ModelUse::opacity},  {KZs_FX_DISPLACE, ModelUse::displacement}};
        const std::string effect = textOf(layer, KZsICHAN_LAYER_EFFECT);
        const auto* row =
            std::find_if(std::begin(uses), std::end(uses), [&](const auto& each) { return each.first == effect; });
        const auto links = layer.links.find(KZsGRAPH_SOURCE);
        if (row == std::end(uses) || links == layer.links.end()) return;
        for (const Item* clip : links->second.forward)
            if (isOfType(*clip, KZsITYPE_VIDEOSTILL))
                made.textures.push_back({row->second, relative(textOf(*clip, KZsICHAN_VIDEOSTILL_FILENAME))});
    }
    std::string relative(const std::string& file) const {
        const fs::path path = fs::path(file).lexically_relative(m_folder);
        return path.empty() || *path.begin() == ".." ? file : path.string();
    }

    void setPlaces(const std::vector<ChannelRef>& places) {
        if (places.empty()) return;
        const auto values = kzEvaluationOf(m_document).read(places, 0);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto* matrix = std::get_if<KzMatrix4>(&values[i]);
            const KzMatrix4 place = matrix != nullptr ? *matrix : kzIdentity();
            std::copy_n(&place.m[0][0], 16, m_model.nodes[m_nodes[i].second].matrix.begin());
        }
    }

    CDocument& m_document;
    const std::string m_folder;
    std::vector<std::string>& m_notes;
    ForeignModel m_model;
    std::vector<std::pair<Item*, std::uint32_t>> m_nodes;
    std::map<const Item*, std::vector<std::uint32_t>> m_meshes;
    std::map<std::string, std::uint32_t> m_materials;
    std::size_t m_lost = 0;
};

}  // namespace

ForeignModel kzModelOf(CDocument& document, const std::string& folder, std::vector<std::string>& notes) {
    return CModelExport(document, folder, notes).run();
}

}  // namespace kzhost
