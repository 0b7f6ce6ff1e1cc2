// What the host reads the blessed servers through: the module server "python", and the spawner "dict-as-tags" for their
// tags.
#pragma once

#include "module/this_module.h"

namespace Python_Module {

// The tags' spawner first: the module server makes them.
void registerDictionary(CKzThisModule& module);
void registerServer(CKzThisModule& module);

}  // namespace Python_Module
