// What a command says about itself, for people.
#pragma once

#include "kz/base/object.h"

namespace kzhost {

IKzUnknown* kzMakeCommandHelp(IKzUnknown* command);

}  // namespace kzhost
