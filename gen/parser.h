// Reads one description file into a header of the model.
#pragma once

#include "model.h"
#include "source.h"

namespace kzgen {

// Recovers from errors: after one it goes on behind the next ';' or '}'.
Header parse(const SourceFile& file, Diagnostics& diagnostics);

}  // namespace kzgen
