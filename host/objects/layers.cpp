// The mesh items of a scene as layers.
#include "host/objects/layers.h"

#include "host/core/reasons.h"
#include "host/document/transform_values.h"

#include "kz/mesh.h"
#include "kz/result.h"
#include "kz/scene.h"
#include "kz/selection.h"
#include "kz/undo.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

// Whether the channel of that name has that value.
bool is(const Item& item, const char* channel, std::int32_t value) {
    const std::int32_t index = item.findChannel(channel);
    return index >= 0 && kzNumberOf(item.valueOf(kzChannelAt(item, index))).value_or(0) == value;
}

// As the user has switched it; a parent may hide what is below it.
bool isVisible(const Item& layer) {
    if ((layer.flags & KZfITEM_VISIBLE) == 0 || is(layer, KZsICHAN_LOCATOR_VISIBLE, KZiLOCATOR_VIS_NEVER)) return false;
    bool isOwn = true;  // "default" is as the parent
    for (const Item* item = &layer; item != nullptr; item = item->parent) {
        if (is(*item, KZsICHAN_LOCATOR_VISIBLE, KZiLOCATOR_VIS_NEVER)) return false;
        if (!isOwn) continue;
        if (is(*item, KZsICHAN_LOCATOR_VISIBLE, KZiLOCATOR_VIS_OFF)) return false;
        isOwn = !is(*item, KZsICHAN_LOCATOR_VISIBLE, KZiLOCATOR_VIS_ON);
    }
    return true;
}

bool isSelected(const Item& item) {
    const auto& selected = item.document.workspace().selection().of(item);
    return std::ranges::any_of(selected, [](const auto& each) { return each.first == KZi_SELTYP_ITEM; });
}

void collect(const Item& item, std::vector<Item*>& layers) {
    item.children.each([&](Item& child) {
        if (kzIsLayer(child)) layers.push_back(&child);
        collect(child, layers);
    });
}

// The points that belong to something selected.
std::unordered_set<KzElementId> selectedPoints(CMeshData& mesh) {
    std::unordered_set<KzElementId> points;
    const auto isMarked = [](const auto& element) { return (element.marks & KZfMARK_SELECT) != 0; };
    for (const MeshPoint& point : mesh.points)
        if (isMarked(point)) points.insert(point.id);
    for (const MeshEdge& edge : mesh.edges())
        if (isMarked(edge)) points.insert({edge.start, edge.end});
    for (const MeshPolygon& polygon : mesh.polygons)
        if (isMarked(polygon)) points.insert(polygon.points.begin(), polygon.points.end());
    return points;
}

void setFlag(Item& item, std::int32_t flag, bool isSet, CEdit& edit) {
    const auto bit = static_cast<std::uint32_t>(flag);
    const std::uint32_t flags = isSet ? item.flags | bit : item.flags & ~bit;
    if (flags != item.flags) edit.setFlags(item, flags);
}

// The main layer is the one that comes last.
void select(Item& item, bool isSelected, bool isMain, CEdit& edit) {
    CSelection& selection = item.document.workspace().selection();
    const auto packet = selection.packet({.kind = PacketKind::item, .item = item.shared_from_this()});
    if ((isMain && kzMainLayer(item.document) != &item) || !isSelected) selection.remove(KZi_SELTYP_ITEM, packet, edit);
    if (isSelected) selection.add(KZi_SELTYP_ITEM, packet, edit);
}

// A layer while it is scanned. Edits are made on a mesh of its own.
struct ScannedLayer {
    CHostRef<CItem> item;
    CHostRef<CMesh> mesh, edited;
    std::uint32_t state = 0, changes = 0, serial = 0;
};

class CLayerScan final : public CHosted<"layer scan", CLayerScan, CKzIfc_LayerScan> {
public:
    CLayerScan(std::shared_ptr<CWorkspace> workspace, std::vector<ScannedLayer> layers, std::uint32_t flags,
               double time)
        : m_workspace(std::move(workspace)), m_layers(std::move(layers)), m_flags(flags), m_time(time) {}

    std::uint32_t layerscan_Count() override { return static_cast<std::uint32_t>(m_layers.size()); }
    KzResult layerscan_Item(std::uint32_t index, IKzUnknown** item) override { return at(index).item.give(item); }
    KzResult layerscan_MeshBase(std::uint32_t index, IKzUnknown** mesh) override { return at(index).mesh.give(mesh); }
    KzResult layerscan_MeshEdit(std::uint32_t index, IKzUnknown** mesh) override {
        ScannedLayer& layer = at(index);
        if ((m_flags & KZf_LAYERSCAN_WRITE) == 0)
            return kzBecause(KZe_NOACCESS, "LayerScan.MeshEdit",
                             [] { return "the scan was made without f_LAYERSCAN_WRITE, so its layers are only read"; });
        if (!layer.edited) {
            const CReading reading(*m_workspace);
            layer.edited = CHostRef<CMesh>::make();
            layer.edited->data.assign(layer.mesh->data);
            layer.serial = layer.edited->data.serial(~0U);
        }
        return layer.edited.give(mesh);
    }
    KzResult layerscan_SetMeshChange(std::uint32_t index, std::uint32_t changes) override {
        ScannedLayer& layer = at(index);
        if (!layer.edited) return KZe_NOTREADY;
        layer.changes |= changes;
        return KZe_OK;
    }
    std::uint32_t layerscan_State(std::uint32_t index) override {
        return !m_isOver && index < m_layers.size() ? m_layers[index].state : 0;
    }
    KzResult layerscan_Transform(std::uint32_t index, KzMatrix4* xfrm) override {
        *xfrm = kzWorldMatrix(*at(index).item, m_time);
        return KZe_OK;
    }
    // All layers or, when one has gone, none.
    KzResult layerscan_Apply() override {
        if (m_isOver) return KZe_NOTAVAILABLE;
        for (const ScannedLayer& layer : m_layers) layer.item->read();
        m_workspace->beginBlock("Edit Layers", KZfUNDO_BLOCK_NOEMPTY);
        for (ScannedLayer& layer : m_layers) put(layer);
        m_workspace->endBlock();
        m_isOver = true;
        return KZe_OK;
    }

private:
    ScannedLayer& at(std::uint32_t index) {
        if (m_isOver) throw KZe_NOTAVAILABLE;
        if (index >= m_layers.size()) throw KZe_OUTOFBOUNDS;
        return m_layers[index];
    }
    // A mesh that was edited counts as changed even if nobody has said so.
    static void put(ScannedLayer& layer) {
        if (!layer.edited || (layer.changes == 0 && layer.edited->data.serial(~0U) == layer.serial)) return;
        const auto mesh = layer.item->mesh();
        mesh->data.assign(layer.edited->data);
        mesh->data.changed(layer.changes | static_cast<std::uint32_t>(KZmMESHEDIT_GEOMETRY));
    }

    const std::shared_ptr<CWorkspace> m_workspace;
    std::vector<ScannedLayer> m_layers;
    const std::uint32_t m_flags;
    const double m_time;
    bool m_isOver = false;
};

}  // namespace

bool kzIsLayer(const Item& item) { return std::string_view(item.type.name) == KZsITYPE_MESH; }

std::vector<Item*> kzLayersOf(const CDocument& document) {
    std::vector<Item*> layers;
    document.roots().each([&](Item& root) {
        if (kzIsLayer(root)) layers.push_back(&root);
        collect(root, layers);
    });
    return layers;
}

Item* kzMainLayer(const CDocument& document) {
    const PacketList& selected = document.workspace().selection().list(KZi_SELTYP_ITEM);
    for (std::size_t i = selected.size(); i-- > 0;) {
        const ItemRef item = selected.at(i)->item.lock();
        if (item != nullptr && item->isPresent && &item->document == &document && kzIsLayer(*item)) return item.get();
    }
    return nullptr;
}

std::uint32_t kzLayerState(const Item& layer) {
    std::uint32_t state = isVisible(layer) ? KZf_LAYER_VISIBLE : 0;
    if (isSelected(layer)) state |= KZf_LAYER_ACTIVE;
    else if (state != 0) state |= KZf_LAYER_BACKGROUND;
    if (kzMainLayer(layer.document) == &layer) state |= KZf_LAYER_MAIN;
    if ((layer.flags & KZfITEM_LOCKED) != 0 || is(layer, KZsICHAN_LOCATOR_LOCK, 1)) state |= KZf_LAYER_LOCKED;
    return state;
}

void kzSetLayerState(Item& layer, std::uint32_t mask, std::uint32_t state, CEdit& edit) {
    const auto asks = [&](std::int32_t flag) { return (mask & static_cast<std::uint32_t>(flag)) != 0; };
    const auto wants = [&](std::int32_t flag) { return (state & mask & static_cast<std::uint32_t>(flag)) != 0; };
    const bool toBack = wants(KZf_LAYER_BACKGROUND);
    if (asks(KZf_LAYER_VISIBLE) || asks(KZf_LAYER_BACKGROUND))
        setFlag(layer, KZfITEM_VISIBLE, toBack || wants(KZf_LAYER_VISIBLE), edit);
    if (asks(KZf_LAYER_LOCKED)) setFlag(layer, KZfITEM_LOCKED, wants(KZf_LAYER_LOCKED), edit);
    const bool isMain = wants(KZf_LAYER_MAIN);
    if (isMain || asks(KZf_LAYER_ACTIVE) || toBack)
        select(layer, isMain || (wants(KZf_LAYER_ACTIVE) && !toBack), isMain, edit);
}

std::vector<CHostRef<CItem>> kzLayersBelow(Item& item) {
    std::vector<Item*> layers;
    if (kzIsLayer(item)) layers.push_back(&item);
    collect(item, layers);
    std::vector<CHostRef<CItem>> objects;
    objects.reserve(layers.size());
    for (Item* layer : layers) objects.push_back(kzObjectOf(*layer));
    return objects;
}

std::optional<KzBounds> kzBoundsOf(const std::vector<CHostRef<CItem>>& layers, const KzMatrix4& fromWorld,
                                   bool selectedOnly, double time) {
    std::optional<KzBounds> box;
    for (const auto& layer : layers) {
        const KzMatrix4 matrix = kzWorldMatrix(*layer, time) * fromWorld;
        const auto mesh = layer->mesh();
        const auto reading = layer->read();
        const auto selected = selectedOnly ? selectedPoints(mesh->data) : std::unordered_set<KzElementId>();
        for (const MeshPoint& point : mesh->data.points) {
            if (selectedOnly && !selected.contains(point.id)) continue;
            const KzVector3 place = kzPlace(point.position, matrix);
            if (!box) box = KzBounds{place, place};
            kzExtend(*box, place);
        }
    }
    return box;
}

IKzUnknown* kzMakeLayerScan(std::shared_ptr<CWorkspace> workspace, const std::vector<Item*>& layers,
                            std::uint32_t flags, double time) {
    std::vector<ScannedLayer> scanned;
    scanned.reserve(layers.size());
    for (Item* layer : layers)
        scanned.push_back({kzObjectOf(*layer), kzObjectOf(*layer)->mesh(), {}, kzLayerState(*layer)});
    return kzMakeObject<CLayerScan>(std::move(workspace), std::move(scanned), flags, time);
}

}  // namespace kzhost
