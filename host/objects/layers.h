// The mesh items of a scene as layers: how each takes part, and scans that read and edit them.
#pragma once

#include "host/objects/scene.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kzhost {

// The lock must be held for these.
// The layers in the order of the item list: a parent before what is below it.
std::vector<Item*> kzLayersOf(const CDocument& document);
bool kzIsLayer(const Item& item);
// The states (f_LAYER). The main layer is the one that was selected last.
std::uint32_t kzLayerState(const Item& layer);
// Null if none is active.
Item* kzMainLayer(const CDocument& document);
// The mesh of a layer.
CHostRef<CMesh> kzMeshOf(Item& layer);
// Encloses the points of the layer, or its selected elements, in the space of the matrix. Adds to `box`, if there is one.
void kzExtendByLayer(Item& layer, const KzMatrix4& matrix, bool selectedOnly, std::optional<KzBounds>& box);

// A walk through these layers. `flags` are those of a scan.
IKzUnknown* kzMakeLayerScan(std::shared_ptr<CWorkspace> workspace, const std::vector<Item*>& layers,
                            std::uint32_t flags);

}  // namespace kzhost
