// The scenes that are open in a host.
#pragma once

#include "host/core/object.h"
#include "host/objects/scene.h"

#include <vector>

namespace kzhost {

struct OpenScenes {
    std::vector<CHostRef<CScene>> list;  // the last one is the current scene
};

}  // namespace kzhost
