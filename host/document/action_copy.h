// Copies what one action says of channels to another.
#pragma once

#include "host/document/animation.h"

#include <string>

namespace kzhost {

// Puts the first key at `time`. The flags are those of fACTIONCOPY. Throws NOTAVAILABLE if there is nothing to copy, and
// NOACCESS for keys if the target takes none.
void kzCopyAction(CDocument& document, const std::string& from, const std::string& to, double time, std::uint32_t flags,
                  CEdit& edit);

}  // namespace kzhost
