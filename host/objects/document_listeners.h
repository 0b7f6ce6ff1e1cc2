// Tells listeners what happens to documents: in order, on the thread that made the change, and without the lock.
#pragma once

#include "host/objects/open_scenes.h"

#include "kz/scene_event.h"

#include <functional>
#include <memory>

namespace kzhost {

class CListenerTable;

// From now on the listeners hear of the changes of these scenes, and of the selection.
void kzTellListeners(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CListenerTable>& listeners);

// Tells what only the one who opens and closes scenes knows. The lock must not be held.
void kzTellSceneListeners(const OpenScenes& scenes, const std::function<void(IKzSceneItemListener&)>& tell);

}  // namespace kzhost
