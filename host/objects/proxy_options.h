// The options of a loader or saver.
#pragma once

#include "kz/base/object.h"

namespace kzhost {

// What the attributes have now are the defaults. Throws INVALIDARG for an object without attributes.
IKzUnknown* kzMakeProxyOptions(IKzUnknown* attributes);

}  // namespace kzhost
