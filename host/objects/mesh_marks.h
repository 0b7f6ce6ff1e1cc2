// The marks of elements of a mesh that selections know by packets.
#pragma once

#include "host/document/selection.h"
#include "host/objects/mesh_data.h"

namespace kzhost {

// The marks of the element that the packet stands for; null if the mesh does not have it.
std::int32_t* kzMarksOf(CMeshData& mesh, const SelectionPacket& packet);
// Gives the elements that both have the marks of the first.
void kzKeepMarks(CMeshData& from, CMeshData& to);

}  // namespace kzhost
