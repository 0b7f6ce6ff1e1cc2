// The host objects that calls are measured on. They are made out of sight of who calls them, as a host's are: a compiler
// that sees both puts the method in the place of the call.
#pragma once

#include "kz/base/unknown.h"

// A new object that does next to nothing, so that the call itself is what is timed: a message, a matrix, a notifier.
IKzUnknown* kzNewBenchObject();
// The leanest object there can be, which is instanceable and hands out what it is given.
IKzUnknown& kzLeanObject();
