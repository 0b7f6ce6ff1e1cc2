// Listeners of the log: they hear of each new line, of changed ones, and of subsystems that are new, cleared or full.
#pragma once

#include <memory>

namespace kzhost {

class CListenerTable;
class CLogStore;
class CNotifierTable;

// From now on the log tells the listeners, and then the clients of its notifiers.
void kzTellListeners(CLogStore& log, const std::shared_ptr<CListenerTable>& listeners,
                     const std::shared_ptr<CNotifierTable>& notifiers);

}  // namespace kzhost
