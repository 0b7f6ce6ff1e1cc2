// Listeners that modules offer as servers, and what they hear when a module's servers change.
#pragma once

#include "kz/base/types.h"

#include <string>

namespace kzhost {

class CLogStore;
class CListenerTable;
class CModuleTable;

// Reads the servers of a module again, makes its new listeners listen, and tells who listens. A listener that cannot be
// made is told in the log and not tried again. NOTFOUND when there is no such module.
KzResult kzUpdateModule(CModuleTable& modules, CListenerTable& listeners, CLogStore& log, const std::string& name);

}  // namespace kzhost
