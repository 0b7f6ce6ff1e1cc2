// What grows polygons out of others: extruding, insetting, bevelling and dividing them.
#pragma once

#include "host/objects/mesh_data.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace kzhost {

// How polygons are moved: along their normals and inwards, or by a vector.
struct ShellMove {
    double shift = 0, inset = 0;
    KzVector3 offset{};
    std::int32_t segments = 1;
    std::uint32_t flags = 0;  // fPOLYEDIT
};
void kzGrowShells(CMeshData& data, std::vector<KzElementId> polygons, const ShellMove& move);

// Replaces the edges that have the mark by strips of polygons; `shape` is an iEDGEBEVEL constant.
void kzBevelEdges(CMeshData& data, std::int32_t edgeMark, double width, std::int32_t segments, std::int32_t shape);

// Divides each of the polygons into one quadrangle for each corner; smooth ones go where the rounded surface is.
void kzSubdivide(CMeshData& data, std::vector<KzElementId> polygons, bool isSmooth);

// Outlines of the openings of a mesh, in the direction in which a polygon that closes one has its corners. Only the open
// edges that are wanted are followed.
using OpenEdgeTest = std::function<bool(const MeshEdge& edge, const MeshPolygon& polygon)>;
std::vector<std::vector<KzElementId>> kzOpenLoops(CMeshData& data, const OpenEdgeTest& isWanted = {});
// Removes points that had a polygon, and have none any more.
void kzDropBare(CMeshData& data, const std::vector<KzElementId>& points);
// The corner of the polygon that follows the point's.
KzElementId kzNextCorner(const MeshPolygon& polygon, KzElementId point);

}  // namespace kzhost
