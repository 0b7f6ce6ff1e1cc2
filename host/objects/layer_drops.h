// Files and presets that are dropped on layers: those of a material, and those of a scene's meshes.
#pragma once

#include "host/objects/drops.h"

namespace kzhost {

// What files can do at a destination of layers; nothing at another one.
DropWays kzLayerFileWays(const std::shared_ptr<CSceneFiles>& files, const CHostRef<CScene>& scene,
                         const std::vector<std::string>& paths, IKzUnknown* destination);
// Has the layers' place agree to the preset, and hear that it was applied.
void kzApplyToLayers(const CPresets& presets, const std::string& path, IKzUnknown* destination);
// The top items that the file brings.
std::vector<CHostRef<CItem>> kzImported(const CSceneFiles& files, CScene& scene, const std::string& path);

}  // namespace kzhost
