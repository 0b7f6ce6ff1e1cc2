// Tells listeners what happens to documents: in order, on the thread that made the change, and without the lock.
#pragma once

#include "host/objects/open_scenes.h"

#include <memory>

namespace kzhost {

class CListenerTable;

// From now on the listeners hear of the changes of these scenes, and of the selection.
void kzTellListeners(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CListenerTable>& listeners);

}  // namespace kzhost
