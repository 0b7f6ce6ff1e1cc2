// The module server "python", through which the host lists and creates the blessed servers, and the spawner
// "dict-as-tags" for their tags.
#pragma once

#include "module/this_module.h"

namespace Python_Module {

// The spawner has to be registered first, because the module server uses it.
void registerDictionary(CKzThisModule& module);
void registerServer(CKzThisModule& module);

}  // namespace Python_Module
