// The least host in which Python starts: what start-up asks for, answered with nothing.
#pragma once

#include "kz/base/object.h"

// Makes the module's context such a host and starts Python. The calling thread does not hold the interpreter lock then.
void kzStartBenchHost();
