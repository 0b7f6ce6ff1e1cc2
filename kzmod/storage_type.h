// kz.Storage: the Python type of storage buffers.
#pragma once

#include "module/python.h"

extern PyTypeObject kzStorageType;

// Readies the type and registers it with the marshallers, so that storage objects can be passed to the host. Call it once,
// before any submodule is built that uses the type. Throws FAILED.
void kzReadyStorageType();
