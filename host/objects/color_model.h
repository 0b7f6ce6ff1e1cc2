// Colour models: ways to take a colour apart into components.
#pragma once

#include "kz/base/unknown.h"

#include <string>
#include <vector>

namespace kzhost {

std::vector<std::string> kzColorModelNames();
// Null for a name that none of the host's own models has.
IKzUnknown* kzMakeColorModel(const std::string& name);

}  // namespace kzhost
