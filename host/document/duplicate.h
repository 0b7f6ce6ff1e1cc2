// Copies of items.
#pragma once

#include "host/document/edit.h"

namespace kzhost {

// A copy below the same parent, behind the original: its name, channels, tags, flags and geometry, and with `deep` all that
// is below it. Links among the copied items are copied in the graphs whose links go with their items.
Item& kzDuplicate(Item& source, bool deep, CEdit& edit);

}  // namespace kzhost
