// Loads a folder of descriptions and checks it as a whole.
#pragma once

#include <filesystem>

#include "model.h"

namespace kzgen {

enum class Completeness {
    Whole,    // every listed header exists and every name can be resolved
    Partial,  // work in progress: listed headers may be missing, and with them the interfaces that others name
};

// The model of the folder. It may be used only if no errors were reported.
Model load(const std::filesystem::path& folder, Completeness completeness, Diagnostics& diagnostics);

// The rules that concern the whole model. Called by load; separate for tests of single rules.
void check(const Model& model, Completeness completeness, Diagnostics& diagnostics);

}  // namespace kzgen
