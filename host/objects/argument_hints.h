// The hints of one argument of a command, as an object.
#pragma once

#include "kz/base/unknown.h"

#include <string>

namespace kzhost {

class CCommandDispatcher;

// `name` has the command and the argument, with a blank between; without a name, the hints are empty.
KzResult kzGiveHints(const CCommandDispatcher& commands, const std::string& name, IKzUnknown** hints);

}  // namespace kzhost
