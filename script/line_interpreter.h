// The line interpreter server "python": the host's console.
#pragma once

#include "module/this_module.h"

namespace Python_LineInterp {

void registerServer(CKzThisModule& module);

}  // namespace Python_LineInterp
