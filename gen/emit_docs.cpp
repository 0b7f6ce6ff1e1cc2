// Part "docs".
#include "emit.h"

namespace kzgen {

void emitDocs(const Model&, Output&) {}

} // namespace kzgen
