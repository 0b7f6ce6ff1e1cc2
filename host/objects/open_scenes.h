// The scenes that are open in a host.
#pragma once

#include "host/objects/scene.h"

#include <memory>
#include <vector>

namespace kzhost {

struct OpenScenes {
    std::shared_ptr<CWorkspace> workspace = std::make_shared<CWorkspace>();
    std::vector<CHostRef<CScene>> list;  // the last one is the current scene
};

}  // namespace kzhost
