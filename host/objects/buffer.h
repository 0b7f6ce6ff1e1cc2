// Blocks of bytes that grow, as objects.
#pragma once

#include "kz/base/unknown.h"

namespace kzhost {

// A new, empty buffer.
IKzUnknown* kzMakeBuffer();

}  // namespace kzhost
