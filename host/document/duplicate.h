// Copies of items.
#pragma once

#include "host/document/edit.h"

#include <cstdint>
#include <vector>

namespace kzhost {

// A copy below the same parent, behind the original: its name, channels, tags, flags and geometry, and with `deep` all that
// is below it. Links among the copied items are copied in the graphs whose links go with their items.
Item& kzDuplicate(Item& source, bool deep, CEdit& edit);

// Copies of the items as the flags (fITEMCOPY) say, in the order of their sources; with those below them, these come last.
// A copy is below the copy of its source's parent or, if that is not copied, below that parent, or a root of another
// document. Throws ALREADYEXISTS if identifiers are kept and one is taken, and INVALIDARG for instances in another document.
std::vector<Item*> kzDuplicateAll(const std::vector<Item*>& sources, CDocument& target, std::uint32_t flags,
                                  CEdit& edit);

}  // namespace kzhost
