// Scenes to which nobody refers any more. A step of the history may let go of one while the documents are locked, and the
// end of a scene may call modules: so they wait here until somebody comes by without the lock.
#pragma once

#include "host/objects/scene.h"

#include <mutex>
#include <utility>
#include <vector>

namespace kzhost {

class CSpentScenes {
public:
    void add(CHostRef<CScene> scene) {
        const std::lock_guard lock(m_lock);
        m_scenes.push_back(std::move(scene));
    }
    void end() {
        std::vector<CHostRef<CScene>> scenes;
        {
            const std::lock_guard lock(m_lock);
            scenes.swap(m_scenes);
        }
    }

private:
    std::mutex m_lock;
    std::vector<CHostRef<CScene>> m_scenes;
};

}  // namespace kzhost
