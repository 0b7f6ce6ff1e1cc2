// The scenes that are open in a host.
#pragma once

#include "host/objects/scene.h"

#include <memory>
#include <vector>

namespace kzhost {

class CListenerTable;

struct OpenScenes {
    std::shared_ptr<CWorkspace> workspace = std::make_shared<CWorkspace>();
    std::vector<CHostRef<CScene>> list;  // the last one is the current scene; changed under the lock of the workspace
    std::shared_ptr<CListenerTable> listeners = {};

    // Empty while no scene is open. The lock must be held, as for the others.
    CHostRef<CScene> current() const { return list.empty() ? CHostRef<CScene>() : list.back(); }
    // The scene of that document; empty once it is closed, so the document may be gone.
    CHostRef<CScene> find(const CDocument* document) const {
        for (const auto& scene : list)
            if (&scene->document() == document) return scene;
        return {};
    }
};

}  // namespace kzhost
