// Numbered sequences of attribute sets, and texts under four-character codes.
#pragma once

#include "kz/base/unknown.h"

namespace kzhost {

// New and empty.
IKzUnknown* kzMakeAttrSequence();
IKzUnknown* kzMakeStringTags();

}  // namespace kzhost
