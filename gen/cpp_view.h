// The SDK as C++ sees it: types and parameter lists, each a function of the model.
#pragma once

#include <string>

#include "model.h"

namespace kzgen {

std::string returnType(const Type& type);

// How names of parameters are written: as they are, as comments, or alone as the arguments of a call.
enum class Names { Declared, Commented, Passed };

// "uint32_t index, char* text, uint32_t textLength"
std::string parameterList(const Method& method, Names names);

}  // namespace kzgen
