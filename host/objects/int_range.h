// Sets of integers that are written as ranges.
#pragma once

#include "kz/base/unknown.h"

namespace kzhost {

// A new, empty range.
IKzUnknown* kzMakeIntRange();

}  // namespace kzhost
