// Tells listeners what happens to documents: in order, on the thread that made the change, and without the lock.
#pragma once

#include "host/objects/open_scenes.h"

#include <functional>
#include <memory>

namespace kzhost {

class CListenerTable;

// From now on the listeners hear of the changes of these scenes, of the selection and of the history. `notify` is called for
// each change of the history, and at the end of each edit, without the lock, too.
void kzTellListeners(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CListenerTable>& listeners,
                     std::function<void(bool ofHistory)> notify);

}  // namespace kzhost
