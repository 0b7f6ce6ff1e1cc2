// Edges of a mesh.
#include "host/objects/edge.h"

#include <algorithm>

namespace kzhost {

KzResult CEdge::edge_MoveToEnds(KzElementId start, KzElementId end) {
    const MeshEdge* edge = data().edgeBetween(start, end);
    return edge != nullptr ? moveTo(edge->id) : KZe_NOTFOUND;
}

KzResult CEdge::edge_Ends(KzElementId* start, KzElementId* end) {
    *start = here().start;
    *end = here().end;
    return KZe_OK;
}

KzElementId CEdge::edge_OtherEnd(KzElementId point) {
    if (point == here().start) return here().end;
    return point == here().end ? here().start : nullptr;
}

double CEdge::edge_Length() {
    return kzLength(data().points.at(here().start).position - data().points.at(here().end).position);
}

std::uint32_t CEdge::edge_PolygonCount() { return isAt() ? static_cast<std::uint32_t>(here().polygons.size()) : 0; }

KzResult CEdge::edge_PolygonByIndex(std::uint32_t index, KzElementId* polygon) {
    if (index >= here().polygons.size()) return KZe_OUTOFBOUNDS;
    *polygon = here().polygons[index];
    return KZe_OK;
}

KzResult CEdge::edge_Angle(double* angle) {
    const auto& polygons = here().polygons;
    if (polygons.size() != 2) return KZe_NOTAVAILABLE;
    const auto normal = [&](std::size_t i) { return kzUnit(data().normalOf(data().polygons.at(polygons[i]))); };
    *angle = std::acos(std::clamp(kzDot(normal(0), normal(1)), -1.0, 1.0));
    return KZe_OK;
}

KzResult CEdge::edge_SetCrease(double crease) {
    if (!(crease >= 0 && crease <= 1)) return KZe_INVALIDARG;
    here().crease = crease;
    data().changed(KZfMESHEDIT_EDGES);
    return KZe_OK;
}

}  // namespace kzhost
