// What could be selected: everything of a type, and what is next to the selection.
#pragma once

#include "host/document/selection.h"
#include "host/objects/open_scenes.h"

#include <cstdint>
#include <vector>

namespace kzhost {

// For all of these the lock must be held, and the type is that of items or of elements of meshes; others have nothing.
// Changes the selection of that type in that mode; the type becomes the current one if any of these is selected then. Throws
// INVALIDARG for an unknown mode.
void kzSelect(CSelection& selection, std::int32_t type, const PacketList& packets, std::int32_t mode, CChanges& edit);
// Everything in the current scene: its items, or the elements of the meshes that are worked on.
PacketList kzSelectable(const OpenScenes& scenes, std::int32_t type);
// The selection with what is next to it: the items below selected ones, and elements that share a point or an edge.
PacketList kzGrown(const OpenScenes& scenes, std::int32_t type);
// The mesh items that are worked on: the selected ones or, if none is, all.
std::vector<Item*> kzWorkedOn(const OpenScenes& scenes);
// The packet of the element of a mesh item at that position, or, for an edge, between those two points; null if there is none.
PacketRef kzElementPacket(Item& item, std::int32_t type, std::size_t position, std::size_t second = 0);
// The positions of the elements that a packet of such a type stands for: one, or two for an edge.
std::vector<std::size_t> kzElementPositions(const SelectionPacket& packet);

}  // namespace kzhost
