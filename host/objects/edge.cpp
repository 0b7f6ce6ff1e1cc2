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

// Among four edges at a point, the opposite one shares no polygon with this one.
KzResult CEdge::edge_NextInLoop(KzElementId from, KzElementId* edge) {
    const MeshEdge& current = here();
    if (from != current.start && from != current.end) return KZe_INVALIDARG;
    const auto around = data().edgesAt(from == current.start ? current.end : current.start);
    if (around.size() != 4) return KZe_NOTFOUND;
    for (const KzElementId id : around) {
        const auto& polygons = data().edges().at(id).polygons;
        const bool isBeside = std::any_of(polygons.begin(), polygons.end(), [&](KzElementId polygon) {
            return std::find(current.polygons.begin(), current.polygons.end(), polygon) != current.polygons.end();
        });
        if (id == current.id || isBeside) continue;
        *edge = id;
        return KZe_OK;
    }
    return KZe_NOTFOUND;
}

KzResult CEdge::edge_NextInRing(KzElementId polygon, KzElementId* edge) {
    const MeshEdge& current = here();
    const auto& corners = data().polygons.at(polygon).points;
    if (corners.size() != 4) return KZe_NOTFOUND;
    for (std::size_t at = 0; at < 4; ++at) {
        const MeshEdge* side = data().edgeBetween(corners[at], corners[(at + 1) % 4]);
        const MeshEdge* opposite = data().edgeBetween(corners[(at + 2) % 4], corners[(at + 3) % 4]);
        if (side != &current || opposite == nullptr) continue;
        *edge = opposite->id;
        return KZe_OK;
    }
    return KZe_NOTFOUND;
}

KzResult CEdge::edge_SetCrease(double crease) {
    const CMeshEdit edit(data());
    if (!(crease >= 0 && crease <= 1)) return KZe_INVALIDARG;
    here().crease = crease;
    data().changed(KZfMESHEDIT_EDGES);
    return KZe_OK;
}

}  // namespace kzhost
