// kz.Storage: the Python type of storage buffers.
#pragma once

#include "module/python.h"

extern PyTypeObject kzStorageType;

// Readies the type and makes it known to argument marshalling, so that storage objects can be passed to the host. To be
// called, once, before any submodule that uses the type is built. Throws FAILED.
void kzReadyStorageType();
