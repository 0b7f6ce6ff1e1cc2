// The marks of elements of a mesh that selections know by packets.
#include "host/objects/mesh_marks.h"

#include <algorithm>

namespace kzhost {

namespace {

KzElementId idOf(std::uintptr_t number) { return reinterpret_cast<KzElementId>(number); }

// Whether there is such a polygon, on whose side an element was picked, and it has that point. None is fine, too.
bool isSide(CMeshData& mesh, std::uintptr_t number, KzElementId point) {
    if (number == 0) return true;
    const MeshPolygon* polygon = mesh.polygons.find(idOf(number));
    return polygon != nullptr &&
           std::find(polygon->points.begin(), polygon->points.end(), point) != polygon->points.end();
}

template <class Element> std::int32_t* marksOf(Element* element) {
    return element != nullptr ? &element->marks : nullptr;
}

template <class Table> void keepMarks(Table& from, Table& to) {
    for (auto& element : to)
        if (const auto* former = from.find(element.id)) element.marks = former->marks;
}

}  // namespace

std::int32_t* kzMarksOf(CMeshData& mesh, const SelectionPacket& packet) {
    const auto& numbers = packet.numbers;
    switch (packet.kind) {
    case PacketKind::vertex:
        return isSide(mesh, numbers[1], idOf(numbers[0])) ? marksOf(mesh.points.find(idOf(numbers[0]))) : nullptr;
    case PacketKind::edge:
        return isSide(mesh, numbers[2], idOf(numbers[0]))
                   ? marksOf(mesh.edgeBetween(idOf(numbers[0]), idOf(numbers[1])))
                   : nullptr;
    case PacketKind::polygon: return marksOf(mesh.polygons.find(idOf(numbers[0])));
    default: return nullptr;
    }
}

void kzKeepMarks(CMeshData& from, CMeshData& to) {
    keepMarks(from.points, to.points);
    keepMarks(from.polygons, to.polygons);
}

}  // namespace kzhost
