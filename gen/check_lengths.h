// The rules for the lengths of arrays.
#pragma once

#include "model.h"

namespace kzgen {

// Every array has a length that can be known when it is needed, or says why it has none.
void checkLengths(const Header& header, const Interface& interface, const Method& method, Diagnostics& diagnostics);

}  // namespace kzgen
