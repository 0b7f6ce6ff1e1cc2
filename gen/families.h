// Families: the constants that a parameter or a returned value may be.
#pragma once

#include <string>
#include <vector>

#include "load.h"
#include "model.h"

namespace kzgen {

// The constant belongs to the family: it has its name, or a name that goes on behind it with "_". The masks of flags
// belong to the flags: "mMARK_USER" to "fMARK". "u_", "a_" and "e_" are the families of all such names.
[[nodiscard]] bool isOfFamily(std::string_view constant, std::string_view family);

// The names of a family's constants, in the order of the headers.
[[nodiscard]] std::vector<std::string> familyMembers(const Model& model, std::string_view family);

// Every family that a parameter or a returned value of the kind names must exist and have values of its type.
void checkFamilies(const Model& model, Completeness completeness, Diagnostics& diagnostics);

// Integer constants belong to a family that some method takes or returns, or their group says where they are used.
void checkUnusedFamilies(const Model& model, Diagnostics& diagnostics);

}  // namespace kzgen
