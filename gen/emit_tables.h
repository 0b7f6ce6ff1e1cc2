// The part of the SDK headers that lists identities and result codes by name.
#pragma once

#include "emit.h"

namespace kzgen {

void emitTables(const Model& model, Output& output);

// A brace initialiser for a KzGuid.
std::string guidInitialiser(const Guid& guid);

}  // namespace kzgen
