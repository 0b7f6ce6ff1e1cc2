// The rules for the methods of one interface, and for those that an adapter forwards.
#pragma once

#include <string_view>
#include <vector>

#include "model.h"

namespace kzgen {

using InterfaceNames = std::vector<std::string_view>;

// Without the names of all interfaces, names of interfaces are taken as they are.
void checkMethods(const Header& header, const Interface& interface, const InterfaceNames* interfaceNames,
                  Diagnostics& diagnostics);

}  // namespace kzgen
