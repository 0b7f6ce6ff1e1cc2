// How other Python objects use the memory of a kz.Storage in place: both buffer interfaces of the interpreter.
#pragma once

#include "module/python.h"

// Exports the storage's own memory from its start, whatever its offset is, as the host gets it. Borrowed memory may end
// before whoever uses it, and is refused with BufferError.
extern PyBufferProcs kzStorageExports;
