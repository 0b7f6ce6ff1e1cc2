// Selection operations of modules.
#include "host/objects/selection_operation.h"

#include "host/objects/transforms.h"

#include <map>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

struct Element {
    PacketRef packet;
    KzElementId first, second;
};
struct MeshElements {
    CHostRef<CItem> item;
    std::vector<Element> elements;
};

bool stays(const CKzUser_SelectionOperation& operation, const Element& element) {
    switch (element.packet->kind) {
    case PacketKind::edge: return operation.TestEdge(element.first, element.second);
    case PacketKind::polygon: return operation.TestPolygon(element.first);
    default: return operation.TestPoint(element.first);
    }
}

// The selected elements in order, those of each mesh together.
std::vector<MeshElements> selectedByMesh(const OpenScenes& scenes, std::int32_t type) {
    std::vector<MeshElements> meshes;
    std::map<const Item*, std::size_t> known;
    const CReading reading(*scenes.workspace);
    scenes.workspace->selection().list(type).each([&](const PacketRef& packet) {
        const ItemRef item = packet->item.lock();
        if (item == nullptr || !packet->isElement() || !packet->isAlive()) return;
        const auto [place, isNew] = known.emplace(item.get(), meshes.size());
        if (isNew) meshes.push_back({kzObjectOf(*item), {}});
        const auto id = [&](std::size_t index) { return reinterpret_cast<KzElementId>(packet->numbers[index]); };
        meshes[place->second].elements.push_back({packet, id(0), id(1)});
    });
    return meshes;
}

// An operation need not want to know either.
KzResult begin(const CKzUser_SelectionOperation& operation, const CHostRef<CItem>& item, double time) {
    const KzResult code = operation.SetMesh(item->mesh().raw());
    if (kzFailed(code) && code != KZe_NOTIMPL) return code;
    CKzLoc_Unknown matrix;
    matrix.take(kzMakeMatrix(4, kzWorldMatrix(*item, time)));
    const KzResult second = operation.SetTransform(matrix.raw());
    return second == KZe_NOTIMPL ? KZe_OK : second;
}

}  // namespace

KzResult kzOperateSelection(const OpenScenes& scenes, const CKzUser_SelectionOperation& operation, std::int32_t type) {
    double time = 0;
    {
        const CReading reading(*scenes.workspace);
        time = scenes.currentTime();
    }
    PacketList kept;
    for (const MeshElements& mesh : selectedByMesh(scenes, type)) {
        if (const KzResult code = begin(operation, mesh.item, time); kzFailed(code)) {
            operation.Finish(1);
            return code;
        }
        for (const Element& element : mesh.elements)
            if (stays(operation, element)) kept.add(element.packet);
    }
    const KzResult code = operation.Finish(0);
    if (kzFailed(code) && code != KZe_NOTIMPL) return code;
    CEdit edit(*scenes.workspace);
    kept.removeIf([](const PacketRef& packet) { return !packet->isAlive(); });
    scenes.workspace->selection().replace(type, std::move(kept), edit);
    edit.commit();
    return KZe_OK;
}

}  // namespace kzhost
