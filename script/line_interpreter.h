// The line interpreter server "python": the host's console.
#pragma once

#include "module/this_module.h"

namespace Python_LineInterp {

void registerServer(CKzThisModule& module);

// Whether a text is a complete statement. The test may append newlines to it.
enum class Completeness { complete, incomplete, error };
Completeness checkCompleteness(std::string& text);

}  // namespace Python_LineInterp
