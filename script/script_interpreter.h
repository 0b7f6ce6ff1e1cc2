// The text script interpreter server "python": runs the host's script files.
#pragma once

#include "module/this_module.h"

namespace Python_Script {

void registerServer(CKzThisModule& module);

}
