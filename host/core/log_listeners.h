// Listeners of the log: they hear of each new line, and of subsystems that are new or cleared.
#pragma once

#include <memory>

namespace kzhost {

class CListenerTable;
class CLogStore;

// From now on the log tells the listeners.
void kzTellListeners(CLogStore& log, const std::shared_ptr<CListenerTable>& listeners);

}  // namespace kzhost

using namespace kzhost;  // for the sources outside of the namespace
