// The scenes that are open in a host.
#pragma once

#include "host/objects/scene.h"
#include "host/state/function_ref.h"

#include "kz/scene_event.h"

#include <memory>
#include <vector>

namespace kzhost {

class CListenerTable;

struct OpenScenes {
    std::shared_ptr<CWorkspace> workspace = std::make_shared<CWorkspace>();
    std::vector<CHostRef<CScene>> list;  // the last one is the current scene; changed under the lock of the workspace
    std::shared_ptr<CListenerTable> listeners = {};

    // The lock must be held for these.
    // Empty while no scene is open.
    CHostRef<CScene> current() const { return list.empty() ? CHostRef<CScene>() : list.back(); }
    // The scene of that document; empty once it is closed, so the document may be gone.
    CHostRef<CScene> find(const CDocument* document) const;
    // That of the current scene, in seconds; 0 without one.
    double currentTime() const;

    // These tell the listeners, so the lock must not be held.
    bool isOpen(const CScene& scene) const;
    // A new scene, which becomes the current one.
    void add(const CHostRef<CScene>& scene);
    // False for a scene that is not open.
    bool close(const CHostRef<CScene>& scene);
    bool makeCurrent(const CHostRef<CScene>& scene);
    // Tells the listeners what happens to whole scenes.
    void tell(CFunctionRef<void(IKzSceneItemListener&)> call) const;

private:
    // Changes the list, and returns the scene that was the current one before.
    template <class Change> CHostRef<CScene> change(const Change& change);
    void tellCurrent(const CHostRef<CScene>& previous, bool isClosed = false) const;
};

}  // namespace kzhost
