// The mesh items of a scene as layers: how each takes part, and scans that read and edit them.
#pragma once

#include "host/objects/scene.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kzhost {

// The lock must be held for these.
// The layers in the order of the item list: a parent before what is below it.
std::vector<Item*> kzLayersOf(const CDocument& document);
bool kzIsLayer(const Item& item);
// The states (f_LAYER). The main layer is the one that was selected last.
std::uint32_t kzLayerState(const Item& layer);
// `mask` says which states change. What is in the background is visible and not active.
void kzSetLayerState(Item& layer, std::uint32_t mask, std::uint32_t state, CEdit& edit);
// Null if none is active.
Item* kzMainLayer(const CDocument& document);
// The item, if it is a layer, and all layers below it.
std::vector<CHostRef<CItem>> kzLayersBelow(Item& item);

// Encloses the points of the layers, or their selected elements, in the space to which the matrix leads from the world.
// Nothing if there are none. The lock must not be held: evaluating where they are may call modules.
std::optional<KzBounds> kzBoundsOf(const std::vector<CHostRef<CItem>>& layers, const KzMatrix4& fromWorld,
                                   bool selectedOnly, double time);

// A walk through these layers, for which the lock must be held. `flags` are those of a scan. The layers are where
// they are at that time.
IKzUnknown* kzMakeLayerScan(std::shared_ptr<CWorkspace> workspace, const std::vector<Item*>& layers,
                            std::uint32_t flags, double time);

}  // namespace kzhost
