// Groups: their members, and a walk through them.
#pragma once

#include "host/objects/item.h"

namespace kzhost {

// The members of an item of a group type.
IKzUnknown* kzMakeGroupItem(CHostRef<CItem> group);
// A walker that stands nowhere yet.
IKzUnknown* kzMakeGroupEnumerator();

}  // namespace kzhost
