// What could be selected: everything of a type, and what is next to the selection.
#include "host/objects/selection_scope.h"

#include "host/core/reasons.h"
#include "host/objects/layers.h"

#include "kz/result.h"
#include "kz/selection.h"

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

namespace kzhost {

namespace {

std::uintptr_t numberOf(KzElementId id) { return reinterpret_cast<std::uintptr_t>(id); }
KzElementId idOf(std::uintptr_t number) { return reinterpret_cast<KzElementId>(number); }

// A packet stands for the element wherever it was picked.
PacketRef packetOf(Item& item, PacketKind kind, KzElementId first, KzElementId second = nullptr) {
    const std::uintptr_t a = numberOf(first), b = numberOf(second);
    PacketSubject subject{.kind = kind, .item = item.shared_from_this(), .numbers = {a, 0, 0}};
    if (second != nullptr) subject.numbers = {std::min(a, b), std::max(a, b), 0};
    return item.document.workspace().selection().packet(subject);
}
PacketRef packetOf(Item& item, const MeshEdge& edge) { return packetOf(item, PacketKind::edge, edge.start, edge.end); }

void addElements(Item& item, std::int32_t type, PacketList& list) {
    CMeshData* mesh = kzMeshOf(item);
    if (mesh == nullptr) return;
    if (type == KZi_SELTYP_POINT)
        for (const MeshPoint& point : mesh->points) list.add(packetOf(item, PacketKind::vertex, point.id));
    if (type == KZi_SELTYP_EDGE)
        for (const MeshEdge& edge : mesh->edges()) list.add(packetOf(item, edge));
    if (type == KZi_SELTYP_POLYGON)
        for (const MeshPolygon& polygon : mesh->polygons) list.add(packetOf(item, PacketKind::polygon, polygon.id));
}

void addNext(Item& item, std::int32_t type, CMeshData& mesh, KzElementId point, PacketList& list) {
    if (type == KZi_SELTYP_POLYGON)
        for (const MeshCorner& corner : mesh.cornersAt(point))
            list.add(packetOf(item, PacketKind::polygon, corner.polygon));
    else
        for (const KzElementId id : mesh.edgesAt(point)) {
            const MeshEdge& edge = mesh.edges().at(id);
            if (type == KZi_SELTYP_EDGE) list.add(packetOf(item, edge));
            else list.add(packetOf(item, PacketKind::vertex, edge.start == point ? edge.end : edge.start));
        }
}

std::vector<KzElementId> pointsOf(const SelectionPacket& packet, CMeshData& mesh) {
    if (packet.kind == PacketKind::polygon) return mesh.polygons.at(idOf(packet.numbers[0])).points;
    if (packet.kind == PacketKind::edge) return {idOf(packet.numbers[0]), idOf(packet.numbers[1])};
    return {idOf(packet.numbers[0])};
}

}  // namespace

std::vector<Item*> kzWorkedOn(const OpenScenes& scenes) {
    if (scenes.list.empty()) return {};
    const CDocument& document = scenes.list.back()->document();
    std::vector<Item*> layers = kzLayersOf(document);
    const auto isActive = [](const Item* layer) { return (kzLayerState(*layer) & KZf_LAYER_ACTIVE) != 0; };
    if (std::any_of(layers.begin(), layers.end(), isActive)) std::erase_if(layers, std::not_fn(isActive));
    return layers;
}

void kzSelect(CSelection& selection, std::int32_t type, const PacketList& packets, std::int32_t mode, CChanges& edit) {
    if (mode < KZiSELMODE_SET || mode > KZiSELMODE_TOGGLE)
        throw kzBecause(KZe_INVALIDARG, "Selection.Select",
                        [&] { return std::to_string(mode) + " is no mode; there are 0 (set) to 3 (toggle)"; });
    bool isAny = false;
    if (mode == KZiSELMODE_SET) selection.replace(type, packets, edit);
    packets.each([&](const PacketRef& packet) {
        const bool removes =
            mode == KZiSELMODE_REMOVE || (mode == KZiSELMODE_TOGGLE && selection.list(type).has(*packet));
        if (removes) selection.remove(type, packet, edit);
        else selection.add(type, packet, edit);
        isAny = isAny || !removes;
    });
    if (isAny) selection.setCurrentType(type, edit);
}

PacketList kzSelectable(const OpenScenes& scenes, std::int32_t type) {
    PacketList list;
    if (scenes.list.empty()) return list;
    if (type == KZi_SELTYP_ITEM)
        scenes.list.back()->document().each(KZiITYPE_ANY, [&](Item& item) {
            if (item.type.number != KZiITYPE_ROOT)
                list.add(
                    scenes.workspace->selection().packet({.kind = PacketKind::item, .item = item.shared_from_this()}));
        });
    else
        for (Item* item : kzWorkedOn(scenes)) addElements(*item, type, list);
    return list;
}

PacketList kzGrown(const OpenScenes& scenes, std::int32_t type) {
    CSelection& selection = scenes.workspace->selection();
    PacketList list = selection.list(type);
    selection.list(type).each([&](const PacketRef& packet) {
        const ItemRef item = packet->item.lock();
        if (item == nullptr || !packet->isAlive()) return;
        if (type == KZi_SELTYP_ITEM)
            item->children.each([&](Item& child) {
                list.add(selection.packet({.kind = PacketKind::item, .item = child.shared_from_this()}));
            });
        else if (CMeshData* mesh = packet->isElement() ? kzMeshOf(*item) : nullptr)
            for (const KzElementId point : pointsOf(*packet, *mesh)) addNext(*item, type, *mesh, point, list);
    });
    return list;
}

PacketRef kzElementPacket(Item& item, std::int32_t type, std::size_t position, std::size_t second) {
    CMeshData* mesh = kzMeshOf(item);
    if (mesh == nullptr) return nullptr;
    const auto isPoint = [&](std::size_t index) { return index < mesh->points.size(); };
    const auto point = [&](std::size_t index) { return mesh->points.byIndex(static_cast<std::uint32_t>(index)).id; };
    switch (type) {
    case KZi_SELTYP_POINT: return isPoint(position) ? packetOf(item, PacketKind::vertex, point(position)) : nullptr;
    case KZi_SELTYP_EDGE: {
        const bool exists = isPoint(position) && isPoint(second);
        const MeshEdge* edge = exists ? mesh->edgeBetween(point(position), point(second)) : nullptr;
        return edge != nullptr ? packetOf(item, *edge) : nullptr;
    }
    case KZi_SELTYP_POLYGON:
        if (position >= mesh->polygons.size()) return nullptr;
        return packetOf(item, PacketKind::polygon, mesh->polygons.byIndex(static_cast<std::uint32_t>(position)).id);
    default: return nullptr;
    }
}

std::vector<std::size_t> kzElementPositions(const SelectionPacket& packet) {
    const ItemRef item = packet.item.lock();
    CMeshData* mesh = item != nullptr && packet.isElement() ? kzMeshOf(*item) : nullptr;
    if (mesh == nullptr) return {};
    const auto place = [&](const auto& table, std::size_t number) {
        return static_cast<std::size_t>(table.indexOf(idOf(packet.numbers[number])));
    };
    switch (packet.kind) {
    case PacketKind::polygon: return {place(mesh->polygons, 0)};
    case PacketKind::edge: return {place(mesh->points, 0), place(mesh->points, 1)};
    default: return {place(mesh->points, 0)};
    }
}

}  // namespace kzhost
