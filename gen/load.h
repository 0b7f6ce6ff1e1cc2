// Reads a folder of descriptions and checks it as a whole.
#pragma once

#include <filesystem>

#include "model.h"

namespace kzgen {

enum class Completeness {
    Whole,    // every listed header is there, every name can be found
    Partial,  // work in progress: listed headers may be missing, and with them the interfaces that others name
};

// The model of the folder. It may be used only when no errors were reported.
Model load(const std::filesystem::path& folder, Completeness completeness, Diagnostics& diagnostics);

// What can only be judged with all headers at hand. Called by load; apart for tests of single rules.
void check(const Model& model, Completeness completeness, Diagnostics& diagnostics);

}  // namespace kzgen
